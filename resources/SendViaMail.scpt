#!/bin/sh
# Opens a new message in the user's mail program: RECIPIENT SUBJECT BODY [ATTACHMENT].
# shellcheck disable=SC1091
. "$(dirname "$0")/compose.sh"

compose() {
    case $(xdg-mime query default x-scheme-handler/mailto) in
        *[Tt]hunderbird* | *[Ii]cedove*) with_thunderbird "$@" && return ;;
        *[Kk][Mm]ail*) with_kmail "$@" && return ;;
        *[Cc]laws*) with_claws "$@" && return ;;
    esac
    with_handler "$@" || with_kmail "$@" || with_claws "$@" || with_thunderbird "$@"
}

# The mail program may run for hours, and after the assistant has ended.
compose "$@" < /dev/null > /dev/null 2>&1 &
