#include "Detection/ServerEye.hpp"

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/PipeWire/ServerConnection.hpp"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace brindle::bench {

namespace {

using namespace pipewire;

using MainLoopHandle = std::unique_ptr<pw_main_loop, Releaser<pw_main_loop_destroy>>;

bool hasRunningRecording(const AudioGraph& graph) {
    return std::any_of(graph.nodes.begin(), graph.nodes.end(), [](const NodeRecord& node) {
        return node.state == NodeState::running &&
               property(node.properties, "media.class") == "Stream/Input/Audio";
    });
}

} // namespace

class ServerEye::Implementation {
  public:
    Implementation()
        : loop_{pw_main_loop_new(nullptr)}, context_{pw_context_new(
                                                pw_main_loop_get_loop(loop_.get()), nullptr, 0)},
          connection_{ServerConnection::open(
              context_.get(), std::nullopt,
              {.complete = [] {},
               .changed = [this] { look(); },
               .lost =
                   [] {
                   }})} {
        if (connection_ == nullptr) {
            throw std::runtime_error{"no PipeWire server answers"};
        }
        thread_ = std::thread{[this] {
            pw_main_loop_run(loop_.get());
        }};
    }
    ~Implementation() {
        pw_loop_invoke(
            pw_main_loop_get_loop(loop_.get()),
            [](spa_loop*, bool, std::uint32_t, const void*, std::size_t, void* data) {
                return pw_main_loop_quit(static_cast<pw_main_loop*>(data));
            },
            0, nullptr, 0, false, loop_.get());
        thread_.join();
    }
    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    std::atomic<Clock::rep> since{0}; ///< 0 while none runs

  private:
    void look() {
        const auto now = Clock::now();
        if (connection_ == nullptr) {
            return; // still connecting
        }
        if (!hasRunningRecording(connection_->mirror().graph())) {
            since = 0;
        } else if (since == 0) {
            since = now.time_since_epoch().count();
        }
    }

    Library library_;
    MainLoopHandle loop_;
    ContextHandle context_;
    std::unique_ptr<ServerConnection> connection_;
    std::thread thread_;
};

ServerEye::ServerEye() : implementation_{std::make_unique<Implementation>()} {}

ServerEye::~ServerEye() = default;

std::optional<Clock::time_point> ServerEye::runningSince() const {
    const Clock::rep since = implementation_->since;
    return since == 0 ? std::nullopt : std::optional{Clock::time_point{Clock::duration{since}}};
}

} // namespace brindle::bench
