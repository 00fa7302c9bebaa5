# What windows need costs nothing before the first one is asked for: none of it is loaded.
. "$(dirname "$0")/common.sh"
heavy() { grep -oE '/[^ ]*lib(Qt6|curl|secret|xml2|xcb|X11|dgaui|dganet)[^ ]*' "/proc/$dga/maps" | sort -u; }
start_assistant
post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"processID\": $$}'>}" > /dev/null
eventually log_says 'DGAMonitorToolManager::saveMeetingData' || fail "the parameters do not arrive"
[[ -z $(heavy) ]] || fail "loaded before a window is asked for: $(heavy)"
post ORVANE_DGA_GENERATE_REPORT > /dev/null
eventually xdotool search --onlyvisible --name 'Problem Reporting' > /dev/null 2>&1 || fail "no window: $(cat stderr.txt)"
[[ $(heavy) == *libQt6* ]] || fail "the check for loaded libraries sees nothing"
