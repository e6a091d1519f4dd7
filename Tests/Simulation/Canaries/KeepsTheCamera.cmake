# Whoever opens the camera that is being recorded finds it busy.
set(OLD [[        onRelease();]])
set(NEW [[        // the camera is kept]])
