# Programs that use the microphone, or seem to, for scenes; sourced after scene.sh. Each is a
# tool of the sound server under another program's name, and ends with the session.
caller_pid=

# The path of a copy of a tool under the name of a call program.
stand_in() {
    local tool=$1 name=$2
    mkdir -p "$BRINDLE_SESSION/callers"
    [ -f "$BRINDLE_SESSION/callers/$name" ] ||
        cp "$(readlink -f "$(command -v "$tool")")" "$BRINDLE_SESSION/callers/$name"
    echo "$BRINDLE_SESSION/callers/$name"
}

# take_microphone ROUTE NAME: by the route of native PipeWire, PulseAudio or ALSA. Sets caller_pid.
take_microphone() {
    local route=$1 name=$2 heard=$BRINDLE_SESSION/heard-by-$2.wav program
    case "$route" in
        native)
            program=$(stand_in pw-cat "$name") || return
            "$program" --record --target virt-mic "$heard" &
            ;;
        pulse)
            program=$(stand_in pacat "$name") || return
            "$program" --record --device=virt-mic --file-format=wav "$heard" &
            ;;
        alsa)
            program=$(stand_in aplay "$name") || return
            # It looks at the name it was started by to know whether it plays or records.
            (exec -a arecord "$program" -q -D pipewire -f cd "$heard") &
            ;;
        *) fail "there is no route $route" ;;
    esac >"$BRINDLE_SESSION/logs/$name" 2>&1
    caller_pid=$!
}

let_go() { kill "$1" && wait "$1" 2>/dev/null; }

# The server has a running recording stream for which the jq condition holds.
server_has_recording() {
    pw-dump | jq -e "[.[] | select(.type == \"PipeWire:Interface:Node\" and .info.state == \"running\"
        and .info.props.\"media.class\" == \"Stream/Input/Audio\") | .info.props | select($1)] | length > 0"
}

# --- Who uses the microphone, as the program tells it: a line each, after the time at which it was told.
who_lines=$BRINDLE_SESSION/who-lines
follow_who() {
    touch "$who_lines"
    "$program" --who 2>"$BRINDLE_SESSION/logs/who" |
        while IFS= read -r line; do echo "$EPOCHREALTIME $line" >>"$who_lines"; done &
}
who_says() { grep -qF "$1" "$who_lines"; }
# The time of the first line that holds a text, in seconds.
told_at() { grep -F "$1" "$who_lines" | head -n 1 | cut -d ' ' -f 1; }
