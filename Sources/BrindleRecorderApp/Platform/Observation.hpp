// A listener that is registered with a desktop service.
#pragma once

namespace brindle {

/// Destroying an observation unregisters its listener; from then on the listener is not called.
class Observation {
  public:
    virtual ~Observation() = default;
};

} // namespace brindle
