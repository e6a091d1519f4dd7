# The .mov goes before the .mp4 is known to be whole.
set(OLD [[    const auto temporary = temporaryFor(destination);
    const auto sourceDuration = co_await duration(source, giveWay);]])
set(NEW [[    const auto temporary = temporaryFor(destination);
    const auto sourceDuration = co_await duration(source, giveWay);
    fileManager_.removeFile(source);]])
