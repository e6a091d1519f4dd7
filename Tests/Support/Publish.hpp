// Lets a test publish what only the owner of a field may.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"

#include <type_traits>
#include <utility>

namespace brindle::test {

/// As the field's owner would. The fields that are shown to everybody are no constants themselves.
template <class Value>
void publish(const Published<Value>& field, std::type_identity_t<Value> value) {
    const_cast<Published<Value>&>(field).set(std::move(value));
}

} // namespace brindle::test
