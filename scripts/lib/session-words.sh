# Words about the servers and devices of a private session, sourced by the scripts that put one together and by the
# scenes in it. Whoever uses them has a word `fail`.

# start_daemon NAME COMMAND...: in the background, with its words in the session's logs and its number in its pids.
# It dies with the script that starts it, even if that is killed outright.
start_daemon() {
    local name=$1
    shift
    setpriv --pdeathsig TERM "$@" >"$BRINDLE_SESSION/logs/$name" 2>&1 </dev/null &
    echo $! >"$BRINDLE_SESSION/pids/$name"
}

# How many times slower than usual everything is here: an emulated machine.
patience=${BRINDLE_PATIENCE:-1}

# wait_until WHAT COMMAND...: up to 20 s, or as much longer as everything is slower, until the command succeeds.
wait_until() {
    local what=$1 limit=$((20 * patience)) deadline
    deadline=$((SECONDS + limit))
    shift
    while ! "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || fail "$what did not come up within $limit s"
        sleep 0.05
    done
}

# --- the session bus
has_owner() {
    [ "$(dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner "string:$1")" = '   boolean true' ]
}

# --- the sound server
has_node() { pw-cli info "$1" 2>/dev/null | grep -q 'type: PipeWire:Interface:Node'; }

# add_microphone NODE DESCRIPTION
add_microphone() {
    pw-cli create-node adapter "{ factory.name=support.null-audio-sink node.name=$1
        node.description=\"$2\" media.class=Audio/Source/Virtual object.linger=true audio.position=[MONO] }" >/dev/null
}

# camera_command NODE DESCRIPTION [ELEMENT...]: sets `camera` to what plays a camera, with the elements of
# GStreamer on the way of its pictures.
camera_command() {
    local node=$1 description=${2// /\\ }
    shift 2
    camera=(gst-launch-1.0 -q videotestsrc is-live=true pattern=ball
        ! video/x-raw,format=I420,width=1280,height=720,framerate=30/1 ! "$@" pipewiresink mode=provide
        "stream-properties=p,media.class=Video/Source,media.role=Camera,node.description=(string)\"$description\",node.name=$node")
}

# --- the screen: start_screen [SCALE]. Sets DISPLAY.
start_screen() {
    local scale=${1:-1} number
    mkfifo "$BRINDLE_SESSION/display"
    # Without -noreset it begins anew whenever its last client leaves, and whoever comes in that moment finds no screen.
    start_daemon xvfb Xvfb -displayfd 3 -ac -noreset -nolisten tcp -dpi $((96 * scale)) \
        -screen 0 "$((1024 * scale))x$((768 * scale))x24" 3<>"$BRINDLE_SESSION/display"
    read -r -t 60 number <"$BRINDLE_SESSION/display" || fail 'the X server did not come up'
    rm "$BRINDLE_SESSION/display"
    export DISPLAY=:$number
}
