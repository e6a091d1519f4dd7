#include "AudioStandIn.hpp"

#import <Foundation/Foundation.h>

#include <Block.h>
#include <algorithm>
#include <cstring>
#include <dispatch/dispatch.h>

namespace brindle::test {

AudioStandIn audioStandIn;

void AudioStandIn::announce(::AudioObjectID object, UInt32 selector) const {
    struct Call {
        AudioObjectPropertyListenerBlock block;
        AudioObjectPropertyAddress address;
    };
    for (const auto& one : listening) {
        if (one.key == Key{object, selector}) {
            dispatch_async_f(
                dispatch_get_main_queue(),
                new Call{Block_copy(one.block), {selector, kAudioObjectPropertyScopeGlobal, 0}},
                [](void* context) {
                    auto* const call = static_cast<Call*>(context);
                    call->block(1, &call->address);
                    Block_release(call->block);
                    delete call;
                });
        }
    }
}

void AudioStandIn::reset() {
    for (const auto& one : audioStandIn.listening) {
        Block_release(one.block);
    }
    audioStandIn = {};
}

} // namespace brindle::test

using brindle::test::audioStandIn;

namespace {

constexpr OSStatus unknownProperty = 'who?';

bool isGlobal(const AudioObjectPropertyAddress* address) {
    return address->mScope == kAudioObjectPropertyScopeGlobal &&
           address->mElement == kAudioObjectPropertyElementMain;
}

} // namespace

OSStatus AudioObjectGetPropertyDataSize(
    ::AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32, const void*,
    UInt32* size) {
    const auto found = audioStandIn.numbers.find({object, address->mSelector});
    if (found == audioStandIn.numbers.end() || !isGlobal(address)) {
        return unknownProperty;
    }
    *size =
        static_cast<UInt32>((found->second.size() + audioStandIn.goneInBetween) * sizeof(UInt32));
    return noErr;
}

OSStatus AudioObjectGetPropertyData(
    ::AudioObjectID object, const AudioObjectPropertyAddress* address, UInt32, const void*,
    UInt32* size, void* data) {
    const std::pair key{object, address->mSelector};
    if (const auto text = audioStandIn.texts.find(key); text != audioStandIn.texts.end()) {
        if (*size != sizeof(void*)) {
            return unknownProperty;
        }
        NSString* const handedOut = [[NSMutableString alloc]
            initWithString:[NSString stringWithUTF8String:text->second.c_str()]];
        std::memcpy(data, &handedOut, sizeof handedOut);
        return noErr;
    }
    const auto found = audioStandIn.numbers.find(key);
    if (found == audioStandIn.numbers.end() || !isGlobal(address)) {
        return unknownProperty;
    }
    *size = std::min(*size, static_cast<UInt32>(found->second.size() * sizeof(UInt32)));
    std::copy_n(found->second.data(), *size / sizeof(UInt32), static_cast<UInt32*>(data));
    return noErr;
}

OSStatus AudioObjectAddPropertyListenerBlock(
    ::AudioObjectID object, const AudioObjectPropertyAddress* address, dispatch_queue_t,
    AudioObjectPropertyListenerBlock listener) {
    if (audioStandIn.refusesListeners) {
        return unknownProperty;
    }
    audioStandIn.listening.push_back({{object, address->mSelector}, Block_copy(listener)});
    return noErr;
}

OSStatus AudioObjectRemovePropertyListenerBlock(
    ::AudioObjectID object, const AudioObjectPropertyAddress* address, dispatch_queue_t,
    AudioObjectPropertyListenerBlock listener) {
    auto& all = audioStandIn.listening;
    const auto found = std::ranges::find_if(all, [&](const auto& one) {
        return one.key == brindle::test::AudioStandIn::Key{object, address->mSelector} &&
               one.block == listener;
    });
    if (found == all.end()) {
        return unknownProperty;
    }
    Block_release(found->block);
    all.erase(found);
    return noErr;
}
