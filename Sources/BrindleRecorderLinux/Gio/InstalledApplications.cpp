#include "BrindleRecorderLinux/Gio/InstalledApplications.hpp"

#include "BrindleRecorderLinux/Gio/Handles.hpp"

#include <csignal>
#include <pthread.h>

namespace brindle {

namespace {

/// In the new process, before it becomes the application: ours blocks and ignores signals that
/// others live by.
void giveSignalsBack(void* /*unused*/) {
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
}

bool launch(GDesktopAppInfo* application, const char* address) {
    GList addresses{};
    addresses.data = const_cast<char*>(address); // only read
    return g_desktop_app_info_launch_uris_as_manager(
               application, address != nullptr ? &addresses : nullptr, nullptr, G_SPAWN_SEARCH_PATH,
               giveSignalsBack, nullptr, nullptr, nullptr, nullptr) != 0;
}

} // namespace

std::optional<std::filesystem::path> InstalledApplications::find(const std::string& identifier) {
    const gio::DesktopAppInfo application{
        g_desktop_app_info_new((identifier + ".desktop").c_str())};
    const char* file =
        application != nullptr ? g_desktop_app_info_get_filename(application.get()) : nullptr;
    return file != nullptr ? std::optional<std::filesystem::path>{file} : std::nullopt;
}

bool InstalledApplications::open(const std::filesystem::path& desktopEntry) {
    const gio::DesktopAppInfo application{
        g_desktop_app_info_new_from_filename(desktopEntry.c_str())};
    return application != nullptr && launch(application.get(), nullptr);
}

bool InstalledApplications::openFolder(const std::filesystem::path& folder) {
    const gio::AppInfo application{g_app_info_get_default_for_type("inode/directory", 0)};
    const gio::Text address{g_filename_to_uri(folder.c_str(), nullptr, nullptr)};
    return application != nullptr && address != nullptr &&
           G_IS_DESKTOP_APP_INFO(application.get()) &&
           launch(G_DESKTOP_APP_INFO(application.get()), address.get());
}

} // namespace brindle
