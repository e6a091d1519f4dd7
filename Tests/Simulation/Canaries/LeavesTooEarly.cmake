# The program leaves without waiting for the recording to be closed and converted.
set(OLD [[parts_.recordings.whenIdle(std::move(finished));]])
set(NEW [[finished();]])
