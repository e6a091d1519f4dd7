// Is there a screen to show anything on?
#pragma once

namespace brindle {

// A window toolkit ends the process where none answers, so it is asked before. Any thread.

/// Whether an X server answers this process.
bool anXServerAnswers();
/// Whether an X server or a Wayland compositor does.
bool aScreenAnswers();

// The same as far as it can be told without waiting for anybody: one that takes connections may
// still not answer, and one on another machine is taken for granted.

bool anXServerListens();
bool aScreenListens();

} // namespace brindle
