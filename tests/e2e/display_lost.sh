# The display goes away under a window: the case goes on without one.
. "$(dirname "$0")/windows.sh"
start_display() {
    mkfifo number
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3> number > /dev/null 2>&1 &
    xserver=$!
    read -r -t 30 DISPLAY < number || exit 77
    export DISPLAY=:$DISPLAY
}


start_display
start_accessibility
upload_server --delay 1000
head -c 300000 /dev/urandom > client.log
start_meeting "\"logFileName\": \"$PWD/client.log\""
send_report 'Before the end'
says 'Connected to server'
kill -KILL "$xserver"
await_log 'the display is gone'
eventually grep -q complete server.txt || fail "the upload does not go on: $(cat server.txt)"
post ORVANE_DGA_GENERATE_REPORT > /dev/null
await_log 'there is no problem reporting window to show'
kill -KILL "$client"
await_log 'no orvane client process (crash)'
ends
(($(find /tmp/orvdga -name '*.zip' | wc -l) == 2)) || fail "not two archives: $(ls /tmp/orvdga)"
