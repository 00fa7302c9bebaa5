# What the user sees when an upload fails, and that the report can be saved then.
. "$(dirname "$0")/windows.sh"
again="We couldn't send your problem report. You can save it and try again later."
large="We can't upload your problem report because it is larger than 25*"
head -c 400000 /dev/urandom > client.log
head -c 25000000 /dev/urandom > large.log
server='http://127.0.0.1:9/upload.do?siteid=1'
start_meeting
number=0

# failure MEMBERS TEXT BANNER: a report that ends with this text and banner, and is saved.
failure() {
    number=$((number + 1))
    parameters "$1" $((number + 1))
    send_report "Failure $number"
    says "$2"
    see alert "$3"
    see label 'Report number: *'
    for_everybody
    [[ $(cat /tmp/orvdga/orvanedga_meeting_*/*.csv | grep -c '^39,1,1,client upload failed,') == "$number" ]] ||
        fail "no record of failure $number"
    in_front
    click 'push button' 'Save Report'
    see text 'File name:' focused
    key ctrl+a
    xdotool type --delay 2 -- "$PWD/saved$number"
    key Return
    see alert "The report was saved as $PWD/saved$number.zip."
    see 'push button' 'Show in Folder'
    click 'push button' OK
    gone dialog "$title"
    unzip -tq "saved$number.zip" > /dev/null || fail "failure $number: not saved"
}
server_failure() { # TEXT OPTION...
    upload_server "${@:2}"
    failure "\"uploadURL\": \"$server\", \"logFileName\": \"$PWD/client.log\"" "$1" "$again"
    stop_server
}
failure '"siteID": 1' "Can't connect to the server." "$again"
server_failure "The upload failed." --fail fail
server_failure "The upload failed." --fail cut --fail-at 3
grep -q 'piece 3' server.txt || fail "cut elsewhere: $(cat server.txt)"
server_failure "The server accepts no more reports for this meeting." \
    --fail exceed --fail-at 1
failure "\"logFileName\": \"$PWD/large.log\"" "We can't send your report because the file is too large." "$large"
(($(stat -c %s saved5.zip) > 25000000)) || fail "not too large"
leave
