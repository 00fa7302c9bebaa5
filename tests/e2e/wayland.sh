# Windows on Wayland alone, without X: seen in the compositor's own picture, used by its keyboard.
if [[ -z ${WAYLAND_DISPLAY:-} ]]; then
    exec "$(dirname "$0")/../../scripts/with-wayland" bash "$0"
fi
. "$(dirname "$0")/windows.sh"
start_accessibility
key() {
    local one held
    for one in "$@"; do
        held=()
        [[ $one != *+* ]] || held=(-M "${one%+*}")
        wtype -s 100 "${held[@]}" -k "${one#*+}"
    done
}
type_text() { wtype -s 500 -d 2 -- "$1"; }
# windows: "focused X Y WIDTH HEIGHT name" of each of ours, by the application id of its desktop file; focused is 1 or 0.
windows() {
    swaymsg -t get_tree | /usr/bin/python3 -c '
import json, sys
def below(part):
    if part.get("app_id") == "orvanedga":
        r, w = part["rect"], part["window_rect"]
        print(int(part["focused"]), r["x"] + w["x"], r["y"] + w["y"], w["width"], w["height"], part["name"])
    for child in part["nodes"] + part["floating_nodes"]:
        below(child)
below(json.load(sys.stdin))'
}
focused() { windows | grep -q "^1 "; }
in_front() { eventually focused || fail "another window has the keyboard: $(windows)"; }
# on_screen COUNT: so many windows, each mostly white in the picture.
on_screen() {
    local area white
    [[ $(windows | wc -l) == "$1" ]] || return 1
    while read -r _ x y width height _; do
        area="${width}x$height+$x+$y"
        white=$(grim - | convert - -crop "$area" +repage -fill black +opaque white -format '%[fx:mean]' info:)
        [[ $white == 0.[6-9]* ]] || return 1
    done < <(windows)
}
seen() { eventually on_screen "$1" || fail "not to be seen: $(windows)"; }

upload_server
start_meeting
post ORVANE_DGA_GENERATE_REPORT > /dev/null
in_front
see text 'Describe the problem*' focused
seen 1
type_text 'Typed on Wayland'
key Tab Down Down
see 'combo box' Audio
for_everybody
# The list of what is sent comes, and all windows go and come for the picture.
key Tab Tab Tab Tab Return
see dialog 'See What Is Sent' active
see 'push button' Retake sensitive
key Escape
gone dialog 'See What Is Sent'

# Another program's window lies over it; the next request brings it back to the front.
another_program
seen 2
eventually test "$(windows | grep -c '^1 .* [0-9]* [12][0-9][0-9] ')" = 1 || fail "the prompt does not come up: $(windows)"
title_has_room() { windows | grep -q '^1 [0-9]* [0-9]* 4[3-9][0-9] '; }
eventually title_has_room || fail "the frame's buttons cut the title: $(windows)"
post ORVANE_DGA_GENERATE_REPORT > /dev/null
report_is_focused() { windows | grep -q "^1 .* [3-9][0-9][0-9] [A-Z]"; }
eventually report_is_focused || fail "the report window stays behind: $(windows)"
# A token that the compositor does not honour loses nothing.
swaymsg "[pid=$(other_window_program)] focus" > /dev/null
post ORVANE_DGA_GENERATE_REPORT "{'activationToken': <'stale'>}" > /dev/null
eventually report_is_focused || fail "the report window stays behind with a token: $(windows)"
# With a question over it, it comes back below the question.
key Escape
see 'push button' 'Keep Writing'
asks() { windows | grep -q "^1 .* 1[0-9][0-9] [A-Z]"; }
eventually asks || fail "no question: $(windows)"
swaymsg "[pid=$(other_window_program)] focus" > /dev/null
post ORVANE_DGA_GENERATE_REPORT > /dev/null
ours_asks() { asks && ! swaymsg -t get_tree | grep -A60 '"focused": true' | grep -q "\"pid\": $(other_window_program)"; }
eventually ours_asks || fail "the question stays behind: $(windows)"
key Return
gone 'push button' 'Keep Writing'
eventually report_is_focused || fail "the keyboard stays elsewhere: $(windows)"
kill "$(other_window_program)"
seen 1

key ctrl+Return
says 'Report uploaded'
seen 1
key Return
gone dialog "$title"
[[ -s $(echo arrived/*.zip) ]] || fail "nothing arrived"
leave

# The client's token reaches the compositor.
WAYLAND_DEBUG=1 start_meeting
post ORVANE_DGA_GENERATE_REPORT "{'activationToken': <'from-the-client'>}" > /dev/null
in_front
activated() { grep -q "xdg_activation_v1@.*\.activate(\"$1\"" stderr.txt; }
eventually activated from-the-client || fail "the token does not get there"
port_message '{"activationToken": "over-the-port"}' '\003\104\126\117'
eventually activated over-the-port || fail "the token of the port does not get there"
post ORVANE_DGA_APP_EXIT > /dev/null
key Escape
kill "$client"
wait "$dga" || fail "ended with $?"
