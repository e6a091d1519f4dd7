# The program says that it is ready to sleep before the recording is closed and converted.
set(OLD [[pendingWork_.whenIdle(std::move(ready));]])
set(NEW [[ready();]])
