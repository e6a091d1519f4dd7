# The sidecar is written in place, so that it may be found half-written or missing.
set(OLD [[return AtomicFile::write(fileManager, path, text);]])
set(NEW [[fileManager.removeFile(path);
    return fileManager.createSyncedFile(path, text);]])
