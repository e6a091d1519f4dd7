# A real browser on a screen that nobody sees, for scenes; sourced after callers.sh.
browser_pid=

start_browser_screen() {
    start_screen
    start_daemon openbox openbox --sm-disable
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

# page_that_plays MOVIE PLACE...: goes to each place of the movie beside it, and then plays it from the beginning to the
# end. Its title becomes "played: PICTURES END", or "failed: WHY". Prints its path.
page_that_plays() {
    local page=$BRINDLE_SESSION/page.html movie=$1
    shift
    cat >"$page" <<PAGE
<!doctype html>
<meta charset="utf-8">
<title>Player</title>
<video id="video" src="$movie" muted></video>
<script>
const places = [$(IFS=, && echo "$*")]
const fail = why => { document.title = "failed: " + why }
video.onerror = () => fail(video.error.message)
const happens = name => new Promise(done => video.addEventListener(name, done, { once: true }))
// The time of the picture that is shown, not the time that was asked for.
const shown = () => new Promise(done => video.requestVideoFrameCallback((now, frame) => done(frame.mediaTime)))
const watch = async () => {
    if (video.readyState < 2) await happens("loadeddata")
    for (const place of places) {
        const picture = shown()
        video.currentTime = place
        const time = await picture
        if (time > place + 0.001 || time < place - 0.04) return fail(\`the picture of \${time} s at \${place} s\`)
    }
    const first = shown()
    video.currentTime = 0
    await first
    video.playbackRate = 2
    const ended = happens("ended")
    await video.play()
    await ended
    document.title = \`played: \${video.getVideoPlaybackQuality().totalVideoFrames} \${video.currentTime}\`
}
watch().catch(fail)
</script>
PAGE
    echo "$page"
}

# No file and no word of the program holds these words of a title.
expect_nowhere() {
    ! grep -rqF "$1" "$recordings" "$log" "$who_lines" "$messages" "$statuses" || fail "a title was written down: $1"
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
