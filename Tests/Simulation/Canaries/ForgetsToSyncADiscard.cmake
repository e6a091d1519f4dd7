# That the user threw a recording away is not synced to the disk.
set(OLD [[fileManager_.removeFileForGood(*mov);]])
set(NEW [[fileManager_.removeFile(*mov);]])
