# At a session's start the user is reminded of a report that was not sent, once.
. "$(dirname "$0")/windows.sh"
. "$tests/kept.sh"
upload_server

# Discarded, by the service of either kind.
for kind in '' --portal; do
    keep_report
    notification_service $kind discard
    start_meeting '"activeLanguage": 9'
    await_log 'tellReportResult,1_2_20261101_101010 discarded'
    [[ -z $(ls "$kept") ]] || fail "it is still there: $(ls "$kept")"
    grep -q '2026-11-01 10:10' messages.txt || fail "the message is $(cat messages.txt)"
    grep -q '…' messages.txt || fail "no button to send: $(cat messages.txt)"
    [[ -n $kind ]] || grep -q '"suppress-sound": true' messages.txt || fail "with a sound: $(cat messages.txt)"
    leave
    stop_notification_service
done

# Sent: the window comes up with the report that it is about; others can be reached. In the next session nobody is asked
# again.
keep_report 02 true
keep_report
notification_service send
start_meeting
in_front
see dialog "$title"
says 'A report from 1 November 2026 10:10 has not been sent.'
click 'push button' '2/2 ›'
says 'A report from 2 November 2026 10:10 has not been sent.'
for_everybody
key Escape
gone dialog "$title"
leave
start_meeting
leave
[[ $(wc -l < messages.txt) -eq 1 ]] || fail "reminded again: $(cat messages.txt)"
stop_notification_service

# Without a service there is no message, and nothing else is different.
keep_report
start_meeting
await_log 'DGAKeptReportNotice::show'
leave
