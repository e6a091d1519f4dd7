# Words for the scenes that put a recording through a fault, sourced by each inside a private session
# without a camera. The camera is one whose pictures show when they were taken, so that each scene can
# say how many seconds before the fault are missing from what is left. Arguments: the program, and the
# program that plays the camera. BRINDLE_FAULT_TABLE, when set, names a folder that gets one line.
. "$(dirname "${BASH_SOURCE[0]}")/scene.sh"
clock_devices=$2
scene=$(basename "$0")
messages=$BRINDLE_SESSION/logs/brindle-recorder

start_camera() {
    "$clock_devices" --camera clock-cam >"$BRINDLE_SESSION/logs/clock-devices" 2>&1 &
    camera_pid=$!
    wait_for 20 'the camera' has_node clock-cam
}
has_node() { pw-cli info "$1" 2>/dev/null | grep -q 'type: PipeWire:Interface:Node'; }

# A recording that has pictures and sound on the disk.
start_recording() {
    start_recorder
    start_call
    wait_for 90 'a recording' recording_is_on
    segment=$(last_segment)
    # At about one second and two; the next comes five later, so that a fault now costs something.
    wait_for 60 'the first fragments' has_fragments 2
}
recording_is_on() { [ -n "$(last_segment)" ]; }
last_segment() { grep -oP 'Z recording: \K\S+' "$log" | tail -n 1; }
has_fragments() { [ "$(fragments)" -ge "$1" ]; }
fragments() { grep -ao moof "$recordings/$segment.mov" 2>/dev/null | wc -l; }

# Milliseconds of the clock that the camera shows.
now_ms() { awk '{ printf "%.0f", $1 * 1000 }' /proc/uptime; }
# What the last picture of a movie shows.
last_picture_ms() {
    ffmpeg -v error -sseof -2 -i "$1" -vf 'crop=iw:ih/4:0:ih/8,scale=32:1:flags=area,format=gray' \
        -f rawvideo - 2>/dev/null | tail -c 32 | od -An -v -tu1 |
        awk '{ for (i = 1; i <= NF; i++) t = 2 * t + ($i > 128) } END { if (NR) printf "%.0f", t }'
}

# Checks a movie with another program, and notes how much of what came before the fault it lacks.
check_end_of() {
    local movie=$1 fault_ms=$2 last_ms
    check_movie "$movie"
    last_ms=$(last_picture_ms "$movie")
    [ -n "$last_ms" ] || fail "$movie has no last picture"
    lost=$(awk -v fault="$fault_ms" -v last="$last_ms" 'BEGIN { printf "%.2f", (fault - last) / 1000 }')
    awk -v lost="$lost" 'BEGIN { exit !(lost > -30 && lost < 30) }' ||
        fail "the last picture of $movie is $lost s from the fault"
    note_lost "$lost" "$(duration_of "$movie")"
}
# One line of the table: seconds lost at the end, seconds kept.
note_lost() {
    printf '%-28s %6s s lost, %6.1f s kept%s\n' "$scene" "$1" "$2" "${3:+  ($3)}" | tee \
        ${BRINDLE_FAULT_TABLE:+"$BRINDLE_FAULT_TABLE/$scene"}
}
at_most_lost() {
    awk -v lost="$lost" -v limit="$1" 'BEGIN { exit !(lost <= limit) }' || fail "$lost s are lost, not $1 s at most"
}

expect_log() { log_has "$1" || fail "the log does not say: $1"; }
expect_message() { grep -qF "$1" "$messages" || fail "the user was not told: $1"; }
expect_note() {
    jq -r '.notes[]?' "$recordings/$1.json" | grep -qF "$2" || fail "the sidecar of $1 does not say: $2"
}
expect_gone() { [ ! -e "$1" ] || fail "$1 is still there"; }

# The recording that failed has been converted, and says why it ended.
expect_failed_segment() {
    local error=$1
    wait_for 60 "the failure: $error" log_has "recorder failed: $segment.mov $error"
    wait_for 60 'the end of the segment' is_finished "$segment"
    [ "$(log_count "recorder failed: $segment.mov")" -eq 1 ] || fail 'the failure was reported more than once'
    expect_log "capture failure #1 in room zoom#1: $error"
    expect_note "$segment" ": $error"
}
is_finished() { [ "$(sidecar_value "$recordings/$1.json" '.endedAt | type')" = string ]; }

quit_recorder() {
    kill -TERM "$recorder_pid"
    wait "$recorder_pid" || fail 'the program did not leave in good order'
}

has_ended() { [ ! -e "/proc/$1" ] || grep -q '^State:.Z' "/proc/$1/status"; }
# The call goes on in another segment, which begins so many seconds after the fault.
expect_next_segment() {
    local fault_ms=$1 limit=$2 first=$segment
    next_recording() { [ "$(last_segment)" != "$first" ]; }
    wait_for 30 'the next recording' next_recording
    gap=$(awk -v now="$(now_ms)" -v fault="$fault_ms" 'BEGIN { printf "%.1f", (now - fault) / 1000 }')
    awk -v gap="$gap" -v limit="$limit" 'BEGIN { exit !(gap <= limit) }' ||
        fail "the call goes on after $gap s, not $limit s at most"
    segment=$(last_segment)
    expect_note "$segment" "continues $first.mp4 after capture failure"
    wait_for 60 'the next recording on the disk' has_fragments 1
    segment=$first
}
