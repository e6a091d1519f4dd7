# The program leaves without waiting for the recording to be closed and converted.
set(OLD [[pendingWork_.whenIdle(std::move(finished));]])
set(NEW [[finished();]])
