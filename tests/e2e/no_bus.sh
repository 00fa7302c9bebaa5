# Without a session bus the assistant says so and goes on with the message port.
. "$(dirname "$0")/common.sh"
unset DBUS_SESSION_BUS_ADDRESS DISPLAY
start_assistant
log_says 'no session bus' || fail "the log does not say that there is no bus"
grep -q 'no session bus' stderr.txt || fail "standard error does not say that there is no bus: $(cat stderr.txt)"
port_message '{"event": {"eventType": 1}}'
eventually log_says 'parseJson: {"event": {"eventType": 1}}' || fail "the port does not work without a bus"
kill "$dga"
wait "$dga" || fail "SIGTERM is not taken in good order: $?"
[[ ! -e $XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga ]] || fail "the socket is left behind"
