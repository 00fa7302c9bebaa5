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
see 'push button' Send -sensitive
see 'push button' Discard sensitive
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

# [Report] CrashReports: what an earlier crash has left stays where it is.
mkdir -p "$HOME/Library/Logs/DiagnosticReports"
echo 'Stack trace' > "$HOME/Library/Logs/DiagnosticReports/Convexa_2026-11-01-101010_host.crash"
policy '# nothing'
crash() {
    rm -rf /tmp/orvdga/*.zip
    start_meeting
    kill -KILL "$client"
    in_front
    see text 'Describe the problem*' focused
    eventually only_archive > /dev/null || fail "no report of the crash"
    close_window
    ends
    unzip -l "$(only_archive)" > held.txt
}
crash
grep -q '\.crash' held.txt || fail "no crash report without a policy: $(cat held.txt)"
policy '[Report]' CrashReports=never
crash
! grep -q '\.crash' held.txt || fail "a crash report all the same: $(cat held.txt)"
summary '"[Report] CrashReports"'
summary "the administrator's policy forbids it"

# [Upload] VerifyCertificates: the server's, and that of a proxy of telemetry. Without it Try Again gets through.
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout key.pem -out certificate.pem -days 1 \
    -subj /CN=nobody.example 2> /dev/null
cat key.pem certificate.pem > both.pem
proxy=$(free_port)
socat OPENSSL-LISTEN:"$proxy",bind=127.0.0.1,fork,verify=0,cert=both.pem SYSTEM:'head -n 1 >> actions.txt' &
upload_server --tls certificate.pem key.pem
policy '[Upload]' VerifyCertificates=true
telemetry='"enableTelementry": true, "telemetryMetricsURL": "http://metrics.example/", "telemetryHttpHeaders": {}'
http_proxy=https://127.0.0.1:$proxy start_meeting "$telemetry"
send_report 'By nobody'
says "The server's certificate can't be verified."
await_log "curl's error 60"
[[ ! -e actions.txt ]] && ! grep -q complete server.txt || fail "sent all the same: $(cat actions.txt server.txt)"
policy '# nothing'
click 'push button' 'Try Again'
says 'Report uploaded'
click 'push button' OK
ask_for_report
click 'push button' Cancel
eventually test -s actions.txt || fail "no telemetry without the policy"
leave
