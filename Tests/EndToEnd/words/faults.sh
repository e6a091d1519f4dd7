# Words for the scenes that put a recording through a fault, sourced by each inside a private session
# without a camera. The camera is one whose pictures show when they were taken, so that each scene can
# say how many seconds before the fault are missing from what is left. Arguments: the program, and the
# program that plays the camera. BRINDLE_FAULT_TABLE, when set, names a folder that gets one line.
. "$(dirname "${BASH_SOURCE[0]}")/scene.sh"
clock_devices=$2
scene=$(basename "$0")

start_camera() {
    "$clock_devices" --camera clock-cam >"$BRINDLE_SESSION/logs/clock-devices" 2>&1 &
    camera_pid=$!
    wait_for 20 'the camera' has_node clock-cam
}

# A recording that has pictures and sound on the disk.
start_recording() {
    start_recorder
    start_call
    wait_for 90 'a recording' has_begun 1
    segment=$(last_segment)
    # At about one second and two; the next comes five later, so that a fault now costs something.
    wait_for 60 'the first fragments' has_fragments 2
}
has_fragments() { [ "$(fragments)" -ge "$1" ]; }
fragments() { grep -ao moof "$recordings/$segment.mov" 2>/dev/null | wc -l; }

# The time by the clock that the camera shows, in seconds.
now() {
    local up
    read -r up _ </proc/uptime
    echo "$up"
}
seconds_since() { seconds_between "$1" "$(now)"; }

# Checks a movie with another program, and notes how much of what came before the fault it lacks.
check_end_of() {
    local movie=$1 fault=$2
    check_movie "$movie"
    lost=$(measured lost "$movie" "$fault") || fail "$movie has no last picture"
    holds "$lost > -30 && $lost < 30" || fail "the last picture of $movie is $lost s from the fault"
    note_lost "$lost" "$(duration_of "$movie")"
}
# Checks that nothing is missing between a movie's first picture and its last, and notes it.
check_whole() {
    lost=$(measured missing "$1") || fail "$1 has no pictures"
    holds "$lost > -0.5 && $lost < 0.5" || fail "$1 is $lost s shorter than what it shows"
    note_lost "$lost" "$(duration_of "$1")" 'in one piece'
}
# One line of the table: seconds lost at the end, seconds kept.
note_lost() {
    printf '%-28s %6s s lost, %6.1f s kept%s\n' "$scene" "$1" "$2" "${3:+  ($3)}" | tee \
        ${BRINDLE_FAULT_TABLE:+"$BRINDLE_FAULT_TABLE/$scene"}
}
at_most_lost() { holds "$lost <= $1" || fail "$lost s are lost, not $1 s at most"; }

expect_log() { log_has "$1" || fail "the log does not say: $1"; }
expect_message() { was_told "$1" || fail "the user was not told: $1"; }
expect_note() {
    jq -r '.notes[]?' "$recordings/$1.json" | grep -qF "$2" || fail "the sidecar of $1 does not say: $2"
}
# Its end was written in good order.
expect_closed() { [ "$(tail -c 4000 "$1" | grep -ac mfra)" -gt 0 ] || fail "$1 was not closed"; }
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

has_ended() { [ ! -e "/proc/$1" ] || grep -q '^State:.Z' "/proc/$1/status"; }
# The call goes on in another segment, which begins so many seconds after the fault.
expect_next_segment() {
    local fault=$1 limit=$2 first=$segment
    wait_for 30 'the next recording' has_begun 2
    gap=$(seconds_since "$fault")
    holds "$gap <= $limit" || fail "the call goes on after $gap s, not $limit s at most"
    go_on_with_next_segment
    expect_note "$segment" "continues $first.mp4 after capture failure"
    segment=$first
}
# The second recording of the scene becomes the segment.
go_on_with_next_segment() {
    wait_for 30 'the second recording' has_begun 2
    segment=$(last_segment)
    wait_for 60 'the second recording on the disk' has_fragments 1
}
