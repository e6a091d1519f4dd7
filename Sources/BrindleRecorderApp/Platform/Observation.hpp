// A listener that is registered with a desktop service.
#pragma once

namespace brindle {

/// Destroying an observation unregisters its listener; from then on the listener is not called. It
/// may be destroyed by its own listener.
class Observation {
  public:
    virtual ~Observation() = default;
};

} // namespace brindle
