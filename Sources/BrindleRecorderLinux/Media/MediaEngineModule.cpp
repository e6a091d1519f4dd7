#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"

#include "BrindleRecorderLinux/Media/MediaEngineEntry.hpp"
#include "BrindleRecorderLinux/Media/MediaError.hpp"

#include <string>
#include <system_error>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>

namespace brindle::media {

namespace {

tl::unexpected<PlatformError> cannotBeLoaded(const std::string& reason) {
    return unexpected{
        recordingError(fmt::format("the media library cannot be loaded: {}", reason))};
}

} // namespace

MediaEngineModule::MediaEngineModule(std::filesystem::path file)
    : file_{std::move(file)}, opened_{FileDescriptor::open(file_, O_RDONLY)} {}

Expected<MediaEngine*, PlatformError> MediaEngineModule::engine() {
    const std::lock_guard lock{mutex_};
    if (engine_ == nullptr) {
        auto loaded = load();
        failed_ = !loaded;
        if (!loaded) {
            return loaded;
        }
        engine_ = *loaded;
    }
    return engine_;
}

Expected<MediaEngine*, PlatformError> MediaEngineModule::load() const {
    if (!opened_) {
        return cannotBeLoaded(fmt::format("{}: {}", file_.string(), opened_.error().message()));
    }
    // By its own name, which debuggers and the like can follow, while the name is still its own.
    std::error_code error;
    const std::filesystem::path opened = fmt::format("/proc/self/fd/{}", opened_->number());
    const auto& name = std::filesystem::equivalent(file_, opened, error) ? file_ : opened;
    // Every function is looked for now: one that is missing is an error here, and would end the
    // program in the middle of a recording.
    void* const module = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        return cannotBeLoaded(dlerror());
    }
    void* const entry = dlsym(module, mediaEngineEntryName);
    if (entry == nullptr) {
        return cannotBeLoaded(dlerror());
    }
    MediaEngine* const engine = reinterpret_cast<MediaEngineEntry*>(entry)(BRINDLE_VERSION);
    if (engine == nullptr) {
        return cannotBeLoaded(file_.string() + " belongs to another version of Brindle Recorder");
    }
    return engine;
}

} // namespace brindle::media
