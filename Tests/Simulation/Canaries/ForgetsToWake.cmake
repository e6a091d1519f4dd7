# After a sleep the call that goes on is not recorded again.
set(OLD [[        parts_.session.resume();]])
set(NEW [[]])
