// How whoever reads our menu on the bus and asks for it knows a line that only says something.
#pragma once

namespace brindle {

/// A property of com.canonical.dbusmenu that is our own: true for such a line, and not there for
/// others. It is given to those that ask for it by its name: to panels the line is like any other,
/// and Plasma's logs each property that it does not know.
inline constexpr const char* textMark = "x-brindle-text";

} // namespace brindle
