# The client dies: a report is made, and the window for what the user has to say comes up in front.
. "$(dirname "$0")/windows.sh"
start_meeting
xev > /dev/null &
eventually xdotool search --name 'Event Tester' > /dev/null || fail "no other window"
kill -KILL "$client"
in_front
see text 'Describe the problem*' focused
for_everybody
eventually only_archive > /dev/null || fail "not one archive: $(ls /tmp/orvdga)"
xdotool type 'It was gone'
see 'combo box' '-- Choose a problem type --'
# Asked for again, it comes back to the front from behind what the user has turned to.
another_program
eventually has_keyboard "$(other_window_program)" || fail "the other program has no keyboard"
key Tab
sleep 0.3 # until the window manager counts that as use
post ORVANE_DGA_GENERATE_REPORT > /dev/null
in_front
kill "$(other_window_program)"
# Ready to quit, but not as long as the window is up.
await_log 'noVisibleWindow = 0,readyToQuit = 1' 2
close_report
ends
only_archive > /dev/null || fail "the archive is gone"

# A display that does not answer is like none.
rm -r /tmp/orvdga
DISPLAY=:77 start_meeting
kill -KILL "$client"
await_log 'no window can be shown'
ends
only_archive > /dev/null || fail "no archive without a display"
