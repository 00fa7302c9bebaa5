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

has() {
    command -v "$1"
}

# Whatever the desktop opens mail links with. A link with "attach" is understood by most mail programs.
with_handler() {
    url=$(mailto_url "$1" "$2" "$3")
    [ -z "${4:-}" ] || url="$url&attach=$(percent "$4" | sed 's/%2f/\//g')"
    # xdg-email may end up in a web browser, so the handler itself comes first. It passes on a link that is encoded
    # already; its own encoding would change backslashes.
    { has gio && gio open "$url"; } || { has xdg-email && xdg-email "$url"; }
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
