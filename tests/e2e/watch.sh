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
[[ -n $(find /tmp/orvdga -name '*.zip') ]] || fail "no report after a normal quit"
[[ -z $(find /tmp/orvdga -name 'orvanedga_meeting_*') ]] || fail "the trace folder is left behind"
[[ -z $(find "$XDG_RUNTIME_DIR" -name 'com.tellan.*') ]] || fail "the socket is left behind"
rm -r /tmp/orvtrace /tmp/orvdga

# In the crash scenario the client kills itself; the assistant notices within a tick, makes one report, asks once for
# the window and, as there is none to show, ends. The report stays.
play crash --speed 4 --keep
eventually log_says 'no orvane client process (crash)' || fail "the crash is not noticed"
eventually log_says 'Finally DGAUtilities::dga_quit' || fail "it does not end after the crash report"
[[ $(log_count 'DGAReportGenerator::startGenerateReportIfScreenShot') == 1 ]] || fail "not exactly one report"
[[ $(log_count 'DGAHeartBeatCheckTool::judgeIfShowReportWindow') == 1 ]] || fail "not exactly one window"
archive=$(echo /tmp/orvdga/6091127354_536871042_*.zip)
unzip -p "$archive" 'orvdga_trace_meeting_*.csv' > trace.csv || fail "no archive with a trace: $(ls /tmp/orvdga)"
grep -q '^39,1,1,confid,0,6091127354,' trace.csv || fail "the parameters are missing in the archive's trace"
grep -q '^30,3,1,cpu total used,' trace.csv || fail "the load at the crash is missing in the archive's trace"
for file in orvdga_topic.txt orvdga_system_profile.spx 'orvtra_dga_*.ovt'; do
    unzip -l "$archive" "$file" > /dev/null || fail "$file is missing in the archive"
done
rm -r /tmp/orvtrace /tmp/orvdga

SECONDS=0
orvanedga &
dga=$!
wait "$dga" || fail "without a client it ended with $?"
((SECONDS >= 30 && SECONDS <= 36)) || fail "without a client it ended after $SECONDS s"
log_says '_timeInterval timeout (kDGANoClientPIDTimeout).' || fail "the log does not say why it ended"
