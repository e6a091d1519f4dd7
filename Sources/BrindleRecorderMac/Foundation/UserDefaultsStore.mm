#include "BrindleRecorderMac/Foundation/UserDefaultsStore.hpp"

#include "BrindleRecorderMac/Foundation/Text.hpp"

namespace brindle {

std::optional<std::string> UserDefaultsStore::string(const std::string& key) const {
    @autoreleasepool {
        const id value = [defaults_.get() objectForKey:nsString(key)];
        return [value isKindOfClass:[NSString class]] ? std::optional{stringOf(value)}
                                                      : std::nullopt;
    }
}

std::optional<bool> UserDefaultsStore::boolean(const std::string& key) const {
    @autoreleasepool {
        const id value = [defaults_.get() objectForKey:nsString(key)];
        // Foundation's class is the same for truth values and for other numbers.
        if (value == nil || CFGetTypeID(value) != CFBooleanGetTypeID()) {
            return std::nullopt;
        }
        return [value boolValue] != NO;
    }
}

std::optional<std::vector<std::string>>
UserDefaultsStore::stringArray(const std::string& key) const {
    @autoreleasepool {
        const id value = [defaults_.get() objectForKey:nsString(key)];
        if (![value isKindOfClass:[NSArray class]]) {
            return std::nullopt;
        }
        std::vector<std::string> texts;
        for (id element in static_cast<NSArray*>(value)) {
            if (![element isKindOfClass:[NSString class]]) {
                return std::nullopt;
            }
            texts.push_back(stringOf(element));
        }
        return texts;
    }
}

void UserDefaultsStore::setString(const std::string& key, const std::string& value) {
    @autoreleasepool {
        [defaults_.get() setObject:nsString(value) forKey:nsString(key)];
    }
}

void UserDefaultsStore::setBoolean(const std::string& key, bool value) {
    @autoreleasepool {
        [defaults_.get() setBool:value forKey:nsString(key)];
    }
}

void UserDefaultsStore::setStringArray(
    const std::string& key, const std::vector<std::string>& value) {
    @autoreleasepool {
        NSMutableArray* const texts = [NSMutableArray array];
        for (const auto& text : value) {
            [texts addObject:nsString(text)];
        }
        [defaults_.get() setObject:texts forKey:nsString(key)];
    }
}

void UserDefaultsStore::remove(const std::string& key) {
    @autoreleasepool {
        [defaults_.get() removeObjectForKey:nsString(key)];
    }
}

} // namespace brindle
