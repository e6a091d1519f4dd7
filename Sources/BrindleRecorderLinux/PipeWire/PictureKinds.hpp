// What the pictures of a camera are made of, by the formats that the server announces.
#pragma once

#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <set>

struct spa_pod;

namespace brindle::pipewire {

/// The kinds in one announced format, which may hold alternatives; none where nobody can show what
/// comes in it: a sensor's raw data, and formats without a name.
std::set<PictureKind> pictureKindsOf(const spa_pod* format);

} // namespace brindle::pipewire
