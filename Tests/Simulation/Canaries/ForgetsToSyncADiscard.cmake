# That the user threw a recording away is not synced to the disk.
set(OLD [[fileManager_.syncDirectory(mov->parent_path());]])
set(NEW [[]])
