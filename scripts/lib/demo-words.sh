# Words for the demo's scenes, sourced by each inside a private session: the recorder with its status line shown,
# and checks. The arguments are PROGRAM FOLDER, the second for the files that are to be kept. Includes the words
# of Tests/EndToEnd.
. "$(dirname "${BASH_SOURCE[0]}")/../../Tests/EndToEnd/words/scene.sh"
kept=$2
status_lines=$BRINDLE_SESSION/status-lines
started=$EPOCHREALTIME

elapsed() { awk -v from="$started" -v to="$EPOCHREALTIME" 'BEGIN { printf "%6.1f s", to - from }'; }
say() { printf '[%s] %s\n' "$(elapsed)" "$1"; }

end_scene() {
    trap '' INT TERM
    [ -n "$call_pid" ] && kill "$call_pid" 2>/dev/null
    [ -n "$recorder_pid" ] && kill -TERM "$recorder_pid" 2>/dev/null && wait "$recorder_pid" 2>/dev/null
}
trap end_scene EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

fail() {
    say "FAILED: $1"
    [ -f "$log" ] && { echo '--- log'; tail -n 30 "$log"; }
    exit 1
}

# Sleeps, and yet ends at once when the scene is interrupted.
let_pass() {
    sleep "$1" &
    wait $!
}

# The recorder, with each change of its status line shown as it comes, and what it tells the user.
start_shown_recorder() {
    rm -f "$BRINDLE_SESSION/status-pipe" "$status_lines"
    mkfifo "$BRINDLE_SESSION/status-pipe"
    "$program" --headless >"$BRINDLE_SESSION/status-pipe" 2>>"$messages" &
    recorder_pid=$!
    needed_pid=$recorder_pid
    {
        while IFS= read -r line; do
            echo "$line" >>"$status_lines"
            # While recording the line counts every second; every fifth is enough to watch.
            case "$line" in
                Recording\ *[1-46-9]\ —*) ;;
                *) say "Brindle Recorder: $line" ;;
            esac
        done <"$BRINDLE_SESSION/status-pipe"
    } &
    wait_for 20 "the recorder's first status line" test -s "$status_lines"
}
# Sets quit_status.
quit_shown_recorder() {
    kill -TERM "$recorder_pid"
    wait "$recorder_pid"
    quit_status=$?
    recorder_pid= needed_pid=
}

# Keeps what there is; sets movie and sidecar.
keep_recording() {
    cp -p "$recordings"/* "$log" "$kept"/
    movie=$(find "$kept" -name '*.mp4' | head -n 1)
    sidecar=${movie%.mp4}.json
    echo
    echo "Recording: $movie"
}
show_sidecar() {
    echo
    echo "Sidecar: $sidecar"
    cat "$sidecar"
    echo
    echo
}

probe() { ffprobe -v error -select_streams "$1" -show_entries "$2" -of csv=p=0 "$movie"; }
failures=0
check() {
    local what=$1
    shift
    if "$@"; then
        echo "  ok      $what"
    else
        echo "  FAILED  $what"
        failures=$((failures + 1))
    fi
}
finish_checks() {
    echo
    if [ "$failures" -gt 0 ]; then
        echo "$failures check(s) failed."
        exit 1
    fi
    echo "All is as it should be. The files are in $kept"
}
