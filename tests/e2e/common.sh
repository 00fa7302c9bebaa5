# For the end-to-end scripts. They run in a /tmp, a home and a session of their own.
set -eu
export PATH="$ORVANEDGA_BIN:$PATH"
cd "$(mktemp -d)"

fail() {
    echo "FAILED: $*" >&2
    cat /tmp/orvtrace/dga/*.ovt >&2 2> /dev/null || true
    exit 1
}

# eventually COMMAND...: waits up to ten seconds for it to succeed.
eventually() {
    for _ in $(seq 100); do
        "$@" && return 0
        sleep 0.1
    done
    return 1
}

# Tests that run side by side share the ports of the machine.
free_port() {
    local port
    while port=$((20000 + RANDOM % 12000)) && [[ -n $(ss -Hltn "sport = :$port") ]]; do :; done
    echo "$port"
}

log_says() { grep -qsF -- "$1" /tmp/orvtrace/dga/*.ovt; }

# post BASE-NAME [USER-INFO]: a notification to the assistant of process id $dga.
post() {
    gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications \
        --signal com.tellan.orvane.DistributedNotifications.Posted "${1}_$dga" '""' "${2:-@a{sv\} {\}}"
}

# start_assistant: in the background; sets dga and returns when it listens.
start_assistant() {
    orvanedga 2> stderr.txt &
    dga=$!
    eventually log_says "[$dga:$dga] orvdga 2 DGAMonitorToolManager::startCheckingSystemResourceUsage" ||
        fail "the assistant does not start"
}

# port_message JSON [ID]: one message to the port; the id as printf's four octal bytes, 0 by default.
port_message() {
    local length
    length=$(printf '%s' "$1" | wc -c)
    {
        # shellcheck disable=SC2059
        printf "${2:-\\0\\0\\0\\0}"
        # shellcheck disable=SC2059
        printf "$(printf '\\x%02x\\x%02x\\x%02x\\0' $((length % 256)) $((length / 256 % 256)) $((length / 65536)))"
        printf '%s' "$1"
    } | socat -u - "UNIX-CONNECT:$XDG_RUNTIME_DIR/com.tellan.orvane.orvanedga.$dga"
}
