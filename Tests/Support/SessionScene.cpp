#include "Support/SessionScene.hpp"

#include <utility>

namespace brindle::test {

std::string inWords(const SessionState& state) {
    if (state.isIdle()) {
        return "idle";
    }
    return (state.isRecording() ? "recording " : "armed ") + state.roomCode().value_or("?");
}

class SessionScene::Delegate final : public SessionDelegate {
  public:
    explicit Delegate(SessionScene& scene) : scene_{scene} {}

    void startRecording(const std::string& roomCode) override { hear("start " + roomCode); }
    void stopRecording(bool keep) override { hear(keep ? "stop and keep" : "stop and discard"); }

  private:
    void hear(std::string call) {
        scene_.log_.push_back(std::move(call));
        if (scene_.onDelegateCall) {
            scene_.onDelegateCall();
        }
    }

    SessionScene& scene_;
};

SessionScene::SessionScene(int missedPollsBeforeStop)
    : controller{clock, missedPollsBeforeStop}, delegate_{std::make_shared<Delegate>(*this)} {
    controller.delegate = delegate_;
    controller.onStateChange = [this](const SessionState& state) {
        log_.push_back("-> " + inWords(state));
    };
}

std::vector<std::string> SessionScene::takeLog() {
    return std::exchange(log_, {});
}

void SessionScene::dropDelegate() {
    delegate_.reset();
}

} // namespace brindle::test
