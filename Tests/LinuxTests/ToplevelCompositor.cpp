#include "LinuxTests/ToplevelCompositor.hpp"

#include "BrindleRecorderLinux/Windows/ToplevelProtocols.hpp"

#include <sys/eventfd.h>
#include <unistd.h>
#include <wayland-server-core.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

using wayland::toplevelProtocols;

/// The number of a message of that name.
std::uint32_t eventNamed(const wl_interface* interface, std::string_view name) {
    for (int index = 0; index < interface->event_count; ++index) {
        if (interface->events[index].name == name) {
            return static_cast<std::uint32_t>(index);
        }
    }
    throw std::logic_error{"no such event"};
}

/// Requests: only that a handle is given back.
int handleRequest(
    const void*, void* resource, std::uint32_t, const wl_message* message, wl_argument*) {
    if (message->name == std::string_view{"destroy"}) {
        wl_resource_destroy(static_cast<wl_resource*>(resource));
    }
    return 0;
}

const wayland::ToplevelProtocol& protocolOf(wl_resource* listOrHandle) {
    const std::string_view name = wl_resource_get_class(listOrHandle);
    return *std::find_if(toplevelProtocols.begin(), toplevelProtocols.end(), [&](const auto& each) {
        return name == each.list->name || name == each.handle->name;
    });
}

} // namespace

ToplevelCompositor::ToplevelCompositor(
    const std::string& socket, std::vector<std::size_t> protocols)
    : display_{wl_display_create()}, wakeUp_{eventfd(0, EFD_CLOEXEC)} {
    if (wl_display_add_socket(display_, socket.c_str()) != 0) {
        throw std::runtime_error{"no socket"};
    }
    for (const std::size_t protocol : protocols) {
        offers_.push_back(std::make_unique<Offer>(Offer{this, protocol}));
        wl_global_create(
            display_, toplevelProtocols[protocol].list,
            static_cast<int>(toplevelProtocols[protocol].version), offers_.back().get(),
            [](wl_client* client, void* data, std::uint32_t, std::uint32_t id) {
                const auto& offer = *static_cast<Offer*>(data);
                offer.compositor->bind(client, offer.protocol, id);
            });
    }
    wakeUpSource_ = wl_event_loop_add_fd(
        wl_display_get_event_loop(display_), wakeUp_, WL_EVENT_READABLE,
        [](int, std::uint32_t, void* data) {
            static_cast<ToplevelCompositor*>(data)->performPending();
            return 0;
        },
        this);
    thread_ = std::thread{[this] {
        wl_display_run(display_);
    }};
}

ToplevelCompositor::~ToplevelCompositor() {
    perform([this] { wl_display_terminate(display_); });
    thread_.join();
    wl_display_destroy_clients(display_);
    wl_event_source_remove(wakeUpSource_);
    wl_display_destroy(display_);
    ::close(wakeUp_);
}

void ToplevelCompositor::open(const std::string& title, const std::string& applicationID) {
    perform([&] {
        windows_.push_back(std::make_unique<Window>());
        Window& window = *windows_.back();
        window.title = title;
        window.applicationID = applicationID;
        for (wl_resource* const list : lists_) {
            announce(list, windows_.size() - 1);
        }
    });
}

void ToplevelCompositor::rename(std::size_t window, const std::string& title) {
    perform([&] {
        windows_[window]->title = title;
        for (wl_resource* const handle : windows_[window]->handles) {
            tell(handle, *windows_[window]);
        }
    });
}

void ToplevelCompositor::close(std::size_t window) {
    perform([&] {
        windows_[window]->isOpen = false;
        for (wl_resource* const handle : windows_[window]->handles) {
            const auto& protocol = protocolOf(handle);
            wl_resource_post_event(
                handle,
                eventNamed(protocol.handle, protocol.announcesNumbers ? "unmapped" : "closed"));
        }
    });
}

void ToplevelCompositor::finish() {
    perform([&] {
        for (wl_resource* const list : lists_) {
            wl_resource_post_event(list, eventNamed(protocolOf(list).list, "finished"));
        }
    });
}

void ToplevelCompositor::hang() {
    perform([&] { hangs_ = true; });
}

void ToplevelCompositor::goOn() {
    const std::lock_guard lock{mutex_};
    hangs_ = false;
    changed_.notify_all();
}

void ToplevelCompositor::perform(std::function<void()> work) {
    std::unique_lock lock{mutex_};
    pending_.push_back(std::move(work));
    const std::size_t number = ++asked_;
    eventfd_write(wakeUp_, 1);
    changed_.wait(lock, [&] { return performed_ >= number; });
}

void ToplevelCompositor::performPending() {
    eventfd_t count = 0;
    eventfd_read(wakeUp_, &count);
    std::unique_lock lock{mutex_};
    for (const auto& work : std::exchange(pending_, {})) {
        work();
        ++performed_;
        changed_.notify_all();
    }
    wl_display_flush_clients(display_);
    changed_.wait(lock, [this] { return !hangs_; });
}

void ToplevelCompositor::bind(wl_client* client, std::size_t protocol, std::uint32_t id) {
    wl_resource* const list = wl_resource_create(
        client, toplevelProtocols[protocol].list,
        static_cast<int>(toplevelProtocols[protocol].version), id);
    wl_resource_set_dispatcher(list, listRequest, nullptr, this, [](wl_resource* gone) {
        auto& lists = static_cast<ToplevelCompositor*>(wl_resource_get_user_data(gone))->lists_;
        lists.erase(std::remove(lists.begin(), lists.end(), gone), lists.end());
    });
    lists_.push_back(list);
    for (std::size_t number = 0; number < windows_.size(); ++number) {
        if (windows_[number]->isOpen) {
            announce(list, number);
        }
    }
}

/// Requests to a list: only for the handle of an announced number.
int ToplevelCompositor::listRequest(
    const void*, void* list, std::uint32_t, const wl_message* message, wl_argument* arguments) {
    auto* const resource = static_cast<wl_resource*>(list);
    if (message->name == std::string_view{"get_window"}) {
        const auto& compositor =
            *static_cast<ToplevelCompositor*>(wl_resource_get_user_data(resource));
        makeHandle(
            resource, arguments[0].n, *compositor.windows_.at(arguments[1].u), /*isTold=*/true);
    }
    return 0;
}

void ToplevelCompositor::announce(wl_resource* list, std::size_t number) {
    if (protocolOf(list).announcesNumbers) {
        wl_resource_post_event(
            list, eventNamed(protocolOf(list).list, "window"), static_cast<std::uint32_t>(number));
    } else {
        makeHandle(list, 0, *windows_[number], /*isTold=*/false);
    }
}

/// `isTold` where the client knows of the window already.
void ToplevelCompositor::makeHandle(
    wl_resource* list, std::uint32_t id, Window& window, bool isTold) {
    const auto& protocol = protocolOf(list);
    wl_resource* const handle = wl_resource_create(
        wl_resource_get_client(list), protocol.handle, static_cast<int>(protocol.version), id);
    wl_resource_set_dispatcher(handle, handleRequest, nullptr, &window, [](wl_resource* gone) {
        auto& handles = static_cast<Window*>(wl_resource_get_user_data(gone))->handles;
        handles.erase(std::remove(handles.begin(), handles.end(), gone), handles.end());
    });
    window.handles.push_back(handle);
    if (!isTold) {
        wl_resource_post_event(list, eventNamed(protocol.list, "toplevel"), handle);
    }
    tell(handle, window);
}

void ToplevelCompositor::tell(wl_resource* handle, const Window& window) {
    const auto& protocol = protocolOf(handle);
    const bool isPlasma = protocol.announcesNumbers;
    const auto post = [&](const char* name, const std::string& text) {
        wl_resource_post_event(handle, eventNamed(protocol.handle, name), text.c_str());
    };
    post(isPlasma ? "app_id_changed" : "app_id", window.applicationID);
    post(isPlasma ? "title_changed" : "title", window.title);
    if (isPlasma) {
        // Beyond the version that is spoken, as the real one sends it.
        wl_resource_post_event(
            handle, eventNamed(protocol.handle, "pid_changed"), std::uint32_t{1});
        wl_resource_post_event(handle, eventNamed(protocol.handle, "initial_state"));
    } else {
        wl_resource_post_event(handle, eventNamed(protocol.handle, "done"));
    }
}

} // namespace brindle
