# Words for the scenes of the virtual machine, sourced by each inside it (scripts/machine): real kernel devices, and what
# a recording of them lacks. The first argument is the program. Includes scene.sh.
. "$(dirname "${BASH_SOURCE[0]}")/scene.sh"
[ -d /run-of-the-scene ] || skip 'this needs a kernel of its own: call it by scripts/machine'

as_root() { sudo --non-interactive "$@"; }

# --- cameras
# A usual camera: many formats, sizes and rates, of which 320x180 and 1 a second are the first. Only 640x360 and less has
# 30 a second.
plug_in_webcam() { plug_in_vivid input_types=0; }
# A camera of any size at 30 a second.
plug_in_hd_camera() {
    plug_in_vivid input_types=3
    v4l2-ctl --device "$(camera_file)" --set-dv-bt-timings \
        width=1920,height=1080,interlaced=0,polarities=3,pixelclock=74250000,hfp=88,hsync=44,hbp=148,vfp=4,vsync=5,vbp=36 ||
        fail 'the camera does not take the timings of 1080p'
}
plug_in_vivid() { # PARAMETER...
    as_root modprobe vivid n_devs=1 node_types=0x1 num_inputs=1 "$@" || fail 'no camera: the driver vivid was not loaded'
    wait_for 30 'the camera' camera_node
}
camera_node() { node_where '."media.class" == "Video/Source"'; }
camera_file() { pw-dump | jq -re 'first(.[] | .info.props? | select(."media.class" == "Video/Source") | ."api.v4l2.path")'; }
# The name of the first node of the sound server whose properties hold a condition of jq.
node_where() {
    pw-dump | jq -re "first(.[] | select(.type == \"PipeWire:Interface:Node\") | .info.props | select($1)) | .\"node.name\""
}
# What the camera delivers now, as the server agreed on it: format, size, pictures a second.
negotiated_with_camera() {
    pw-dump | jq -re 'first(.[] | select(.info.props."media.class"? == "Video/Source") | .info.params.Format[0]
        | select(. != null)) | "\(.format // .mediaSubtype) \(.size.width)x\(.size.height) at \(.framerate.num / .framerate.denom)"'
}

camera_runs() {
    pw-dump | jq -e 'any(.[]; .info.props."media.class"? == "Video/Source" and .info.state == "running")' >/dev/null
}
sees_what_was_negotiated() { negotiated=$(negotiated_with_camera) && [ -n "$negotiated" ]; }

# --- microphones
# A sound card whose microphone hears what is played into its other end: a steady tone.
plug_in_sound_card() {
    as_root modprobe snd-aloop || fail 'no microphone: the driver snd-aloop was not loaded'
    wait_for 30 'the microphone' sound_card_node
    microphone=$(sound_card_node)
    start_daemon microphone-tone ffmpeg -v error -f lavfi -i 'sine=frequency=440:sample_rate=48000' -af volume=8dB \
        -ac 2 -c:a pcm_s16le -f alsa hw:Loopback,1,0
    wait_for 30 'the default microphone' default_microphone_is "$microphone"
}
sound_card_node() { node_where '."media.class" == "Audio/Source" and (."node.name" | test("aloop"))'; }
default_microphone_is() {
    pw-metadata 0 default.configured.audio.source "{\"name\":\"$1\"}" Spa:String:JSON >/dev/null
    pw-metadata 0 default.audio.source | grep -qF "\"$1\""
}

# --- a recording
# record_a_call: from its start to the converted movie. Sets negotiated and movie, and says what the movie lacks.
record_a_call() {
    start_recorder
    start_call "$microphone"
    wait_for 90 'a recording' has_begun 1
    wait_for 60 'an agreement with the camera' sees_what_was_negotiated
    echo "negotiated with the camera: $negotiated"
    wait_for 60 'the first fragment' first_fragment_is_written
    end_call
    wait_for 90 'the end of the recording' log_has 'end recording: '
    wait_for 120 'the converted movie' converted
    quit_recorder
    movie=$(movies)
    check_movie "$movie"
    count_losses "$movie"
}

# What a recording lacks of the time from its start to its end by the log.
count_losses() { # MOVIE
    local wanted
    wanted=$(seconds_between "$(logged_at 'recorder start: ')" "$(logged_at 'end recording: ')")
    printf 'of %s s: media lost %s s, without sound %s s, without picture %s s; %s pictures\n' "$wanted" \
        "$(seconds_between "$(duration_of "$1")" "$wanted")" \
        "$(seconds_between "$(probe "$1" a:0 stream=duration)" "$wanted")" \
        "$(seconds_between "$(probe "$1" v:0 stream=duration)" "$wanted")" \
        "$(probe "$1" v:0 stream=nb_frames)"
}
probe() { ffprobe -v error -select_streams "$2" -show_entries "$3" -of csv=p=0 "$1"; }
expect_sound_in() { # MOVIE
    local level
    level=$(measured volume "$1")
    holds "${level:--91} >= -40" || fail "the microphone is not heard: $level dB"
}

# --- somebody else's use of the camera
# Has the camera's stream, as a call program has that opens it itself, until `let_go_of_camera`.
hold_camera() {
    v4l2-ctl --device "$(camera_file)" --stream-mmap --stream-count=0 >"$BRINDLE_SESSION/logs/holder" 2>&1 &
    holder=$!
    wait_for 60 'a picture for the other program' [ -s "$BRINDLE_SESSION/logs/holder" ]
}
let_go_of_camera() {
    kill "$holder" && wait "$holder" 2>/dev/null
}
expect_note_in() { # BASE NAME, TEXT
    jq -r '.notes[]?' "$recordings/$1.json" | grep -qF "$2" || fail "the sidecar of $1 does not say: $2"
}
