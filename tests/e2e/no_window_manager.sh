# Windows can be used where nobody manages them.
if [[ -z ${DISPLAY:-} ]]; then
    exec "$(dirname "$0")/../../scripts/with-display" --no-window-manager bash "$0"
fi
. "$(dirname "$0")/windows.sh"

upload_server
start_meeting
send_report 'Bare'
says 'Report uploaded'
# The drawn frame shows on every side.
frame() {
    local WINDOW X Y WIDTH HEIGHT SCREEN point
    eval "$(xdotool search --onlyvisible --name "$title" getwindowgeometry --shell)"
    for point in "$X,$((Y + HEIGHT / 2))" "$((X + WIDTH - 1)),$((Y + HEIGHT / 2))" "$((X + WIDTH / 2)),$((Y + HEIGHT - 1))"; do
        import -window root png:- | convert - -format "%[hex:p{$point}] " info:
    done
}
framed() { [[ $(frame) == '8C8C8C 8C8C8C 8C8C8C ' ]]; }
covered() { ! framed; }
framed || fail "no frame: $(frame)"
click 'push button' OK
gone dialog "$title"
ask_for_report
xev -geometry 1280x1024+0+0 > /dev/null &
eventually covered || fail "another window does not cover it"
ask_for_report
eventually framed || fail "it stays behind another window"
kill $!
xdotool type again
see label "$title" # what stands for the frame
click 'push button' Close
see 'push button' 'Keep Writing' focused # something is typed
key Tab
key Return
gone dialog "$title"
leave
