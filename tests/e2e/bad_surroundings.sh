# Planted links, a taken port and rubbish on every channel: the assistant stays, and nobody loses a file.
. "$(dirname "$0")/common.sh"
parameters() { post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'$1'>}"; }
mkdir -p "$HOME/precious"
echo mine > "$HOME/precious/file"

ln -s "$HOME/precious" /tmp/orvdga
start_assistant
parameters '{"confId": "1"}'
own=$HOME/.cache/orvanedga/orvdga
eventually log_says "in place of /tmp/orvdga the folder $own is used" || fail "a planted link is not refused"
[[ $(ls -A "$HOME/precious") == file ]] || fail "something was written through the link"
rm /tmp/orvdga

for bad in '' '{' '[]' '{"serviceType": {"a": [1,2]}, "UserID": "x", "confName": 7, "processID": []}' \
    "$(printf '[%.0s' {1..10000})"; do
    parameters "$bad"
    port_message "$bad"
done
printf 'garbage without an end' | socat -u - "UNIX-CONNECT:$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga"
printf '\0\0\0\0\377\377\377\377' | socat -u - "UNIX-CONNECT:$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga"
eventually log_says 'is too long' || fail "an oversized message is not refused"

parameters "{\"confId\": \"2\", \"processID\": \"$$\"}"
eventually grep -qs '^39,1,1,confid,0,2,' "$own"/orvanedga_meeting_*_"$dga"/*.csv ||
    fail "no trace in the user's own folder"
[[ $(stat -c %a "$own" "$own"/*_"$dga" "$own"/*_"$dga"/*.csv | tr '\n' ' ') == '700 700 600 ' ]] ||
    fail "modes: $(stat -c '%a %n' "$own" "$own"/*/*)"
[[ $(stat -c %a "$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga") == 600 ]] || fail "mode of the socket"
kill -0 "$dga" || fail "the assistant is gone"

[[ $(cat "$HOME/precious/file") == mine ]] || fail "the precious file is lost"
# No file may become larger: what cannot be written is lost, and the assistant ends as always.
prlimit --pid "$dga" --fsize=1
parameters '{"confId": "3"}'
kill "$dga"
wait "$dga" || fail "ended with $?"
ls "$own"/orvanedga_meeting_*_"$dga"/*.csv > /dev/null || fail "SIGTERM must leave the trace"
