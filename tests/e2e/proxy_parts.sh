# For the tests of proxies: the real parts around an upload, each on a port of its own, and what is expected of one.
export GSETTINGS_BACKEND=keyfile
mkdir -p "$HOME/.config" scripts arrived
proxy_log=$PWD/squid/access.log

listens() { [[ -n $(ss -Hltn "sport = :$1") ]]; }

# start_squid [SCHEME [HELPER ARGUMENT...]]: one port for everybody, one for who knows the password; with a scheme
# squid offers that as well, and the password is not good for Basic any more. As root squid changes to a user
# of its own. Its shared memory is called after the service.
start_squid() {
    open_port=$(free_port)
    while locked_port=$(free_port) && [[ $locked_port == "$open_port" ]]; do :; done
    open_proxy=127.0.0.1:$open_port locked_proxy=127.0.0.1:$locked_port
    chmod 711 .
    local scheme=${1:-} better=
    rm -rf squid
    mkdir -m 777 squid
    printf 'me:%s\n' "$(openssl passwd -apr1 "secret$scheme")" > squid/users
    printf 'me:test:%s\n' "$(printf me:test:secret | md5sum | cut -d' ' -f1)" > squid/digests
    chmod 644 squid/users squid/digests
    [[ -z $scheme ]] || better="auth_param $scheme program $(squid_helper "$2") ${*:3}"
    [[ $scheme != digest ]] || better+=" -c $PWD/squid/digests"$'\nauth_param digest realm test'
    cat > squid/squid.conf << CONFIGURATION
http_port 127.0.0.1:$open_port name=open
http_port 127.0.0.1:$locked_port name=locked
$better
auth_param basic program $(squid_helper basic_ncsa_auth) $PWD/squid/users
auth_param basic realm test
acl open myportname open
acl known proxy_auth REQUIRED
http_access allow open
http_access allow known
http_access deny all
logformat way %rm %>Hs %un %ru
access_log stdio:$proxy_log way
buffered_logs off
cache_log $PWD/squid/cache.log
cache deny all
coredump_dir $PWD/squid
pid_filename none
max_filedescriptors 1024
shutdown_lifetime 0 seconds
visible_hostname localhost
CONFIGURATION
    chmod 644 squid/squid.conf
    "$(PATH=$PATH:/usr/sbin type -P squid)" -N -n "orvane$open_port" -f "$PWD/squid/squid.conf" > squid/output 2>&1 &
    eventually listens "$locked_port" || fail "squid: $(cat squid/output squid/cache.log)"
}

squid_helper() { ls /usr/{lib,lib64,libexec}/squid/"$1" 2> /dev/null | head -n 1; }

# socks_proxy NAME [VERSION [USER PASSWORD]]: starts one; its address is in the variable of that name. It logs where
# squid does.
socks_proxy() {
    local name=$1 port
    shift
    port=$(free_port)
    python3 "$(dirname "${BASH_SOURCE[0]}")/../support/socks_proxy.py" "$port" "$proxy_log" "$@" &
    eventually listens "$port" || fail "the SOCKS proxy does not start"
    printf -v "$name" '127.0.0.1:%d' "$port"
}

# A proxy that is spoken to over TLS: squid's open port behind one.
start_tls_proxy() {
    local port
    port=$(free_port)
    cat key.pem certificate.pem > both.pem
    socat "OPENSSL-LISTEN:$port,bind=127.0.0.1,fork,verify=0,cert=both.pem" "TCP:$open_proxy" &
    eventually listens "$port" || fail "the TLS proxy does not start"
    tls_proxy=127.0.0.1:$port
}

# upload_server NAME OPTION...: starts one; its address, with a query, is in the variable of that name.
upload_server() {
    local name=$1
    shift
    orvane-upload-server --quiet --store "$PWD/arrived" "$@" > "$name.txt" &
    eventually grep -q listening "$name.txt" || fail "the upload server does not start"
    printf -v "$name" '%supload?siteid=1' "$(sed 's/listening on //' "$name.txt")"
}

start_upload_servers() {
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout key.pem -out certificate.pem \
        -days 1 -subj /CN=nobody.example 2> /dev/null
    upload_server plain
    upload_server secure --tls certificate.pem key.pem
}

# Auto-configuration scripts over HTTP, from the folder that is also read as files.
start_script_server() {
    local port
    port=$(free_port)
    scripts_url=http://127.0.0.1:$port
    cat > script_server.sh << 'SERVER'
read -r _ path _
while read -r line && [[ $line != $'\r' ]]; do :; done
reply() { printf 'HTTP/1.1 %s\r\nConnection: close\r\nContent-Length: %d\r\n\r\n' "$1" "${2:-0}"; }
case $path in
    /moved) reply $'302 Found\r\nLocation: /proxy' ;;
    /challenge) reply $'401 Unauthorized\r\nWWW-Authenticate: Basic realm="test"' ;;
    *) if [[ -f scripts$path ]]; then
        reply '200 OK' "$(stat -c %s "scripts$path")"
        cat "scripts$path"
    else
        reply '404 Not Found'
    fi ;;
esac
SERVER
    socat "TCP-LISTEN:$port,bind=127.0.0.1,fork" "SYSTEM:bash script_server.sh" &
    eventually listens "$port" || fail "the server of scripts does not start"
}

script() { printf '%s' "$2" > "scripts/$1"; }

start_keyring() {
    printf password | gnome-keyring-daemon --unlock --components=secrets > /dev/null 2>&1
}

store_password() { # PORT PASSWORD
    printf %s "$2" | secret-tool store --label="Proxy" xdg:schema org.gnome.keyring.NetworkPassword \
        server 127.0.0.1 port "$1" protocol http user me || fail "the keyring takes no password"
}

manual() { # HOST:PORT [PROTOCOLS]
    local protocol
    for protocol in http https socks; do
        gsettings reset-recursively "org.gnome.system.proxy.$protocol"
    done
    for protocol in ${2:-http https}; do
        gsettings set "org.gnome.system.proxy.$protocol" host "${1%:*}"
        gsettings set "org.gnome.system.proxy.$protocol" port "${1##*:}"
    done
    gsettings set org.gnome.system.proxy ignore-hosts '[]' # by default this machine is reached directly
    gsettings set org.gnome.system.proxy mode manual
}

automatic() { # URL
    gsettings set org.gnome.system.proxy autoconfig-url "$1"
    gsettings set org.gnome.system.proxy mode auto
}

# What the proxy has logged since line $1, as "COUNT METHOD USER". A challenge that was answered counts as well.
way_taken() {
    tail -n +$(($1 + 1)) "$proxy_log" | sed 's/^\(GET\|POST\) /GET\/POST /' | awk '{ print $1, $3 }' |
        sort | uniq -c | sed 's/^ *//' | paste -sd,
}

# expect CASE STATUS WAY URL: an upload ends with that status (19: it is there, unharmed) by that way. A line each.
expect() {
    local seen way status=19 started=$EPOCHREALTIME
    seen=$(wc -l < "$proxy_log")
    rm -f arrived/*
    orvane-upload --quiet --log dga --file-name case "$4" report.bin 2> errors.txt ||
        status=$(sed -n 's/.*failed with status \([0-9]*\).*/\1/p' errors.txt)
    way=$(way_taken "$seen")
    awk -v case="$1" -v status="$status" -v way="${way:-none}" -v seconds="$EPOCHREALTIME $started" \
        'BEGIN { split(seconds, s); printf "%-28s status %-2s by %-16s %.2f s\n", case, status, way, s[1] - s[2] }'
    [[ ${status:-none} == "$2" ]] || fail "$1: status ${status:-none}: $(cat errors.txt)"
    [[ ${way:-none} == "$3" ]] || fail "$1: by $way, not by $3"
    [[ $status != 19 ]] || cmp report.bin arrived/case.zip || fail "$1: something else arrived"
}
