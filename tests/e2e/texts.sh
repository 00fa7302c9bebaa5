# Descriptions of every kind arrive as they were written, also while the client talks as fast as it can.
. "$(dirname "$0")/windows.sh"
sent_text() { tail -n 1 "$(ls -t arrived/*.jsonl | head -n 1)" | sed 's/.*"pd":"\([^"]*\)".*/\1/; s/\\r\\n//g' | base64 -d; }
# send_written FILE: with this description.
send_written() {
    ask_for_report
    screen write text 'Describe the problem*' "$1" || fail "cannot be written"
    key ctrl+End Tab
    see 'combo box' '*' focused
    key Down
    see 'combo box' Joining
    key ctrl+Return
    says 'Report uploaded'
    sent_text | cmp - "$1" || fail "something else arrived for $1: $(sent_text | head -c 200)"
    click 'push button' OK
    gone dialog "$title"
}

upload_server
start_meeting
printf 'One\n\nתמונה תקועה\tשוב ושוב\n👩‍👩‍👧 🎤 \xc2\xa0e\xcc\x81 "\\" &amp; %%@ %%n $(id)\n' > odd
send_written odd
for i in $(seq 1250); do printf '%07d ' "$i"; done > long
[[ $(wc -c < long) == 10000 ]]
send_written long

# Ten thousand changes of the network, while somebody types.
ask_for_report
frames() {
    local i
    for i in $(seq 5000); do
        printf '\0\0\0\0\x1f\0\0\0{"network":{"networkStatus":2}}\0\0\0\0\x1f\0\0\0{"network":{"networkStatus":1}}'
    done
}
frames > frames
all_recorded() { (($(cat /tmp/orvdga/orvanedga_meeting_*/*.csv | grep -c '^31,1,6,') >= 10000)); }
socat -u - "UNIX-CONNECT:$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga" < frames &
feeder=$!
key a Return b
[[ $(screen read text 'Describe the problem*') == $'a\nb' ]] || fail "the keys do not arrive"
wait "$feeder"
eventually all_recorded || fail "records are lost: $(tail -n 2 /tmp/orvdga/orvanedga_meeting_*/*.csv)"
close_report
leave
