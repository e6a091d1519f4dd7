# The program's clock is the machine's, which somebody may set.
set(OLD [[return Date{std::chrono::nanoseconds{origin_.load()} + steadyClock_()};]])
set(NEW [[return wallClock_.now();]])
