# Clients that fall silent are noticed at the tick that reaches 182 seconds, and not before. The user of one waits, that
# of the other quits it and sends a report. That of a third is not asked, where this test may put a policy into place.
. "$(dirname "$0")/windows.sh"
raise() { xdotool search --onlyvisible --all --pid "$(window_program)" --name "$title" windowactivate --sync; }
upload_server
start_meeting
patient=$dga patients_client=$client
start_meeting
hasty=$dga hastys_client=$client
unasked=
if [[ $(id -u) -eq 0 ]]; then
    orvanedga() {
        exec unshare --mount bash -c 'mkdir /tmp/upper /tmp/work &&
            mount -t overlay overlay -o lowerdir=/etc,upperdir=/tmp/upper,workdir=/tmp/work /etc &&
            mkdir -m 0755 /etc/orvanedga && printf "[Watch]\nFreezePrompt=never\n" > /etc/orvanedga/policy.conf &&
            exec orvanedga'
    }
    start_meeting
    unset -f orvanedga
    unasked=$dga unaskeds_client=$client
fi
# A window that is closed again: what windows need is gone long before the prompt.
dga=$hasty
ask_for_report
key Escape
gone dialog "$title"
for dga in $patient $hasty $unasked; do post ORVANE_DGA_KEEP_ALIVE > /dev/null; done
SECONDS=0
sleep 178
for dga in $patient $hasty; do
    ! has_logged 'DGAHeartBeatCheckTool::frozeAlert' || fail "asked after only $SECONDS s"
    [[ -z $(window_program) ]] || fail "the window program stays"
done
for dga in $patient $hasty; do await_log 'DGAHeartBeatCheckTool::frozeAlert'; done
((SECONDS >= 179 && SECONDS <= 186)) || fail "asked after $SECONDS s"
if [[ -n $unasked ]]; then
    dga=$unasked client=$unaskeds_client
    await_log "the user is not asked about the frozen client: the administrator's policy forbids it"
    [[ -z $(window_program) ]] || fail "a window all the same"
    leave
fi

dga=$patient
says 'Tellan Orvane Meetings is not responding.'
for_everybody
raise
see 'push button' Wait focused
key Return
gone dialog "$title"
has_logged 'which frozenWindow btn is clicked: 1' || fail "not the answer to wait"

dga=$hasty client=$hastys_client
click 'push button' 'Quit and Send Problem Report'
see 'combo box' 'Tellan Orvane Meetings is not responding'
[[ ! -e /proc/$hastys_client || $(cut -d ' ' -f 3 "/proc/$hastys_client/stat") == Z ]] || fail "the client still runs"
kill -0 "$patients_client" || fail "another process was ended"
in_front
see text 'Describe the problem*' focused
xdotool type Frozen
see 'push button' 'Send Report' sensitive
key ctrl+Return
says 'Report uploaded'
grep -q '"ct":"6"' arrived/*.jsonl || fail "sent as another category: $(cat arrived/*.jsonl)"
click 'push button' OK
ends

# The other one is watched on.
dga=$patient client=$patients_client
kill -KILL "$client"
await_log 'no orvane client process (crash)'
see text 'Describe the problem*'
raise
key Escape
ends
