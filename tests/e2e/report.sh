# A problem report from the client's request to the server, by the keyboard, while another program has the screen.
. "$(dirname "$0")/windows.sh"
base64_lines() { printf %s "$1" | base64 -w 64 | sed 's/$/\\r\\n/' | tr -d '\n' | sed 's/\\r\\n$//'; }

upload_server
start_meeting
xev > /dev/null &
eventually xdotool search --name 'Event Tester' > /dev/null || fail "no other window"
SECONDS=0
ask_for_report
for_everybody
see 'push button' 'Send Report' -sensitive
fill_in 'No sound, 100% of the time' 1 Joining
key Down
see 'combo box' Audio
see 'push button' 'Send Report' sensitive

# What is listed before is what arrives; what comes up meanwhile is not.
click 'push button' 'See What Is Sent'
see tree 'These files will be sent to 127.0.0.1:'
see 'push button' Retake sensitive
see tree 'These files will be sent to 127.0.0.1:' focused
picture() { find /tmp/orvdga -name 'orvdga_screenshot_*.png' -size +0 -printf '%f %i %T@\n'; }
first=$(picture)
another() { [[ $(picture | wc -l) == 1 && $(picture) != "$first" ]]; }
click 'push button' Retake
eventually another || fail "no other picture in place of $first: $(picture)"
see 'push button' Retake sensitive
in_front
echo late > /tmp/orvgpc.ovt
key Escape
gone tree 'These files*'
in_front
screen hear 'Connecting to the server*' 'Your problem report has been sent.' > heard.txt 2>&1 &
heard=$!
eventually grep -q listening heard.txt || fail "nobody listens: $(cat heard.txt)"
key ctrl+Return
says 'Report prepared' 'Connected to the server' 'Report uploaded' 'Your problem report has been sent.' \
    'A confirmation email will be sent to asa@example.com.'
for_everybody
in_front
see 'push button' OK focused
wait "$heard" || fail "a screen reader: $(cat heard.txt)"
await_trace 'client upload success'

archive=$(only_archive) || fail "not one archive: $(ls /tmp/orvdga)"
name=$(basename "$archive" .zip)
cmp "$archive" "arrived/$name.zip" || fail "another archive arrived"
unzip -tq "arrived/$name.zip" > /dev/null || fail "the archive is damaged"
unzip -p "arrived/$name.zip" 'orvdga_trace_meeting_*.csv' | grep -q '^39,1,1,confid,0,8834201177,' ||
    fail "no trace in the archive: $(unzip -l "$archive")"
for file in orvdga_topic.txt orvdga_system_profile.spx '*.png' 'orvtra_dga_*.ovt'; do
    unzip -l "$archive" "$file" > /dev/null || fail "$file is missing in the archive"
done
! unzip -l "$archive" orvgpc.ovt > /dev/null || fail "a file came in that was not listed"
rm /tmp/orvgpc.ovt
size=$(stat -c %s "$archive")
pieces=$(((size + 122879) / 122880))
fields=$(tail -n 1 "arrived/$name.pieces.jsonl")
began=$(sed 's/.*"ut":"\([^"]*\)".*/\1/' <<< "$fields")
expected="{\"SMAC\":\"b1946ac92492d234\",\"cb\":\"43.6.0.118\",\"ci\":\"8834201177\",\"cn\":\"$(base64_lines 'Weekly plänning')\""
expected+=",\"ct\":\"2\",\"fn\":\"$name\",\"fs\":\"$size\",\"li\":\"1\",\"mk\":\"920114835\",\"pc\":\"$pieces\""
expected+=",\"pd\":\"$(base64_lines 'No sound, 100% of the time')\",\"pl\":\"$((size - (pieces - 1) * 122880))\",\"pn\":\"$pieces\""
expected+=",\"pt\":\"2\",\"si\":\"70155\",\"sn\":\"$(base64_lines 'Åsa Öberg')\",\"su\":\"${server/upload.do/spr.do}\""
expected+=",\"ti\":\"5B0C2F0E-6A0D-4D5E-9B55-2F6A1C3D7E90\",\"ts\":\"1763690400\",\"ue\":\"asa@example.com\""
expected+=",\"ui\":\"536871042\",\"ut\":\"$began\"}"
[[ $fields == "$expected" ]] || fail "the fields are $fields, not $expected"
[[ $began == "$(date +%m_%d_%Y)"_??:??:?? ]] || fail "it began at $began"

key Return # OK
gone dialog "$title"
leave
echo "from the request to the end of the upload: $SECONDS s"
