// Gives back what a library written in C has given.
#pragma once

namespace brindle {

/// For std::unique_ptr: calls the library's function on the object.
template <auto release>
struct Releaser {
    template <class Object>
    void operator()(Object* object) const {
        release(object);
    }
};

} // namespace brindle
