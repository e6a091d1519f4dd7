#include "BrindleRecorderLinux/Portal/CameraPortal.hpp"

#include "BrindleRecorderApp/Recording/Uuid.hpp"
#include "BrindleRecorderLinux/Bus/BusOnLoop.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"
#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace brindle {

namespace {

constexpr const char* desktop = "org.freedesktop.portal.Desktop";
constexpr const char* object = "/org/freedesktop/portal/desktop";
constexpr const char* camera = "org.freedesktop.portal.Camera";
constexpr std::uint32_t granted = 0;
constexpr std::uint32_t refusedByTheUser = 1;

/// A part of an object path that nobody can guess.
std::string makeToken() {
    std::string token = "brindle_" + randomUuid();
    std::ranges::replace(token, '-', '_');
    return token;
}

/// Where the portal puts the request of that connection (":1.42") with that token.
std::string requestPath(std::string connection, const std::string& token) {
    connection.erase(0, 1);
    std::ranges::replace(connection, '.', '_');
    return std::string{object} + "/request/" + connection + "/" + token;
}

} // namespace

/// What is said between the portal and us: who it is, the request, its answer. Begins at once and
/// tells of one decision.
class CameraPortal::Conversation {
  public:
    using Decided = std::function<void(AuthorizationStatus status, std::string_view why)>;

    Conversation(EventLoop& loop, Decided decided)
        : decided_{std::move(decided)}, bus_{loop, BusOnLoop::Which::session} {
        if (!bus_.isConnected()) {
            end(AuthorizationStatus::denied, "there is no session bus");
            return;
        }
        // However long it takes: who waits for us has a limit of their own.
        sd_bus_set_method_call_timeout(bus_.get(), UINT64_MAX);
        service_.emplace(bus_, desktop, [this] { endIfItHasGone(); });
        meet();
    }

  private:
    using Step = void (Conversation::*)(sd_bus_message*);

    template <Step step>
    static int take(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        (static_cast<Conversation*>(self)->*step)(message);
        return 0;
    }

    /// Any question would do that needs no user: it starts a portal that does not run yet, and
    /// after the answer its own name on the bus is known, and ours.
    void meet() {
        keep(call_, [this](sd_bus_slot** slot) {
            return sd_bus_call_method_async(
                bus_.get(), slot, desktop, object, "org.freedesktop.DBus.Properties", "Get",
                &take<&Conversation::met>, this, "ss", camera, "IsCameraPresent");
        });
    }

    void met(sd_bus_message* answer) {
        const char* ownName = nullptr;
        if (isError(answer, "it cannot be reached")) {
            return;
        }
        if (service_->owner().empty() || sd_bus_get_unique_name(bus_.get(), &ownName) < 0) {
            end(AuthorizationStatus::denied, "it has no name on the bus");
            return;
        }
        portal_ = service_->owner();
        ask(ownName);
    }

    void ask(const std::string& ownName) {
        const std::string token = makeToken();
        path_ = requestPath(ownName, token);
        // Before the question, since the answer may come at once.
        if (!service_->follow(
                path_, "org.freedesktop.portal.Request", "Response",
                [this](sd_bus_message* message) { answered(message); })) {
            end(AuthorizationStatus::denied, "the session bus is gone");
            return;
        }
        keep(call_, [&](sd_bus_slot** slot) {
            return sd_bus_call_method_async(
                bus_.get(), slot, portal_.c_str(), object, camera, "AccessCamera",
                &take<&Conversation::taken>, this, "a{sv}", 1, "handle_token", "s", token.c_str());
        });
    }

    void taken(sd_bus_message* answer) {
        const char* handle = nullptr;
        if (isError(answer, "it does not take the request")) {
            return;
        }
        if (sd_bus_message_read(answer, "o", &handle) <= 0 || path_ != handle) {
            end(AuthorizationStatus::denied, "it takes the request for another one");
        }
    }

    void answered(sd_bus_message* message) {
        std::uint32_t response = 0;
        if (sd_bus_message_read(message, "u", &response) <= 0) {
            end(AuthorizationStatus::denied, "its answer cannot be read");
        } else if (response == granted) {
            end(AuthorizationStatus::authorized, "the camera may be used");
        } else if (response == refusedByTheUser) {
            end(AuthorizationStatus::denied, "the user refuses the camera");
        } else {
            end(AuthorizationStatus::denied, "the request has ended without an answer");
        }
    }

    void endIfItHasGone() {
        if (!portal_.empty() && portal_ != service_->owner()) {
            end(AuthorizationStatus::denied, "it has gone before it answered");
        }
    }

    bool isError(sd_bus_message* answer, std::string_view what) {
        const sd_bus_error* const error = sd_bus_message_get_error(answer);
        if (error == nullptr) {
            return false;
        }
        end(AuthorizationStatus::denied, std::string{what} + " (" + error->name + ")");
        return true;
    }

    template <class Begin>
    void keep(BusSlot& place, const Begin& begin) {
        sd_bus_slot* slot = nullptr;
        if (begin(&slot) >= 0) {
            place.reset(slot);
        } else {
            end(AuthorizationStatus::denied, "the session bus is gone");
        }
    }

    void end(AuthorizationStatus status, std::string_view why) {
        call_.reset();
        if (service_) {
            service_->stop();
        }
        if (const auto decided = std::exchange(decided_, nullptr)) {
            decided(status, why);
        }
    }

    Decided decided_;
    BusOnLoop bus_;
    std::string portal_;                ///< its unique name
    std::string path_;                  ///< of the request
    std::optional<BusService> service_; ///< while connected
    BusSlot call_;
};

CameraPortal::CameraPortal(EventLoop& loop, Log log, std::chrono::nanoseconds patience)
    : loop_{loop}, log_{std::move(log)}, patience_{patience} {}

CameraPortal::~CameraPortal() = default;

void CameraPortal::requestAccess(Answer answer) {
    waiting_.push_back(std::move(answer));
    if (!conversation_) {
        beginConversation();
    } else if (!patienceTimer_) {
        answerAll();
    }
}

void CameraPortal::beginConversation() {
    patienceTimer_ = loop_.after(patience_, [this] { patienceIsOver(); });
    conversation_ = std::make_unique<Conversation>(
        loop_, [this](AuthorizationStatus status, std::string_view why) { decided(status, why); });
}

void CameraPortal::decided(AuthorizationStatus status, std::string_view why) {
    status_ = status;
    log_("camera portal: " + std::string{why});
    patienceTimer_.reset();
    answerAll();
}

void CameraPortal::patienceIsOver() {
    patienceTimer_.reset();
    log_("camera portal: no answer yet; going on without the camera");
    answerAll();
}

void CameraPortal::answerAll() {
    // Not from within the bus or from within the question: whoever is answered may do anything.
    loop_.post([answers = std::exchange(waiting_, {}),
                isGranted = status_ == AuthorizationStatus::authorized] {
        for (const Answer& answer : answers) {
            answer(isGranted);
        }
    });
}

} // namespace brindle
