#include "BrindleRecorderMac/Foundation/Text.hpp"

#include "BrindleRecorderMac/Foundation/Utf8.hpp"

namespace brindle {

namespace {

NSString* exactString(std::string_view text) {
    return [[[NSString alloc] initWithBytes:text.data()
                                     length:text.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

} // namespace

NSString* nsString(std::string_view text) {
    NSString* const exact = exactString(text);
    return exact != nil ? exact : exactString(withReplacedInvalidUtf8(text));
}

std::string stringOf(NSString* text) {
    if (text == nil) {
        return {};
    }
    // Lossy, because half a surrogate pair has no UTF-8 at all.
    NSData* const bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    return {static_cast<const char*>([bytes bytes]), [bytes length]};
}

NSURL* fileUrl(const std::filesystem::path& path) {
    return [NSURL fileURLWithPath:nsString(path.native())];
}

std::filesystem::path pathOf(NSURL* url) {
    return [url isFileURL] ? stringOf([url path]) : std::string{};
}

std::string descriptionOf(id object) {
    return stringOf([object description]);
}

} // namespace brindle
