// The seam to the system's own log.
#pragma once

#include <string_view>

namespace brindle {

/// Any thread.
class SystemLog {
  public:
    enum class Level { info, error };

    virtual ~SystemLog() = default;
    /// Writes one line.
    virtual void write(Level level, std::string_view line) = 0;
};

} // namespace brindle
