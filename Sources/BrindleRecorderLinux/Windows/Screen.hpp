// Is there a screen to show anything on?
#pragma once

namespace brindle {

/// Whether an X server or a Wayland compositor answers this process. A window toolkit ends the
/// process where none does, so it is asked before. Any thread.
bool aScreenAnswers();

} // namespace brindle
