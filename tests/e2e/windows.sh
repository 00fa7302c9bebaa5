# For the journeys through windows, with real keys and clicks. They run with a display; what shows is read from the
# accessibility bus, which a test starts for itself.
tests=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
. "$tests/common.sh"
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 PATIENCE=20 DGA_PID=
[[ -z ${ORVANEDGA_SANITIZE:-} ]] || PATIENCE=60
title='Tellan Orvane Meetings Problem Reporting'
/usr/bin/python3 -c 'import gi; gi.require_version("Atspi", "2.0")' || exit 77

start_accessibility() {
    /usr/libexec/at-spi-bus-launcher --launch-immediately > accessibility.txt 2>&1 &
    eventually gdbus call --session --dest org.a11y.Bus --object-path /org/a11y/bus \
        --method org.a11y.Bus.GetAddress > bus.txt 2>&1 || fail "no accessibility bus: $(cat accessibility.txt bus.txt)"
}
[[ -z ${DISPLAY:-} ]] || start_accessibility

screen() {
    local status
    for _ in 1 2 3 4; do
        status=0
        DGA_PID=$dga /usr/bin/python3 "$tests/screen.py" "$@" || status=$?
        ((status > 128)) || break # the library aborts where the bus is slow to answer
    done
    return "$status"
}
# see ROLE NAME [STATE|-STATE]...: waits until it shows.
see() { screen see "$@" || fail "not on the screen: $*"; }
# for_everybody: nothing that shows lacks what an assistive program needs.
for_everybody() {
    screen controls > controls.txt || fail "the controls cannot be read"
    [[ ! -s controls.txt ]] || fail "not for everybody: $(cat controls.txt)"
}
gone() { screen gone "$@" || fail "still on the screen: $*"; }
# says TEXT...: waits for these labels. The names are patterns.
says() {
    local text
    for text in "$@"; do see label "$text"; done
}
# click ROLE NAME: with the pointer, once it can be clicked.
click() {
    local place
    place=$(screen place "$@") || fail "cannot be clicked: $*"
    # shellcheck disable=SC2086
    xdotool mousemove $place click 1
}
type_text() { xdotool type --delay 2 -- "$1"; }
key() { xdotool key --clearmodifiers "$@"; }
# window_program: its process id.
window_program() { pgrep -P "$dga" -x orvanedga-windo; }
# another_program: shows the prompt, as if it belonged to somebody else; sets other.
another_program() {
    /usr/bin/python3 - << 'END' &
import json, os, socket, struct, subprocess
ours, theirs = socket.socketpair()
program = subprocess.Popen([os.environ["ORVANEDGA_BIN"] + "/../lib/orvanedga/orvanedga-windows"], stdout=theirs)
theirs.close()
show = json.dumps({"number": 1, "window": 1, "level": 0}).encode()
ours.sendall(struct.pack("<iI", 2, len(show)) + show)
program.wait()
END
    other=$!
    eventually other_window_program > /dev/null || fail "the other program does not start"
}
other_window_program() { pgrep -P "$other"; }
# has_keyboard [PROCESS-ID]: by default our windows' program.
has_keyboard() { [[ $(xdotool getwindowfocus getwindowpid 2> /dev/null) == "${1:-$(window_program)}" ]]; }
in_front() { eventually has_keyboard || fail "the keyboard is elsewhere: $(xdotool getwindowfocus getwindowname 2>&1)"; }

# await_log TEXT [COUNT]: of this assistant, at least so often.
log_count() { cat /tmp/orvtrace/dga/*.ovt | grep -F "[$dga:" | grep -cF -- "$1" || true; }
has_logged() { (($(log_count "$1") >= ${2:-1})); }
await_log() { eventually has_logged "$@" || fail "not in the log${2:+ $2 times}: $1"; }
trace_says() { cat /tmp/orvdga/orvanedga_meeting_*_"$dga"/*.csv 2> /dev/null | grep -qF -- "$1"; }
await_trace() { eventually trace_says "$1" || fail "not in the trace: $1"; }

# upload_server OPTION...: sets server, its address, and server_pid.
upload_server() {
    mkdir -p arrived
    rm -f server.txt
    orvane-upload-server --store "$PWD/arrived" "$@" > server.txt 2>&1 &
    server_pid=$!
    eventually grep -qs listening server.txt || fail "the upload server does not start: $(cat server.txt)"
    server="$(sed -n '1s/listening on //p' server.txt)upload.do?siteid=1"
}
stop_server() {
    kill "$server_pid"
    wait "$server_pid" || true
}

# A meeting's parameters; more of them, as JSON members, replace these.
parameters() {
    post "${base_name:-ORVANE_DGA_PASSING_JSON_DATA}" "{'DgaJsonData': <'{\"serviceType\": 1, \"processID\": $client,
        \"activeLanguage\": 1, \"clientVersion\": \"43.6.0.118\", \"enableSendProblemReport\": true,
        \"confId\": \"8834201177\", \"confName\": \"Weekly plänning.8834201177\", \"UserID\": 536871042,
        \"siteID\": 70155, \"siteURL\": \"https://meetings.example.com/team\", \"uploadURL\": \"${server:-}\",
        \"smac\": \"b1946ac92492d234\", \"smacTimestap\": 1763690400, \"meetingKey\": 920114835,
        \"telemetrySessionID\": \"5B0C2F0E-6A0D-4D5E-9B55-2F6A1C3D7E90\", \"userName\": \"Åsa Öberg\",
        \"userEmail\": \"asa@example.com\"${1:+, $1}}'>}" > /dev/null
    await_log 'DGAMonitorToolManager::saveMeetingData' "${2:-1}"
}

# A client that is only watched, and its assistant.
start_meeting() {
    sleep 1000 &
    client=$!
    start_assistant
    parameters "$@"
}
ask_for_report() {
    post ORVANE_DGA_GENERATE_REPORT > /dev/null
    in_front
    see text 'Describe the problem*' focused
}
# fill_in TEXT STEPS CATEGORY: by keys only, from the description to the category that is so many steps down.
fill_in() {
    type_text "$1"
    key Tab
    see 'combo box' '*' focused
    for _ in $(seq "$2"); do key Down; done
    see 'combo box' "$3"
}
# send_report TEXT: opens the upload window.
send_report() {
    ask_for_report
    fill_in "$1" 2 Audio
    key ctrl+Return
    await_log 'UploadWindowController::showUploadWindowIfScreenShot'
}
# close_report: the window with something typed, which asks.
close_report() {
    key Escape
    see 'push button' 'Keep Writing' focused
    key Left Return
    gone dialog "$title"
}
only_archive() {
    local found=(/tmp/orvdga/*.zip)
    ((${#found[@]} == 1)) && [[ -f ${found[0]} ]] && echo "${found[0]}"
}

# The client says goodbye; the assistant ends and leaves nothing but archives and its log.
leave() {
    post ORVANE_DGA_APP_EXIT > /dev/null
    kill "$client"
    ends
}
ends() {
    local status=0
    timeout "$((PATIENCE + 20))" tail -f --pid="$dga" /dev/null || fail "it does not end"
    wait "$dga" || status=$?
    [[ $status == 0 && ! -s stderr.txt ]] || fail "ended with $status: $(cat stderr.txt)"
    [[ -z $(find /tmp/orvdga -name "orvanedga_meeting_*_$dga") ]] || fail "the trace folder is left behind"
    [[ -z $(find "$XDG_RUNTIME_DIR" -name "com.tellan.*.$dga") ]] || fail "the socket is left behind"
    wait "$client" 2> /dev/null || true
}
