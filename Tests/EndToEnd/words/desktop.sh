# Words for scenes on a desktop, sourced by each inside scripts/lib/with-desktop: what a person does with pointer
# and keyboard, and what a person sees. Includes scene.sh.
. "$(dirname "${BASH_SOURCE[0]}")/scene.sh"
skip_without xdotool xprop import dunst xfce4-panel

# The whole program, as a person starts it. Its setup window, which every first launch shows, is closed
# with the keyboard where it is not asked for.
start_program() {
    launch env QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$program"
    wait_for 60 'the icon' icon_says 'Brindle Recorder: idle'
}
close_setup_window() {
    wait_for 30 'the setup window' setup_window_shows
    xdotool search --onlyvisible --name '^Brindle Recorder Setup$' windowfocus --sync
    xdotool key Return
    wait_for 30 'the end of the setup window' not setup_window_shows
}
setup_window_shows() { xdotool search --onlyvisible --name '^Brindle Recorder Setup$'; }

# The window with the menu, which another launch opens.
menu_window_shows() { xdotool search --onlyvisible --name '^Brindle Recorder$'; }
launch_again() {
    timeout $((30 * patience)) "$program" >"$BRINDLE_SESSION/logs/launched-again" 2>&1 || fail 'another launch failed'
    [ ! -s "$BRINDLE_SESSION/logs/launched-again" ] || fail 'another launch was not silent'
}

menu_is_open() { [ -n "$(open_menus)" ]; }
open_menus() { open_menus_of --classname wrapper-2.0; }
# open_menus_of OPTION NAME: of the windows that xdotool finds so.
open_menus_of() { xdotool search --onlyvisible "$@" 2>/dev/null | while read -r window; do
    xprop -id "$window" _NET_WM_WINDOW_TYPE 2>/dev/null | grep -q MENU && echo "$window"
done; }

# The menu where the program shows it itself. Qt's menus do not say that they are menus; but with the setup
# window closed all else of ours that shows is an icon of X11 and its tooltip.
open_own_menus() {
    local window properties
    xdotool search --onlyvisible --classname brindle-recorder-window 2>/dev/null | while read -r window; do
        properties=$(xprop -id "$window" _NET_WM_WINDOW_TYPE 2>/dev/null) || continue
        grep -qE 'OVERRIDE|TOOLTIP' <<<"$properties" || echo "$window"
    done
}

# The icon is the only thing in the panel; its middle is 14 points from the right and the upper edge.
point_at_icon() {
    local width
    width=$(xdotool getdisplaygeometry | cut -d' ' -f1)
    xdotool mousemove $((width - 14 * ${GDK_SCALE:-1})) $((14 * ${GDK_SCALE:-1}))
}
# The icon's place in the panel, in three bytes a point.
icon_looks() {
    local width side=$((28 * ${GDK_SCALE:-1}))
    width=$(xdotool getdisplaygeometry | cut -d' ' -f1)
    import -silent -window root -crop "${side}x$side+$((width - side))+0" -depth 8 rgb:-
}
icon_is_green() { [ "$(icon_looks | measured points green)" -ge 8 ]; }
# A number that follows the pulse.
strength_of_green() { icon_looks | measured greenness; }

open_menu() {
    point_at_icon
    xdotool click 1
    wait_for 20 'the menu' menu_is_open
}
# What the open menus look like.
menu_looks() { open_menus | xargs -I WINDOW import -silent -window WINDOW rgb:- 2>/dev/null | md5sum; }
menu_stands_still() { [ "$(menu_looks)" = "$(menu_looks)" ]; }
# A menu that has just appeared may not listen yet: a person sees that the first key did something. This key may be
# pressed again and again: it goes to the first line that can be picked.
first_line_is_marked() {
    xdotool key Home
    [ "$unmarked" != "$(menu_looks)" ]
}
has_menus() { [ "$(open_menus | wc -l)" -eq "$1" ]; }
# mark WORDS...: goes with the keyboard to a line of the menu that is open, through its submenus.
mark() {
    local steps step depth=1 unmarked
    steps=$("$tools/panel-menu" steps "$@") || fail "the menu has no line $*"
    for step in $steps; do
        wait_for 20 "menu $depth" has_menus "$depth"
        wait_for 20 'the menu to be drawn' menu_stands_still
        if [ "$depth" -eq 1 ]; then
            unmarked=$(menu_looks)
            wait_for 20 'a line to be marked' first_line_is_marked
        else
            xdotool key Home
        fi
        # shellcheck disable=SC2046 # as many words as keys
        [ "$step" -eq 0 ] || xdotool key --delay 40 $(yes Down | head -n "$step")
        [ "$depth" -eq $# ] || xdotool key Right
        depth=$((depth + 1))
    done
}
# pick WORDS...: opens the menu with the pointer and picks a line with the keyboard.
pick() {
    open_menu
    mark "$@"
    xdotool key Return
    wait_for 20 'the end of the menu' not menu_is_open
}

# A tray that knows only X11's way.
start_trayer() {
    trayer --edge top --align right --widthtype request --height 28 --SetDockType true --expand false \
        >>"$BRINDLE_SESSION/logs/trayer" 2>&1 </dev/null &
    tray_pid=$!
}
# Our window inside the tray's.
icon_in_trayer() {
    local tray
    tray=$(xdotool search --onlyvisible --class '^trayer$' 2>/dev/null | head -n 1)
    [ -n "$tray" ] && xwininfo -tree -id "$tray" | awk '/"brindle-recorder-window"/ { print $1 }' | grep .
}

# A panel of another kind, which takes icons from the bus and knows no other tray. start_lxqt_panel Top|Bottom
start_lxqt_panel() {
    mkdir -p "$XDG_CONFIG_HOME/lxqt"
    cat >"$XDG_CONFIG_HOME/lxqt/panel.conf" <<CONFIG
panels=panel1
[panel1]
alignment=1
iconSize=22
panelSize=32
plugins=spacer, statusnotifier
position=$1
width=100
width-percent=true
[spacer]
type=spacer
expandable=true
[statusnotifier]
type=statusnotifier
alignment=Right
CONFIG
    QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 lxqt-panel >"$BRINDLE_SESSION/logs/lxqt-panel" 2>&1 &
    lxqt_panel_pid=$!
}

# Notifications: the newest one on the screen.
notification() { xdotool search --onlyvisible --class Dunst; }
no_notification() { [ "$(dunstctl count displayed)" -eq 0 ]; }
click_notification() {
    local button=$1 X Y WIDTH HEIGHT WINDOW SCREEN
    eval "$(xdotool getwindowgeometry --shell "$(notification | tail -n 1)")"
    xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT / 2)) click "$button"
}

# Longer than the program gives a panel to come up, from when it was launched in the shell's seconds.
notice_time_is_over() { [ $((SECONDS - launched)) -gt 40 ]; }

# What a screen reader finds, and a click on it. click_on WORDS [BUTTON]
reader=$tools/screen-reader
click_on() {
    local place
    place=$("$reader" place "$1") || fail "the screen reader finds no \"$1\" to click on"
    # shellcheck disable=SC2086
    xdotool mousemove $place click "${2:-1}"
}

# go_to WORDS [KEY]: with the keyboard alone, in the window that has it.
go_to() {
    local steps before
    for steps in {1..40}; do
        before=$("$reader" focused)
        [ "$before" != "$1" ] || return 0
        xdotool key "${2:-Tab}"
        wait_for 20 "the focus to leave \"$before\"" focus_has_left "$before"
    done
    fail "the keyboard does not come to \"$1\" in $steps steps"
}
focus_has_left() { [ "$("$reader" focused)" != "$1" ]; }

# Two looks that are alike: whatever moved has come to rest.
screen_looks() { import -silent -window root rgb:- | md5sum; }
screen_stands_still() { [ "$(screen_looks)" = "$(screen_looks)" ]; }
