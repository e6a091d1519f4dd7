// Devices and programs of the private session that a test makes for itself, so that it can take
// them away again.
#pragma once

#include "Support/TemporaryFolder.hpp"

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace brindle::test {

/// Whether a PipeWire server of a private session is there to be tested against.
bool inPrivateSession();

/// A program that is killed with the object, and with the tests.
class ChildProcess {
  public:
    /// The program's name and its arguments.
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void signal(int signalNumber) const;
    /// Waits for its end: the exit status, or minus the signal that ended it.
    int wait();
    void kill();

  private:
    pid_t pid_ = -1;
};

/// A silent microphone; what is linked into it would be heard.
class TestMicrophone {
  public:
    explicit TestMicrophone(std::string name);
    ~TestMicrophone();
    TestMicrophone(const TestMicrophone&) = delete;
    TestMicrophone& operator=(const TestMicrophone&) = delete;
    void unplug();

  private:
    std::string name_;
};

/// A microphone with a rate of its own, whose channels each give a tone of that frequency in Hz.
class ToneMicrophone {
  public:
    static constexpr double amplitude = 0.4;

    ToneMicrophone(const std::string& name, int rate, const std::vector<int>& frequencies);

  private:
    TemporaryFolder folder_;
    ChildProcess process_;
};

/// A tone that the session's virtual loudspeakers play.
class PlayedTone {
  public:
    explicit PlayedTone(int frequency);

  private:
    ChildProcess process_;
};

/// Whether a node has that name now.
bool hasNode(const std::string& name);
/// Waits until a node has that name; false when it does not come.
bool waitForNode(const std::string& name);

} // namespace brindle::test
