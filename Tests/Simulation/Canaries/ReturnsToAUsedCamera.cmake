# A recording is cut for a camera that somebody else still uses.
set(OLD [[!parts_.captureSystem.holderOf(camera.uniqueID)]])
set(NEW [[!camera.uniqueID.empty()]])
