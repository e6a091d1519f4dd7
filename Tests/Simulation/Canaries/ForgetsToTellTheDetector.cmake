# The detector is not told that the recording of a call that goes on was ended. Alone it would do no
# harm, because the session's mute holds too.
set(OLD [[static_cast<void>(callDetector_.manualStop(environment_.dateProvider.now()));]])
set(NEW [[]])
