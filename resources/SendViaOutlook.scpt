#!/bin/sh
# Opens a new message in Outlook, which is the handler of mail links: RECIPIENT SUBJECT BODY [ATTACHMENT].
# shellcheck disable=SC1091
. "$(dirname "$0")/compose.sh"

# The mail program may run for hours, and after the assistant has ended.
with_handler "$@" < /dev/null > /dev/null 2>&1 &
