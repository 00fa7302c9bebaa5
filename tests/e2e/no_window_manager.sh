# Windows can be used where nobody manages them.
if [[ -z ${DISPLAY:-} ]]; then
    exec "$(dirname "$0")/../../scripts/with-display" --no-window-manager bash "$0"
fi
. "$(dirname "$0")/windows.sh"

upload_server
start_meeting
send_report 'Bare'
says 'Report uploaded'
click 'push button' OK
gone dialog "$title"
ask_for_report
xdotool type again
see label "$title" # what stands for the frame
click 'push button' Close
see 'push button' 'Keep Writing' focused # something is typed
key Tab
key Return
gone dialog "$title"
leave
