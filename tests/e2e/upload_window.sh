# What happens around an upload that takes its time.
. "$(dirname "$0")/windows.sh"
upload_server --delay 6000
head -c 400000 /dev/urandom > client.log
threads() { ls "/proc/$(window_program)/task" | wc -l; }
# brightness FILE: of the middle of a picture, where the windows are, in percent.
brightness() { convert "$1" -gravity center -crop 300x200+0+0 -format '%[fx:int(100*mean)]' info:; }
answered() { grep -c '^POST' "$1" || true; }
fewer_threads() { (($(threads) < uploading)); }

start_meeting "\"logFileName\": \"$PWD/client.log\""
send_report 'Slow'
says 'Connecting to the server…'
for_everybody
xev > /dev/null &
eventually xdotool search --name 'Event Tester' > /dev/null || fail "no other window"
xdotool search --name 'Event Tester' windowactivate --sync
# Another request brings the upload window to the front; there is no second window.
post ORVANE_DGA_GENERATE_REPORT > /dev/null
in_front
see label 'Connecting to the server…'
gone text 'Describe the problem*'
says 'Connected to the server' 'Uploading report… (*%)'
uploading=$(threads)
click 'push button' Cancel
click 'push button' 'Stop Uploading'
gone dialog "$title"
eventually fewer_threads || fail "the thread of the upload is still there"
only_archive > /dev/null || fail "the archive is gone"
sent=$(answered server.txt)
mv server.txt slow.txt
slow=$server_pid

# The next one is a new report, and goes through.
upload_server
parameters '"userEmail": ""' 2
send_report 'Faster'
says 'Report uploaded' 'Your problem report has been sent.'
# The window that was up while the picture was taken is not in it.
import -window root now.png
# shellcheck disable=SC2012 # their names are plain
unzip -p "$(ls -t /tmp/orvdga/*.zip | head -n 1)" 'orvdga_screenshot_*' > picture.png
(($(brightness now.png) > 70 && $(brightness picture.png) < 30)) ||
    fail "now $(brightness now.png) %, in the picture $(brightness picture.png) %"
click 'push button' OK
gone dialog "$title"
leave

# A report and the end: the client lives on.
sleep 1000 &
client=$!
start_assistant
base_name=ORVANE_DGA_GENERATE_REPORT_AND_EXIT parameters
in_front
see text 'Describe the problem*' focused
await_log 'noVisibleWindow = 0,readyToQuit = 1'
key Escape
kill -0 "$client" || fail "the client was ended"
(sleep 0.1; eventually [ ! -e "/proc/$dga" ]) || fail "it does not end"
kill "$client"
ends
# Of the first report no more came than the piece that was on its way.
(($(answered slow.txt) <= sent + 1)) || fail "sent after all: $(cat slow.txt)"
kill "$slow"
