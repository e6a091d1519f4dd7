// Somebody on the session bus who asks a program of ours and listens to it, as a panel does.
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"
#include "LinuxTests/ScriptedBusObject.hpp"

#include <systemd/sd-bus.h>

#include <string>
#include <vector>

namespace brindle::test {

/// The unique name of that connection.
std::string ownNameOf(sd_bus* bus);

class BusVisitor {
  public:
    /// What it asks is answered while the loop runs, which must outlive this. Throws
    /// std::runtime_error when there is no bus.
    explicit BusVisitor(EventLoop& loop);
    ~BusVisitor();
    BusVisitor(const BusVisitor&) = delete;
    BusVisitor& operator=(const BusVisitor&) = delete;

    /// An object that is asked.
    struct Place {
        std::string owner;
        std::string path;
        std::string interface;
    };

    /// The answer, which may be an error; throws std::runtime_error when none comes.
    template <class... Arguments>
    BusMessage
    call(const Place& place, const char* method, const char* types, Arguments... arguments) {
        BusMessage question = make(place, method);
        requireOfBus(sd_bus_message_append(question.get(), types, arguments...), "no question");
        return answerTo(question);
    }
    /// The answer stands before the value, a variant.
    BusMessage property(const Place& place, const char* name);
    std::string text(const Place& place, const char* property);
    /// How the object describes itself.
    std::string description(const Place& place);

    /// Hears its signals from now on.
    void listenTo(const Place& place);
    /// All that it has said since it was asked last, in order.
    std::vector<BusMessage> heard();
    std::vector<BusMessage> heard(const char* signal);

  private:
    [[nodiscard]] BusMessage make(const Place& place, const char* method) const;
    BusMessage answerTo(const BusMessage& question);
    void process();

    EventLoop& loop_;
    BusHandle bus_;
    BusSlot listening_;
    Place listenedTo_;
    std::vector<BusMessage> heard_;
};

} // namespace brindle::test
