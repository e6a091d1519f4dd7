# What was noted at the start of a recording is forgotten when it is stopped.
set(OLD [[log_.diagnostic(fmt::format("end recording: {} keep={}", segment.baseName, keep));]])
set(NEW [[log_.diagnostic(fmt::format("end recording: {} keep={}", segment.baseName, keep));
    segment.sidecar.notes.clear();]])
