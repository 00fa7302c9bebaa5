# A client that falls silent is noticed at the tick that reaches 182 seconds, and not before.
. "$(dirname "$0")/common.sh"
start_assistant
post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"processID\": $$}'>}" > /dev/null
sleep 1
post ORVANE_DGA_KEEP_ALIVE > /dev/null
SECONDS=0
sleep 178
! log_says 'DGAHeartBeatCheckTool::frozeAlert' || fail "asked after only $SECONDS s"
eventually log_says 'DGAHeartBeatCheckTool::frozeAlert' || fail "not asked after $SECONDS s"
((SECONDS >= 179 && SECONDS <= 186)) || fail "asked after $SECONDS s"
kill "$dga"
wait "$dga" || fail "ended with $?"
