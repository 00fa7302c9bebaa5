#!/bin/sh
# Opens a new message in Outlook, which is the handler of mail links. The message comes in on standard input (see
# compose.sh).
# shellcheck disable=SC1091
. "$(dirname "$0")/compose.sh"

read_message
# The mail program may run for hours, and after the assistant has ended.
# shellcheck disable=SC2154 # read_message sets them
with_handler "$recipient" "$subject" "$body" "$attachment" < /dev/null > /dev/null 2>&1 &
