# What windows need costs the assistant nothing, before and after the first one is asked for.
. "$(dirname "$0")/common.sh"
heavy() { grep -oE '/[^ ]*lib(Qt6|curl|secret|xml2|xcb|X11|dganet)[^ ]*' "/proc/$dga/maps" | sort -u; }
rss() { awk '/^VmRSS/ { print $2 }' "/proc/$1/status"; }
start_assistant
post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"processID\": $$}'>}" > /dev/null
eventually log_says 'DGAMonitorToolManager::saveMeetingData' || fail "the parameters do not arrive"
[[ -z $(heavy) ]] || fail "loaded before a window is asked for: $(heavy)"
before=$(rss "$dga")
post ORVANE_DGA_GENERATE_REPORT > /dev/null
eventually xdotool search --onlyvisible --name 'Problem Reporting' > /dev/null 2>&1 || fail "no window: $(cat stderr.txt)"
[[ -z $(heavy) ]] || fail "loaded for a window: $(heavy)"
core=$dga
dga=$(pgrep -P "$dga" -x orvanedga-windo)
[[ $(heavy) == *libQt6* ]] || fail "the check for loaded libraries sees nothing"
[[ $(heavy) != *libcurl* ]] || fail "the windows load what talks to servers before they need it"
after=$(rss "$core")
[[ -n ${ORVANEDGA_SANITIZE:-} ]] || ((after <= before + 1024)) || fail "the assistant grows from $before to $after kB with a window"
