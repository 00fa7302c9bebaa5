#!/bin/sh
# Opens a new message in the user's mail program. The message comes in on standard input (see compose.sh).
# shellcheck disable=SC1091
. "$(dirname "$0")/compose.sh"

compose() {
    by_portal "$@" && return
    case $(xdg-mime query default x-scheme-handler/mailto) in
        *[Tt]hunderbird* | *[Ii]cedove*) with_thunderbird "$@" && return ;;
        *[Kk][Mm]ail*) with_kmail "$@" && return ;;
        *[Cc]laws*) with_claws "$@" && return ;;
    esac
    with_handler "$@" || with_kmail "$@" || with_claws "$@" || with_thunderbird "$@" || with_xdg_email "$@"
}

read_message
# shellcheck disable=SC2154 # read_message sets them
opened compose "$recipient" "$subject" "$body" "$attachment"
