# Words for end-to-end tests, sourced by each inside a private session: the built program, a stand-in
# for a call program, and waiting for things to happen. The first argument is the program.
set -u
program=$1
recordings=$HOME/Movies/Brindle
log="$HOME/Library/Logs/Brindle Recorder/recorder.log"
recorder_pid= call_pid=

fail() {
    echo "FAILED: $1"
    [ -f "$log" ] && { echo '--- log'; tail -n 40 "$log"; }
    echo '--- recorder'
    tail -n 20 "$BRINDLE_SESSION/logs/brindle-recorder" 2>/dev/null
    exit 1
}

# wait_for SECONDS WHAT COMMAND...: until the command succeeds.
wait_for() {
    local deadline=$((SECONDS + $1)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || fail "$what did not happen in time"
        sleep 0.1
    done
}

start_recorder() {
    "$program" --headless >>"$BRINDLE_SESSION/logs/status" 2>>"$BRINDLE_SESSION/logs/brindle-recorder" &
    recorder_pid=$!
}

# A stand-in for a call program takes the microphone under its own name.
start_call() {
    mkdir -p "$BRINDLE_SESSION/call"
    cp "$(command -v pw-cat)" "$BRINDLE_SESSION/call/zoom"
    "$BRINDLE_SESSION/call/zoom" --record --target virt-mic "$BRINDLE_SESSION/call/heard.wav" \
        >"$BRINDLE_SESSION/logs/call" 2>&1 &
    call_pid=$!
}

end_call() {
    kill "$call_pid" && wait "$call_pid" 2>/dev/null
    call_pid=
}

log_has() { grep -qF "$1" "$log"; }
log_count() { grep -cF "$1" "$log"; }
# The program that captures for the recorder, while there is one.
capture_pid() { pgrep -P "$recorder_pid" -x brindle-capture; }
# The capture file has grown beyond its header: at least one fragment is on the disk.
first_fragment_is_written() { [ "$(stat -c %s "$recordings"/*.mov 2>/dev/null || echo 0)" -gt 20000 ]; }

# Checks one movie with another program: its tracks, playable to the end.
check_movie() { check_tracks 'aac h264 ' "$1"; }
check_sound() { check_tracks 'aac ' "$1"; }
check_tracks() {
    local tracks=$1 movie=$2
    [ -f "$movie" ] || fail "there is no $movie"
    [ "$(ffprobe -v error -show_entries stream=codec_name -of csv=p=0 "$movie" | sort | tr '\n' ' ')" = "$tracks" ] ||
        fail "$movie does not hold $tracks"
    [ -z "$(ffmpeg -v error -i "$movie" -f null - 2>&1)" ] || fail "$movie does not play through"
}
duration_of() { ffprobe -v error -show_entries format=duration -of csv=p=0 "$1"; }
sidecar_value() { jq -r "$2" "$1"; }
