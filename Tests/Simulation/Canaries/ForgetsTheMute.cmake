# The session forgets that the user silenced the room.
set(OLD [[    missedPolls_ = 0;
    mutedRoomCode_ = roomCode;
    setState(SessionState::armed(roomCode));
}

bool SessionController]])
set(NEW [[    missedPolls_ = 0;
    setState(SessionState::armed(roomCode));
}

bool SessionController]])
