# Opening a new message, for the mail scripts. Every function takes RECIPIENT SUBJECT BODY [ATTACHMENT] and fails
# if it knows no program to open the message with.

# percent TEXT: every byte as %xx, so that no program on the way finds anything to interpret; a line break as
# RFC 6068 wants it.
percent() {
    printf %s "$1" | od -An -v -tx1 | tr -d '\n' | sed 's/ /%/g; s/%0d%0a/%0a/g; s/%0a/%0d%0a/g'
}

# file_url PATH: with the slashes left as they are.
file_url() {
    printf 'file://%s' "$(percent "$1" | sed 's/%2f/\//g')"
}

mailto_url() { # RECIPIENT SUBJECT BODY
    printf 'mailto:%s?subject=%s&body=%s' "$(percent "$1" | sed 's/%40/@/g')" "$(percent "$2")" "$(percent "$3")"
}

# opened COMMAND ARGUMENT...: beside this script, since a mail program may run for hours, and after the assistant has
# ended. Fails if the command has failed within three seconds: then there is no message.
opened() {
    "$@" < /dev/null > /dev/null 2>&1 &
    tenths=0
    while kill -0 $! 2> /dev/null; do
        [ "$tenths" -lt 30 ] || return 0
        sleep 0.1
        tenths=$((tenths + 1))
    done
    wait $!
}

has() {
    command -v "$1"
}

# read_message: from standard input a line each with recipient, subject and attachment's path, and behind them the
# body. Texts of a message go from program to program by standard input only: other users can read arguments. The
# shell's own printf has none. A mail program's own arguments are the exception.
read_message() {
    # shellcheck disable=SC2034
    { IFS= read -r recipient && IFS= read -r subject && IFS= read -r attachment; } || true
    body=$(cat && printf x)
    body=${body%x}
}

composer() { # portal|handler RECIPIENT SUBJECT BODY [ATTACHMENT]
    printf '%s\n%s\n%s\n%s' "$2" "$3" "${5:-}" "$4" | "${ORVANEDGA_HELPERS:?}/mail_composer" "$1"
}

by_portal() {
    composer portal "$@"
}

# Whatever the desktop opens mail links with; a link with "attach" is understood by most mail programs.
with_handler() {
    composer handler "$@"
}

# May end up in a web browser, and takes texts as arguments only: it gets the attachment alone.
with_xdg_email() {
    has xdg-email || return 1
    xdg-email ${4:+--attach "$4"}
}

# Its values end at a comma; encoded ones are decoded.
with_thunderbird() {
    program=$(has thunderbird || has icedove) || return 1
    fields="subject=$(percent "$2"),body=$(percent "$3")"
    [ -z "$1" ] || fields="to=$(percent "$1"),$fields"
    [ -z "${4:-}" ] || fields="$fields,attachment='$(file_url "$4")'"
    "$program" -compose "$fields"
}

with_kmail() {
    has kmail || return 1
    if [ -n "${4:-}" ]; then
        kmail --composer "--subject=$2" "--body=$3" "--attach=$(file_url "$4")" -- ${1:+"$1"}
    else
        kmail --composer "--subject=$2" "--body=$3" -- ${1:+"$1"}
    fi
}

with_claws() {
    has claws-mail || return 1
    set -- "$(mailto_url "$1" "$2" "$3")" "${4:-}"
    claws-mail --compose "$1" ${2:+--attach "$2"}
}
