# What the administrator's policy forbids, key by key: what the windows show, and what happens when it is asked for all
# the same. The real place of the policy is root's.
[[ $(id -u) -eq 0 ]] || { echo "only root can put a policy into place"; exit 77; }
mkdir -p /tmp/upper /tmp/work
mount -t overlay overlay -o lowerdir=/etc,upperdir=/tmp/upper,workdir=/tmp/work /etc || exit 77
. "$(dirname "$0")/windows.sh"
forbidden='Your administrator does not allow this.'
mkdir -m 0755 /etc/orvanedga
policy() { # LINE...
    printf '%s\n' "$@" > policy.conf
    install -m 0644 policy.conf /etc/orvanedga/policy.conf
    orvanedga --check-policy > counts.txt || fail "the policy of this test is wrong"
}
summary() { unzip -p "$(only_archive)" orvdga_report.json > summary.json && grep -qF -- "$1" summary.json || fail "the summary does not say $1: $(cat summary.json)"; }
open_window() { # MEMBERS...
    rm -rf /tmp/orvdga/*.zip /tmp/orvtrace
    start_meeting "$@"
    ask_for_report
}
close_window() {
    key Escape
    gone text 'Enter problem description*'
}

# [Report] ScreenCapture, SystemProfile; [Upload] Hosts: the client names a host that is not among them.
upload_server
policy '[Report]' ScreenCapture=never SystemProfile=never '[Upload]' 'Hosts=*.example.org'
open_window
see 'check box' "*screen*$forbidden" -sensitive
see 'check box' "*system*$forbidden" -sensitive
see label "Send Report: $forbidden"
see 'push button' 'Send Report' -sensitive
for_everybody
close_window
# The goodbye's report asks for a profile.
post ORVANE_DGA_APP_EXIT > /dev/null
eventually only_archive > /dev/null || fail "no report of the goodbye"
summary '"[Report] SystemProfile"'
summary "the administrator's policy forbids it"
unzip -l "$(only_archive)" | grep -E 'spx|png' && fail "what is forbidden is in the archive"
kill "$client"
ends

# [Upload] Send: the window opens before it is forbidden, and acts as it is labelled up to the transfer.
policy '# nothing'
open_window
see 'push button' 'Send Report' -sensitive
policy '[Upload]' Send=never '[Report]' Save=never
fill_in 'No sound' 2 Audio
key ctrl+Return
see label "$forbidden"
see 'push button' 'Save Report*' -sensitive
! grep -q 'complete' server.txt || fail "sent all the same"
key Escape
leave

# [Report] Mail, Save: where the client does not let reports be sent.
policy '[Report]' Mail=never Save=never
open_window '"enableSendProblemReport": false'
see 'push button' 'Send Mail' -sensitive
see 'push button' 'Save*' -sensitive
see label "Send Mail: $forbidden"
close_window
leave

# [Upload] Send: nobody is reminded of a report that may not be sent.
. "$tests/kept.sh"
keep_report
notification_service discard
policy '[Upload]' Send=never
open_window
close_window
leave
[[ ! -e messages.txt ]] || fail "reminded: $(cat messages.txt)"
policy '[Report]' KeepDays=0
open_window
close_window
eventually test ! -e "$kept/1_2_20261101_101010.zip" || fail "kept for longer than is allowed"
leave
stop_notification_service

# [Upload] Telemetry, as the client asks for it.
policy '[Upload]' Telemetry=never
open_window "\"enableTelementry\": true, \"telemetryMetricsURL\": \"http://127.0.0.1:9/\", \"telemetryHttpHeaders\": {}"
close_window
await_log 'telemetryEnable == false'
leave
