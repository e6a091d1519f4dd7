# The program, a stand-in for a call program, and what the program says; included by scene.sh.
log="$HOME/Library/Logs/Brindle Recorder/recorder.log"
messages=$BRINDLE_SESSION/logs/brindle-recorder # what it tells the user without a desktop
statuses=$BRINDLE_SESSION/logs/status           # its status, a line each time
recorder_pid= call_pid=

# launch COMMAND...: the program, started in one way or another.
launch() {
    "$@" >>"$statuses" 2>>"$messages" &
    recorder_pid=$!
}
start_recorder() { launch "$program" --headless; }
quit_recorder() {
    kill -TERM "$recorder_pid"
    expect_good_end
}
expect_good_end() { wait "$recorder_pid" || fail 'the program did not leave in good order'; }
kill_recorder() {
    kill -KILL "$recorder_pid"
    wait "$recorder_pid" 2>/dev/null
}
# The program that captures for the recorder, while there is one.
capture_pid() { pgrep -P "$recorder_pid" -x brindle-capture; }
# What compresses pictures has been chosen, for which one ran at the start.
encoder_is_chosen() { log_has ' encoder: ' && ! capture_pid >/dev/null; }

# A stand-in for a call program takes the microphone under its own name.
start_call() { # [NODE]
    mkdir -p "$BRINDLE_SESSION/call"
    cp "$(command -v pw-cat)" "$BRINDLE_SESSION/call/zoom"
    "$BRINDLE_SESSION/call/zoom" --record --target "${1:-virt-mic}" "$BRINDLE_SESSION/call/heard.wav" \
        >"$BRINDLE_SESSION/logs/call" 2>&1 &
    call_pid=$!
}
end_call() {
    kill "$call_pid" && wait "$call_pid" 2>/dev/null
    call_pid=
}

# --- the log
log_has() { grep -qF "$1" "$log"; }
log_count() { grep -cF "$1" "$log"; }
# The time of the first line that holds a text, in seconds.
logged_at() { date -d "$(grep -F "$1" "$log" | head -n 1 | cut -d ' ' -f 1)" +%s.%N; }
# The name of the newest recording, without its ending.
last_segment() { grep -oP 'Z recording: \K\S+' "$log" | tail -n 1; }
# So many recordings have begun.
has_begun() { [ "$(log_count 'Z recording: ')" -ge "$1" ]; }

# --- the user
told_count() { grep -cF "$1" "$messages"; }
was_told() { grep -qF "$1" "$messages"; }
# Icon and menu, as every panel reads them.
icon_says() { [ "$("$tools/panel-menu" title)" = "$1" ]; }
menu_has() { "$tools/panel-menu" lines | sed 's/^ *//' | grep -qxF -- "$1"; }
