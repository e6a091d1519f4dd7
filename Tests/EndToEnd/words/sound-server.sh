# The session's sound server, ended without warning and started again; sourced after scene.sh.

# The session's own processes of that name, one a line.
processes_named() {
    local status pid
    for status in /proc/[0-9]*/comm; do
        pid=${status#/proc/} pid=${pid%/comm}
        [ "$(cat "$status" 2>/dev/null)" = "$1" ] &&
            tr '\0' '\n' 2>/dev/null <"/proc/$pid/environ" | grep -qxF "BRINDLE_SESSION=$BRINDLE_SESSION" &&
            echo "$pid"
    done
}

kill_sound_server() {
    local pids
    pids=$(processes_named pipewire; processes_named wireplumber; processes_named pipewire-pulse
        processes_named gst-launch-1.0)
    [ -n "$pids" ] || fail 'there is no sound server to kill'
    kill -KILL $pids
    all_are_gone() { ! kill -0 $pids; }
    wait_for 60 'the end of the sound server' all_are_gone
    # What a server leaves behind that had no time to tidy up.
    rm -f "$XDG_RUNTIME_DIR"/pipewire-0* "$XDG_RUNTIME_DIR"/pulse/native "$XDG_RUNTIME_DIR"/pulse/pid
}

# In the background, and as nobody's job: the shell would report its death.
start_unattended() {
    local name=$1
    shift
    ("$@" >"$BRINDLE_SESSION/logs/$name" 2>&1 </dev/null &)
}

# Returns as soon as the server answers; the devices follow. Sets server_back_at.
start_sound_server() {
    start_unattended pipewire pipewire
    wait_for 60 "the sound server's return" pw-cli info 0
    server_back_at=$EPOCHREALTIME
    start_unattended wireplumber wireplumber
    start_unattended pipewire-pulse pipewire-pulse
    add_microphone virt-mic 'Studio Microphone' || fail 'no virtual microphone'
    camera_command virt-cam 'Desk Camera'
    start_unattended camera "${camera[@]}"
}
