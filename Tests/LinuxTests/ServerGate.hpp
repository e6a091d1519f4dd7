// A way to PipeWire's server on which a test can hold up what the server says.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace brindle::test {

/// While it lives, this process and the programs that it starts reach the server through it. What
/// devices deliver goes another way, through memory that the programs share.
class ServerGate {
  public:
    /// Throws where there is no server.
    ServerGate();
    ~ServerGate();
    ServerGate(const ServerGate&) = delete;
    ServerGate& operator=(const ServerGate&) = delete;

    /// What the server says to those who are connected by now waits, from when this returns, until
    /// `open`. What they say gets through, and so do others who connect later.
    void close();
    void open();

  private:
    struct Passage {
        FileDescriptor client;
        FileDescriptor server;
        bool isClosed = false;
        bool hasEnded = false;
    };

    void run();
    void admit();
    void wakeUp() const;

    std::string name_;
    FileDescriptor listener_;
    FileDescriptor wakeUp_;
    std::mutex mutex_; ///< guards what follows, up to the thread
    std::vector<Passage> passages_;
    bool isEnding_ = false;
    std::optional<EnvironmentVariable> remote_;
    std::thread thread_;
};

} // namespace brindle::test
