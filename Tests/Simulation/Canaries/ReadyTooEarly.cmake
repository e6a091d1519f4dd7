# The program says that it is ready to sleep before the recording is closed and converted.
set(OLD [[parts_.recordings.whenIdle(std::move(ready));]])
set(NEW [[ready();]])
