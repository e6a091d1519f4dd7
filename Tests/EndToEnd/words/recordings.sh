# What is in the recordings folder, looked at with other programs; included by scene.sh.
recordings=$HOME/Movies/Brindle

# The capture file has grown beyond its header: at least one fragment is on the disk.
first_fragment_is_written() { [ "$(stat -c %s "$recordings"/*.mov 2>/dev/null || echo 0)" -gt 20000 ]; }
sidecars() { find "$recordings" -name '*.json'; }
movies() { find "$recordings" -name '*.mp4'; }
has_sidecars() { [ "$(sidecars | wc -l)" -eq "$1" ]; }
has_movies() { [ "$(movies | wc -l)" -eq "$1" ]; }
nothing_is_unconverted() { [ -z "$(find "$recordings" -name '*.mov')" ]; }
converted() { [ -n "$(movies)" ] && nothing_is_unconverted; }

sidecar_value() { jq -r "$2" "$1"; }
# Sets sidecar to that of the only recording.
only_sidecar() {
    has_sidecars 1 || fail 'there is not exactly one recording'
    sidecar=$(sidecars)
}
# is_finished NAME: the recording's sidecar has an end.
is_finished() { [ "$(sidecar_value "$recordings/$1.json" '.endedAt | type')" = string ]; }

# --- one movie: its tracks, playable to the end
check_movie() { check_tracks 'aac h264 ' "$1"; }
check_sound() { check_tracks 'aac ' "$1"; }
check_tracks() {
    local tracks=$1 movie=$2
    [ -f "$movie" ] || fail "there is no $movie"
    [ "$(ffprobe -v error -show_entries stream=codec_name -of csv=p=0 "$movie" | sort | tr '\n' ' ')" = "$tracks" ] ||
        fail "$movie does not hold $tracks"
    plays_through "$movie" || fail "$movie does not play through"
}
plays_through() { [ -z "$(ffmpeg -v error -i "$1" -f null - 2>&1)" ]; }
duration_of() { ffprobe -v error -show_entries format=duration -of csv=p=0 "$1"; }
