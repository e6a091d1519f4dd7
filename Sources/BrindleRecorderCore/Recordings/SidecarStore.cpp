#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"

#include "BrindleRecorderCore/Base/AtomicFile.hpp"

#include <system_error>

namespace brindle {

std::string SidecarError::description() const {
    if (const auto* file = std::get_if<FileError>(&cause)) {
        return file->description();
    }
    return std::get<SidecarDecodingError>(cause).message;
}

Expected<void, FileError> SidecarStore::write(
    FileManager& fileManager, const Sidecar& sidecar, const std::filesystem::path& path,
    const TimeZone& timeZone) {
    const std::string text = SidecarCoding::encode(sidecar, timeZone);
    if (text.size() > maxBytes) {
        return unexpected{FileError{std::make_error_code(std::errc::file_too_large), path}};
    }
    return AtomicFile::write(fileManager, path, text);
}

Expected<Sidecar, SidecarError>
SidecarStore::read(const FileManager& fileManager, const std::filesystem::path& path) {
    const auto text = fileManager.readFile(path, maxBytes);
    if (!text) {
        return unexpected{SidecarError{text.error()}};
    }
    auto sidecar = SidecarCoding::decode(*text);
    if (!sidecar) {
        return unexpected{SidecarError{std::move(sidecar.error())}};
    }
    return std::move(*sidecar);
}

} // namespace brindle
