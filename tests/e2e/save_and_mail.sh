# Where sending is disabled the report goes to a file or to the mail program.
. "$(dirname "$0")/windows.sh"
elsewhere=$(mktemp -d /dev/shm/journey.XXXXXX)
trap 'rm -r "$elsewhere"' EXIT

program() { # MIME-TYPE: one that writes down its argument
    mkdir -p ~/.local/share/applications ~/.config
    # shellcheck disable=SC2016
    printf '#!/bin/sh\nprintf %%s "$1" > /tmp/link.new && mv /tmp/link.new /tmp/link\n' > ~/program
    chmod +x ~/program
    printf '[Desktop Entry]\nType=Application\nName=Test\nExec=%s %%u\nMimeType=%s;\n' ~/program "$1" \
        > ~/.local/share/applications/test.desktop
    printf '[Default Applications]\n%s=test.desktop\n' "$1" > ~/.config/mimeapps.list
}
value() { sed -n "s/.*[?&]$1=\([^&]*\).*/\1/p" /tmp/link | sed 's/%/\\x/g' | xargs -0 printf '%b' | tr -d '\r'; }
# shellcheck disable=SC2012 # their names are plain
newest_archive() { ls -t /tmp/orvdga/*.zip | head -n 1; }

# save_as PATH: in the save panel, by keys.
save_as() {
    see 'text' 'File name:' focused
    key ctrl+a
    xdotool type --delay 2 -- "$1"
    key Return
}
begin() { # TEXT
    ask_for_report
    see 'push button' 'Send Mail' -sensitive # nothing of the report before
    fill_in "$1" 3 Video
}
# ends_by KEY: nothing would be lost, so nobody is asked.
ends_by() {
    in_front
    key "$1"
    gone dialog "$title"
}
saved() { unzip -tq "$1" > /dev/null || fail "no archive at $1"; }

start_meeting '"enableSendProblemReport": false'
begin 'It flickers & stutters: 50%'
for_everybody
says '*The report is not anonymous: it contains your name*'
program x-scheme-handler/mailto
click 'push button' 'Send Mail'
eventually test -e /tmp/link || fail "the mail program is not started"
await_log ': mailed'
gone dialog "$title"
archive=$(only_archive)
[[ $(value subject) == 'Problem report: Tellan Orvane Meetings for Linux (version 43.6.0.118)' ]] ||
    fail "the subject is $(value subject)"
[[ $(value body) == 'If a support representative asks you for a report, '*$'\n\nWhere does the problem occur?\nVideo\nIt flickers & stutters: 50%' ]] ||
    fail "the body is $(value body)"
[[ $(value attach) == "$archive" ]] || fail "attached is $(value attach), not $archive"
saved "$archive"

# Without a mail program the report lies where the user finds it.
rm -r ~/.config/mimeapps.list ~/.local/share/applications /tmp/link
begin 'No mail'
click 'push button' 'Send Mail'
says "No email program is set up. The report was saved as $HOME/*"
archive=$(ls ~/*.zip)
saved "$archive"
# Which a file manager is asked to show; where there is none, what opens folders.
program inode/directory
dbus-monitor --session "interface='org.freedesktop.FileManager1',member='ShowItems'" > watched.txt &
monitor=$!
eventually test -s watched.txt || fail "the bus cannot be watched"
click 'push button' 'Show in Folder'
eventually test -e /tmp/link || fail "no folder is opened"
eventually grep -qF "\"file://$archive\"" watched.txt || fail "the file manager is asked: $(cat watched.txt)"
[[ $(cat /tmp/link) == *"$HOME"/ ]] || fail "another folder: $(cat /tmp/link)"
kill "$monitor"
ends_by Escape

# A file, in another file system. A folder that is not there is refused, a cancelled panel leaves the window.
begin 'To a file'
click 'push button' Save
save_as "$PWD/missing/report"
see 'push button' OK focused
key Return # the message
see text 'File name:'
key Escape
see 'push button' Save sensitive
see 'push button' 'Send Mail' sensitive
archive=$(newest_archive)
click 'push button' Save
save_as "$elsewhere/report"
says "The report was saved as $elsewhere/report.zip."
ends_by Escape
saved "$elsewhere/report.zip"
[[ -e $archive ]] || fail "the archive of the cancelled save is gone"

# A file that is there is replaced only when the user says so.
echo precious > "$PWD/old.zip"
begin 'In place of a file'
click 'push button' Save
save_as "$PWD/old.zip"
see 'push button' No focused
key Return
gone 'push button' No
[[ $(cat old.zip) == precious ]] || fail "replaced though the user said no"
click 'push button' Save
see 'push button' Yes sensitive
click 'push button' Yes
says "The report was saved as $PWD/old.zip."
ends_by Escape
saved "$PWD/old.zip"

# By the desktop's own dialog, which has asked before a file is replaced; a folder that is not there is told, and it asks again.
echo old > "$elsewhere/own.zip"
/usr/bin/python3 "$tests/../support/save_portal.py" asked.txt 1 "$elsewhere/missing/own.zip" "$elsewhere/own.zip" 2 &
portal=$!
gdbus wait --session --timeout 10 org.freedesktop.portal.Desktop || fail "the portal does not start"
begin 'By the desktop'
click 'push button' Save
eventually grep -q '"x11:.*"current_name": "8834201177_536871042_' asked.txt || fail "the portal is asked: $(cat asked.txt)"
see 'push button' 'Send Mail' sensitive # cancelled
click 'push button' Save
see 'push button' OK focused
key Return
says "The report was saved as $elsewhere/own.zip."
saved "$elsewhere/own.zip"
ends_by Escape
begin 'It fails'
click 'push button' Save
see 'text' 'File name:' focused
key Escape
see 'push button' 'Send Mail' sensitive
close_report
kill "$portal"
wait "$portal" || true
! log_says "administrator's policy" || fail "forbidden without a policy"
leave
