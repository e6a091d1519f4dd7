// Core Audio as a test arranges it.
#pragma once

#import <CoreAudio/CoreAudio.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

struct AudioStandIn {
    using Key = std::pair<::AudioObjectID, UInt32>;

    /// Values by object and selector.
    std::map<Key, std::vector<UInt32>> numbers;
    std::map<Key, std::string> texts;
    /// More objects are announced than there are when they are read.
    std::size_t goneInBetween = 0;
    bool refusesListeners = false;

    struct Listening {
        Key key;
        AudioObjectPropertyListenerBlock block;
    };
    std::vector<Listening> listening;

    void set(::AudioObjectID object, UInt32 selector, std::vector<UInt32> values) {
        numbers[{object, selector}] = std::move(values);
    }
    /// Calls who listens, on the main queue.
    void announce(::AudioObjectID object, UInt32 selector) const;
    static void reset();
};

extern AudioStandIn audioStandIn;

} // namespace brindle::test
