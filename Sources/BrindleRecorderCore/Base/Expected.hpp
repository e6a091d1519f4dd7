// The result of an operation that can fail: a value, or a typed error. Errors of the machine are
// values here; exceptions are left to programmer errors.
#pragma once

#include <tl/expected.hpp>

namespace brindle {

template <class Value, class Error>
using Expected = tl::expected<Value, Error>;

using tl::unexpected;

} // namespace brindle
