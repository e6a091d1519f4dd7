// Time zones anywhere on earth, for tests that choose where they are.
#pragma once

#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include <string>

namespace brindle::test {

/// The zone of that name in the IANA time-zone database ("Asia/Kathmandu"). Throws for a name that
/// is not there.
TimeZone timeZoneNamed(const std::string& name);

} // namespace brindle::test
