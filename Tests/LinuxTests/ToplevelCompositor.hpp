// A Wayland server that has no screen and shows nothing, but tells of windows as a test says.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

union wl_argument;
struct wl_client;
struct wl_display;
struct wl_event_source;
struct wl_message;
struct wl_resource;

namespace brindle {

/// Serves on a thread of its own. Its operations return once they are carried out.
class ToplevelCompositor {
  public:
    /// Offers these of `wayland::toplevelProtocols` at that socket.
    ToplevelCompositor(const std::string& socket, std::vector<std::size_t> protocols);
    ~ToplevelCompositor();
    ToplevelCompositor(const ToplevelCompositor&) = delete;
    ToplevelCompositor& operator=(const ToplevelCompositor&) = delete;

    void open(const std::string& title, const std::string& applicationID);
    /// Windows are counted from 0 in the order of their opening.
    void rename(std::size_t window, const std::string& title);
    void close(std::size_t window);
    /// Not for Plasma's protocol, which knows no end.
    void finish();
    /// Answers nobody from here on, until `goOn`.
    void hang();
    void goOn();

  private:
    struct Offer {
        ToplevelCompositor* compositor;
        std::size_t protocol;
    };
    struct Window {
        std::string title;
        std::string applicationID;
        bool isOpen = true;
        std::vector<wl_resource*> handles;
    };

    void perform(std::function<void()> work);
    void performPending();
    void bind(wl_client* client, std::size_t protocol, std::uint32_t id);
    void announce(wl_resource* list, std::size_t number);
    static int listRequest(
        const void* implementation, void* list, std::uint32_t number, const wl_message* message,
        wl_argument* arguments);
    static void makeHandle(wl_resource* list, std::uint32_t id, Window& window, bool isTold);
    static void tell(wl_resource* handle, const Window& window);

    wl_display* display_;
    wl_event_source* wakeUpSource_ = nullptr;
    int wakeUp_ = -1;
    std::vector<std::unique_ptr<Offer>> offers_;
    std::vector<wl_resource*> lists_;
    std::vector<std::unique_ptr<Window>> windows_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::function<void()>> pending_;
    std::size_t asked_ = 0;
    std::size_t performed_ = 0;
    bool hangs_ = false;
    std::thread thread_;
};

} // namespace brindle
