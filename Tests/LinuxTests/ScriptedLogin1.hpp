// A login manager on the session's own bus that does what a test says.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"

#include <string>
#include <vector>

namespace brindle::test {

/// Serves while `serve` is called.
class ScriptedLogin1 {
  public:
    /// Throws std::runtime_error when there is no bus, or when another one serves already.
    ScriptedLogin1();
    ScriptedLogin1(const ScriptedLogin1&) = delete;
    ScriptedLogin1& operator=(const ScriptedLogin1&) = delete;

    struct Lock {
        std::string what;
        std::string who;
        std::string mode;
        std::string holder;    ///< unique name
        FileDescriptor ourEnd; ///< ends when the holder lets go of it
    };

    /// Answers what has been asked. Never waits.
    void serve() { manager_.serve(); }
    void announce(const char* signal, bool begins);
    /// Waits until everything that others have sent by now can be served.
    void catchUp();
    /// Every lock that was ever taken, in order.
    [[nodiscard]] const std::vector<Lock>& locks() const { return locks_; }
    [[nodiscard]] bool isHeld(std::size_t index) const;

  private:
    static const sd_bus_vtable* table();
    static int inhibit(sd_bus_message* call, void* self, sd_bus_error* error);

    ScriptedBusObject manager_;
    std::vector<Lock> locks_;
};

} // namespace brindle::test
