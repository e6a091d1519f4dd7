// The application's notifications: the question whether to record a call, its answer, word of a
// recording that goes on, and plain information.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Platform/UserNotifications.hpp"
#include "BrindleRecorderApp/Recording/Uuid.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. Where this process cannot show notifications every operation does nothing;
/// failures to show or to take back are nobody's concern.
class Notifier {
  public:
    static constexpr const char* askCategory = "brindle.ask-record";
    static constexpr const char* recordAction = "brindle.record";
    static constexpr const char* skipAction = "brindle.skip";
    static constexpr const char* recordingCategory = "brindle.recording";
    static constexpr const char* stopAction = "brindle.stop";
    static constexpr const char* discardAction = "brindle.discard";

    /// The notifications must outlive the notifier. `makeIdentifier` gives each plain notification
    /// an identifier of its own.
    explicit Notifier(
        UserNotifications& notifications, std::function<std::string()> makeIdentifier = randomUuid);
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    /// Called with the call's label and whether the user wants it recorded, for every answer, also
    /// one to a question that is not asked any more. Closing the question is no answer; a click on
    /// the question itself is "Record".
    std::function<void(const std::string& label, bool record)> onAskAnswer;

    /// Makes this notifier hear answers, makes the question's buttons known, then asks the user for
    /// permission and waits for the decision, which changes nothing here.
    Task<void> requestAuthorization();

    /// Asks "Record this call?". Asking again for the same label replaces the earlier question.
    void postAsk(const std::string& label, const std::string& body);
    /// Takes the question for that label back.
    void withdrawAsk(const std::string& label);

    /// What the user did with the notification of a recording; `open` is a click on it.
    enum class RecordingAnswer { stop, discard, open, close };
    /// Called for the notification that is posted now, and for no earlier one.
    std::function<void(RecordingAnswer answer)> onRecordingAnswer;

    /// Says that something is being recorded, until it is taken back. One at a time.
    void postRecording(const std::string& body);
    void withdrawRecording();

    /// Shows a notification without buttons, beside all others; `whenShown` is called when it is on
    /// the screen, which may never be.
    void
    post(const std::string& title, const std::string& body, std::function<void()> whenShown = {});
    /// The same in the program's own name.
    void tell(const std::string& body);

  private:
    void handleResponse(const NotificationResponse& response) const;
    void handleRecordingResponse(const std::string& action) const;
    [[nodiscard]] static std::vector<NotificationCategory> categories(bool withRecording);

    UserNotifications& notifications_;
    std::function<std::string()> makeIdentifier_;
    std::optional<std::string> recording_; ///< the identifier of the recording's notification
    /// Ends with the notifier: an answer that comes later finds nobody.
    std::shared_ptr<Notifier*> self_ = std::make_shared<Notifier*>(this);
};

} // namespace brindle
