# What a conversion that was cut off has left stays hidden in the folder.
set(OLD [[    fileManager_.removeFileForGood(temporary);
    const auto session]])
set(NEW [[    const auto session]])
