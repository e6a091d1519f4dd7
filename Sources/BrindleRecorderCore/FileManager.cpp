#include "BrindleRecorderCore/FileManager.hpp"

#include <fmt/format.h>

namespace brindle {

std::string FileError::description() const {
    return fmt::format("{}: {}", code.message(), path.string());
}

} // namespace brindle
