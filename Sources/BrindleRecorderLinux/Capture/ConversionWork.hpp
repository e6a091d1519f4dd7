// Conversions and measurements of movies, one after the other.
#pragma once

#include "BrindleRecorderCore/Base/FileDescriptor.hpp"
#include "BrindleRecorderLinux/Capture/Convert/CopyControl.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

namespace brindle::capture {

/// `complete`, `convert` and `measure` block; the rest may be called on any thread meanwhile.
class ConversionWork {
  public:
    [[nodiscard]] Completed complete(FileDescriptor movie, bool isAsWritten);
    [[nodiscard]] Converted convert(FileDescriptor source, FileDescriptor destination);
    [[nodiscard]] Measured measure(FileDescriptor movie) const;

    /// Ends what is being done, and what is begun later, soon.
    void cancel() { control_.cancelled = true; }
    /// 0 to 1.
    [[nodiscard]] double progress() const { return control_.progress; }

  private:
    void begin();

    media::CopyControl control_;
};

} // namespace brindle::capture
