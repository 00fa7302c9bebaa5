# The window program goes, by its display or by itself: the case goes on without a window, and nothing is lost.
. "$(dirname "$0")/windows.sh"
start_display() {
    mkfifo number
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3> number > /dev/null 2>&1 &
    xserver=$!
    read -r -t 30 DISPLAY < number || exit 77
    export DISPLAY=:$DISPLAY
}
# Of the archives that it made it holds the locks.
open_files() { find "/proc/$dga/fd" -not -lname '/tmp/orvdga/*.zip' | wc -l; }
as_before() { (($(open_files) <= files)); }
# kept: the descriptions of the reports that were not sent.
kept() { cat "$HOME"/.local/state/orvanedga/reports/*.json 2> /dev/null | grep -c "\"description\": \"$1\""; }
is_kept() { [[ $(kept "$1") == 1 ]]; }

start_display
start_accessibility
upload_server --delay 1000
head -c 300000 /dev/urandom > client.log
start_meeting "\"logFileName\": \"$PWD/client.log\""
files=
# A sanitizer would tell of the SEGV.
signals=(KILL SEGV)
[[ -z ${ORVANEDGA_SANITIZE:-} ]] || signals=(KILL KILL)
for round in 0 1; do
    signal=${signals[round]}
    send_report "Round $round, $signal"
    says 'Connected to the server'
    kill "-$signal" "$(window_program)"
    eventually is_kept "Round $round, $signal" || fail "the report that was being sent is not kept: $(ls -lR ~/.local)"
    # A client that beats is still watched, and the next request shows a window.
    # The first report opens what every later one uses.
    files=${files:-$(open_files)}
    kill -0 "$dga" || fail "the assistant is gone"
done
send_report 'Before the end'
says 'Connected to the server'
kill -KILL "$xserver"
await_log 'its windows are gone'
eventually is_kept 'Before the end' || fail "the report that was being sent is not kept"
eventually as_before || fail "open files: $files before, now $(ls -l "/proc/$dga/fd")"
sleep 1
post ORVANE_DGA_GENERATE_REPORT > /dev/null
await_log 'the window program has ended too often'
kill -KILL "$client"
await_log 'no orvane client process (crash)'
ends
