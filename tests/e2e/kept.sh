# A report that an earlier session has kept, and the desktop's notification service; after windows.sh.
kept=$HOME/.local/state/orvanedga/reports
# keep_report [DAY [ANNOUNCED]]
keep_report() {
    local day=${1:-01} number=1_2_202611${1:-01}_101010
    mkdir -p "$kept"
    chmod 0700 "$kept"
    printf 'PK\5\6\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0' > "$kept/$number.zip"
    echo "{\"number\": \"$number\", \"description\": \"No sound\", \"category\": 3, \"serviceType\": 1,
        \"time\": \"2026-11-${day}T10:10:10+00:00\", \"state\": \"failed: no connection\",
        \"announced\": ${2:-false}}" > "$kept/$number.json"
    rm -f messages.txt
}
# notification_service [--portal] KEY: presses that button of each message; messages.txt has them.
notification_service() {
    local name=org.freedesktop.Notifications
    [[ $1 != --portal ]] || name=org.freedesktop.portal.Desktop
    /usr/bin/python3 "$tests/../support/notification_service.py" ${2:+"$1"} messages.txt "${!#}" &
    notifications=$!
    gdbus wait --session --timeout 10 "$name" || fail "the notification service does not start"
}
stop_notification_service() {
    kill "$notifications"
    wait "$notifications" || true
}
