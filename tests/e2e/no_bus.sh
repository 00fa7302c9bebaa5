# Without a session bus the assistant says so and goes on with the message port.
. "$(dirname "$0")/common.sh"
unset DBUS_SESSION_BUS_ADDRESS DISPLAY
has_come_back() { (($(cat /tmp/orvtrace/dga/*.ovt | grep -cF 'the session bus is back') >= $1)); }
start_assistant
log_says 'no session bus' || fail "the log does not say that there is no bus"
grep -q 'no session bus' stderr.txt || fail "standard error does not say that there is no bus: $(cat stderr.txt)"
port_message '{"event": {"eventType": 1}}'
eventually log_says 'parseJson: {"event": {"eventType": 1}}' || fail "the port does not work without a bus"

# A bus that comes, goes and comes back: what is said on it is heard each time, and a client that cannot be heard is
# not asked about.
start_bus() { bus=$(dbus-daemon --session --address="unix:path=$XDG_RUNTIME_DIR/bus" --nosyslog --fork --print-pid=1); }
bus_is_gone() { ! kill -0 "$bus" 2> /dev/null; }
export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
for times in 1 2; do
    start_bus
    eventually has_come_back "$times" || fail "the bus is not found, time $times"
    post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"processID\": $$, \"clientVersion\": \"$times\"}'>}" > /dev/null
    eventually log_says "\"clientVersion\": \"$times\"" || fail "not heard, time $times"
    kill "$bus"
    eventually bus_is_gone || fail "the bus does not end"
    eventually log_says 'the session bus has gone away' || fail "the end of the bus is not noticed"
done
start_bus
eventually has_come_back 3 || fail "the bus is not found again"
post ORVANE_DGA_APP_EXIT > /dev/null
eventually log_says 'dealNormalQuitFromClient' || fail "a goodbye after a reconnect is none"
kill "$dga"
wait "$dga" || fail "SIGTERM is not taken in good order: $?"
[[ ! -e $XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga ]] || fail "the socket is left behind"
