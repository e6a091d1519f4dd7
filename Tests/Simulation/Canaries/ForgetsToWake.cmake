# After a sleep the call that goes on is not recorded again.
set(OLD [[        startRecording(*room);]])
set(NEW [[]])
