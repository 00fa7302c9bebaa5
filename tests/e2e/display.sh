# What windows cost, and what their display may do: nothing of them is loaded before the first one is asked for, and
# when the display goes away the assistant ends in good order.
. "$(dirname "$0")/common.sh"
command -v Xvfb > /dev/null || exit 77
mkfifo number
Xvfb -displayfd 3 -nolisten tcp -noreset 3> number > server.log 2>&1 &
server=$!
trap 'kill $server 2> /dev/null || true' EXIT
read -r -t 30 number < number || fail "no display: $(cat server.log)"
export DISPLAY=:$number

heavy() { grep -oE '/[^ ]*lib(Qt6|curl|secret|xml2|xcb|X11|dgaui|dganet)[^ ]*' "/proc/$dga/maps" | sort -u; }
start_assistant
post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"processID\": $$}'>}" > /dev/null
eventually log_says 'DGAMonitorToolManager::saveMeetingData' || fail "the parameters do not arrive"
[[ -z $(heavy) ]] || fail "loaded before a window is asked for: $(heavy)"
post ORVANE_DGA_GENERATE_REPORT > /dev/null
eventually xdotool search --onlyvisible --name 'Problem Reporting' > /dev/null 2>&1 || fail "no window: $(cat stderr.txt)"
[[ $(heavy) == *libQt6* ]] || fail "the check for loaded libraries sees nothing"

kill "$server"
status=0
wait "$dga" || status=$?
((status == 1)) || fail "without its display it ended with $status"
[[ -z $(find "$XDG_RUNTIME_DIR" -name 'com.tellan.*') ]] || fail "the socket is left behind"
grep -qs '^39,1,1,targetpid,0,' /tmp/orvdga/orvanedga_meeting_*_"$dga"/*.csv || fail "the trace is lost"
