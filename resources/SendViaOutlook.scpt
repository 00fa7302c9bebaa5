#!/bin/sh
# Opens a new message in Outlook, which is the handler of mail links. The message comes in on standard input (see
# compose.sh).
# shellcheck disable=SC1091
. "$(dirname "$0")/compose.sh"

read_message
# shellcheck disable=SC2154 # read_message sets them
opened with_handler "$recipient" "$subject" "$body" "$attachment"
