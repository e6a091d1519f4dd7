// Texts and paths across the border between C++ and Foundation.
#pragma once

#import <Foundation/Foundation.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace brindle {

/// Never nil: bytes that are no UTF-8 become U+FFFD, so that a name of any content can be shown.
/// Belongs to the pool.
NSString* nsString(std::string_view text);

/// Empty for nil. What is no text by itself, half a surrogate pair, is left out.
std::string stringOf(NSString* text);

/// A file or folder. Belongs to the pool.
NSURL* fileUrl(const std::filesystem::path& path);

/// Empty for nil and for what is no file.
std::filesystem::path pathOf(NSURL* url);

/// As text, whatever the object is; empty for nil.
std::string descriptionOf(id object);

} // namespace brindle
