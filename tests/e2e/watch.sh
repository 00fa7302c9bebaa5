# The watch in real time: what becomes of the assistant when its client leaves, dies, or never shows up.
. "$(dirname "$0")/common.sh"

# play SCENARIO ARGUMENT...: with the simulator; its output goes to output.txt.
play() {
    orvane-client-sim --show --quiet "$@" > output.txt 2>&1 || fail "$* ended with $?: $(cat output.txt)"
}
log_count() { cat /tmp/orvtrace/dga/*.ovt | grep -cF -- "$1" || true; }

play quit
grep -q 'ended with status 0' output.txt || fail "no good end after a normal quit: $(cat output.txt)"
[[ $(log_count '(crash)') == 0 ]] || fail "a normal quit is taken for a crash"
[[ -z $(find /tmp/orvdga -name 'orvanedga_meeting_*') ]] || fail "the trace folder is left behind"
[[ -z $(find "$XDG_RUNTIME_DIR" -name 'com.tellan.*') ]] || fail "the socket is left behind"
rm -r /tmp/orvtrace

# In the crash scenario the client kills itself; the assistant notices within a tick, and asks once for a report.
play crash --speed 4 --keep
eventually log_says 'no orvane client process (crash)' || fail "the crash is not noticed"
sleep 5
[[ $(log_count 'DGAReportGenerator::startGenerateReportIfScreenShot') == 1 ]] || fail "not exactly one report"
[[ $(log_count 'DGAHeartBeatCheckTool::judgeIfShowReportWindow') == 1 ]] || fail "not exactly one window"
pkill -x orvanedga || true
rm -r /tmp/orvtrace

SECONDS=0
orvanedga &
dga=$!
wait "$dga" || fail "without a client it ended with $?"
((SECONDS >= 30 && SECONDS <= 36)) || fail "without a client it ended after $SECONDS s"
log_says '_timeInterval timeout (kDGANoClientPIDTimeout).' || fail "the log does not say why it ended"
