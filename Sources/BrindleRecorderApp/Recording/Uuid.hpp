// Identifiers that nothing else has.
#pragma once

#include <string>

namespace brindle {

/// A random UUID (version 4 of RFC 9562) in capital letters,
/// "3F2504E0-4F89-41D3-9A0C-0305E82C3301". Any thread.
std::string randomUuid();

} // namespace brindle
