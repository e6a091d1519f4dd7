// Owners of objects of Objective-C and of Core Foundation: automatic reference counting is off in
// this folder, and whatever lives longer than a call is held by one of these.
#pragma once

#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

#include <Block.h>
#include <utility>

namespace brindle {

/// Holds one object, or none. A copy holds the same object.
template <class Object>
class Retained {
  public:
    Retained() = default;
    /// Takes over what the caller owns: the result of alloc, new, copy or mutableCopy.
    static Retained taking(Object* object) { return Retained{object}; }
    /// Holds what somebody else owns.
    static Retained keeping(Object* object) { return Retained{[object retain]}; }

    Retained(const Retained& other) : object_{[other.object_ retain]} {}
    Retained(Retained&& other) noexcept : object_{std::exchange(other.object_, nil)} {}
    Retained& operator=(Retained other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Retained() { [object_ release]; }

    [[nodiscard]] Object* get() const { return object_; }
    explicit operator bool() const { return object_ != nil; }

  private:
    explicit Retained(Object* object) : object_{object} {}

    Object* object_ = nil;
};

/// What alloc, new, copy or mutableCopy gave.
template <class Object>
Retained<Object> taking(Object* object) {
    return Retained<Object>::taking(object);
}

/// What any other message gave.
template <class Object>
Retained<Object> keeping(Object* object) {
    return Retained<Object>::keeping(object);
}

/// Holds one block that is called later. A copy holds the same block.
template <class Block>
class RetainedBlock {
  public:
    explicit RetainedBlock(Block block) : block_{Block_copy(block)} {}
    RetainedBlock(const RetainedBlock& other) : block_{Block_copy(other.block_)} {}
    RetainedBlock& operator=(const RetainedBlock&) = delete;
    ~RetainedBlock() { Block_release(block_); }

    [[nodiscard]] Block get() const { return block_; }

  private:
    Block block_;
};

/// What Foundation calls an object of Core Foundation: the two have the same.
template <class Object>
Object* bridged(CFTypeRef reference) {
    return static_cast<Object*>(const_cast<void*>(reference));
}

/// Owns one object of Core Foundation, or none; what a function with Copy or Create in its name
/// gave.
template <class Reference>
class CoreFoundationOwner {
  public:
    explicit CoreFoundationOwner(Reference reference) : reference_{reference} {}
    CoreFoundationOwner(const CoreFoundationOwner&) = delete;
    CoreFoundationOwner& operator=(const CoreFoundationOwner&) = delete;
    ~CoreFoundationOwner() {
        if (reference_ != nullptr) {
            CFRelease(reference_);
        }
    }

    [[nodiscard]] Reference get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }

  private:
    Reference reference_;
};

} // namespace brindle
