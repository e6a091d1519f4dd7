# Words for every scene, sourced by each inside a private session: failing, skipping, waiting, comparing. The
# first argument is the program. Includes recorder.sh and recordings.sh.
set -u
program=$1
end_to_end=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tools=$end_to_end/tools
session_scripts=$end_to_end/../../scripts/lib
. "$session_scripts/session-words.sh"
. "$end_to_end/words/recorder.sh"
. "$end_to_end/words/recordings.sh"

fail() {
    echo "FAILED: $1"
    [ -f "$log" ] && { echo '--- log'; tail -n 40 "$log"; }
    echo '--- recorder'
    tail -n 20 "$messages" 2>/dev/null
    exit 1
}

# A scene that cannot run here says so and counts as skipped.
skip() {
    echo "skipped: $1"
    exit 77
}
skip_without() {
    local tool
    for tool in "$@"; do
        command -v "$tool" >/dev/null || skip "this needs $tool"
    done
}

needed_pid= # a process without which it is no use to wait
# wait_for SECONDS WHAT COMMAND...: until the command succeeds; on a slow machine as much longer.
wait_for() {
    local deadline=$((SECONDS + $1 * patience)) what=$2
    shift 2
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || fail "$what did not happen in time"
        [ -z "$needed_pid" ] || kill -0 "$needed_pid" 2>/dev/null || fail "the recorder ended early"
        sleep 0.1
    done
}
not() { ! "$@"; }

# --- numbers with fractions
# holds COMPARISON: such as "$lost <= 6 && $kept > 10".
holds() { awk "BEGIN { exit !($1) }"; }
seconds_between() { awk -v from="$1" -v to="$2" 'BEGIN { printf "%.3f", to - from }'; }
# What the scene's recordings and pictures show; see there.
measured() { "$end_to_end/analysis/measurements.py" "$@"; }
