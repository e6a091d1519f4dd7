# The .mov goes before it is on the disk that the .mp4 has its name.
set(OLD [[return fileManager_.syncDirectory(destination.parent_path());]])
set(NEW [[return {};]])
