// Who carries out what the session controller decides.
#pragma once

#include <string>

namespace brindle {

/// Interface. Called on the controller's thread from inside its operations; it must not call back
/// into the controller before it returns, so longer work is left for later.
class SessionDelegate {
  public:
    virtual ~SessionDelegate() = default;
    /// Begin recording this room.
    virtual void startRecording(const std::string& roomCode) = 0;
    /// Stop the current recording and keep its file, or discard it.
    virtual void stopRecording(bool keep) = 0;
};

} // namespace brindle
