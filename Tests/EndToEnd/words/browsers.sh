# A screen that nobody sees and a real browser on it, for end-to-end tests; sourced after scene.sh.
browser_pid=

# skip_without TOOL...: a scene that cannot run here says so and counts as skipped.
skip_without() {
    local tool
    for tool in "$@"; do
        command -v "$tool" >/dev/null || { echo "skipped: it needs $tool"; exit 77; }
    done
}

start_screen() {
    local number
    mkfifo "$BRINDLE_SESSION/display"
    Xvfb -displayfd 3 -ac -noreset -nolisten tcp -screen 0 1024x768x24 3>"$BRINDLE_SESSION/display" \
        >"$BRINDLE_SESSION/logs/xvfb" 2>&1 &
    read -r -t 60 number <"$BRINDLE_SESSION/display" || fail 'the X server did not come up'
    export DISPLAY=:$number
    openbox --sm-disable >"$BRINDLE_SESSION/logs/openbox" 2>&1 &
}

# A page of that title that takes the microphone as soon as it is opened. Prints its path.
page_that_listens() {
    local page=$BRINDLE_SESSION/page.html
    cat >"$page" <<PAGE
<!doctype html>
<meta charset="utf-8">
<title>$1</title>
<script>navigator.mediaDevices.getUserMedia({ audio: true }).then(stream => { window.stream = stream; })</script>
PAGE
    echo "$page"
}

open_in_chromium() {
    chromium --no-sandbox --disable-gpu --no-first-run --disable-background-networking \
        --disable-component-update --disable-sync --use-fake-ui-for-media-stream \
        --user-data-dir="$BRINDLE_SESSION/chromium" "file://$1" >"$BRINDLE_SESSION/logs/chromium" 2>&1 &
    browser_pid=$!
}

open_in_firefox() {
    local profile=$BRINDLE_SESSION/firefox
    mkdir -p "$profile"
    cat >"$profile/user.js" <<'PREFERENCES'
user_pref("media.navigator.permission.disabled", true);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("datareporting.policy.firstRunURL", "");
user_pref("app.update.enabled", false);
user_pref("app.normandy.enabled", false);
user_pref("network.captive-portal-service.enabled", false);
user_pref("network.connectivity-service.enabled", false);
PREFERENCES
    firefox-esr --no-remote --profile "$profile" "file://$1" >"$BRINDLE_SESSION/logs/firefox" 2>&1 &
    browser_pid=$!
}
