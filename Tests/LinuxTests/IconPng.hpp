// The icon's pictures as PNG files, for people to look at and for tests to compare with.
#pragma once

#include "BrindleRecorderLinux/Tray/IconPainter.hpp"

#include <filesystem>

namespace brindle::test {

/// Throws std::runtime_error when the file is no square PNG, or cannot be written.
IconPicture readPng(const std::filesystem::path& file);
void writePng(const IconPicture& picture, const std::filesystem::path& file);

} // namespace brindle::test
