# An upload arrives through every kind of proxy settings, and the proxy's own log says which way each request took:
# a real squid, keyring, settings database, TLS server and script process.
. "$(dirname "$0")/common.sh"
. "$(dirname "$0")/proxy_parts.sh"

start_squid
start_upload_servers
start_script_server
start_keyring
start_tls_proxy
socks_proxy socks
socks_proxy old_socks 4
socks_proxy locked_socks 5 me secret
refused=127.0.0.1:$(free_port) # where nobody listens
head -c 300000 /dev/urandom > report.bin # three pieces: four requests

# A host that takes the connection and stays silent; meanwhile, with settings of their own, the others are tried.
silent=$(free_port)
socat "TCP-LISTEN:$silent,bind=127.0.0.1,fork" 'SYSTEM:sleep 60' &
(
    export XDG_CONFIG_HOME=$PWD/elsewhere auto_proxy=http://127.0.0.1:$silent/x.pac
    SECONDS=0 status=0
    orvane-upload --quiet --file-name silent "$plain" report.bin || status=$?
    echo "$status $SECONDS" > silent.txt
) &
silent_upload=$!

status=0
orvane-upload --quiet "$plain" none.bin 2> errors.txt || status=$?
[[ $status -eq 1 ]] && grep -q 'none.bin: cannot be opened' errors.txt || fail "no file: $status $(cat errors.txt)"

expect "direct: http" 19 none "$plain"
expect "direct: https" 19 none "$secure"

manual "$open_proxy"
expect "manual: http" 19 "4 GET/POST -" "$plain"
expect "manual: https" 19 "1 CONNECT -" "$secure"
manual "$open_proxy" http
expect "manual, http for all: https" 19 "1 CONNECT -" "$secure"
manual "https://$tls_proxy"
expect "manual, over TLS: http" 19 "4 GET/POST -" "$plain"
expect "manual, over TLS: https" 19 "1 CONNECT -" "$secure"
grep -q ' 8 the certificate of the proxy .* does not verify' /tmp/orvtrace/dga/*.ovt || fail "nothing of the certificate"
for proxy in "$socks" "$old_socks"; do
    manual "$proxy" socks
    version=SOCKS5
    [[ $proxy == "$socks" ]] || version=SOCKS4
    expect "manual, SOCKS: http" 19 "1 $version -" "${plain/127.0.0.1/localhost}"
    expect "manual, SOCKS: https" 19 "1 $version -" "$secure"
done
manual "$open_proxy"
gsettings set org.gnome.system.proxy ignore-hosts "['elsewhere.example', '127.0.0.0/8']"
expect "exception: http" 19 none "$plain"
expect "exception: https" 19 none "$secure"

manual "$locked_proxy"
store_password "$locked_port" secret
# Credentials are sent once they are asked for, and from then on at once.
expect "keyring: http" 19 "1 GET/POST -,4 GET/POST me" "$plain"
expect "keyring: https" 19 "1 CONNECT -,1 CONNECT me" "$secure"
store_password "$locked_port" wrong
expect "wrong password: http" 16 "4 GET/POST -,1 GET/POST me" "$plain"
expect "wrong password: https" 16 "4 CONNECT -,1 CONNECT me" "$secure"
gsettings set org.gnome.system.proxy.http use-authentication true
gsettings set org.gnome.system.proxy.http authentication-user me
gsettings set org.gnome.system.proxy.http authentication-password secret
expect "wrong, then the settings'" 19 "1 GET/POST -,5 GET/POST me" "$plain"
secret-tool clear server 127.0.0.1 user me
expect "settings' password: https" 19 "1 CONNECT -,1 CONNECT me" "$secure"

manual "$refused"
expect "dead proxy: http" 16 none "$plain"
expect "dead proxy: https" 16 none "$secure"

pac=file://$PWD/scripts
script proxy "function FindProxyForURL(url, host) { return 'PROXY $open_proxy; DIRECT'; }"
script chosen "function FindProxyForURL(url, host) {
    return isInNet(host, '127.0.0.0', '255.0.0.0') && shExpMatch(url, '*://127*') ? 'PROXY $open_proxy' : 'PROXY $refused'; }"
script direct "function FindProxyForURL(url, host) { return 'DIRECT'; }"
for address in "$pac/proxy" "$pac/chosen" "$scripts_url/proxy" "$scripts_url/moved"; do
    automatic "$address"
    expect "script ${address#"$pac"}: http" 19 "4 GET/POST -" "$plain"
    expect "script ${address#"$pac"}: https" 19 "1 CONNECT -" "$secure"
done
automatic "$pac/direct"
expect "script: DIRECT" 19 none "$plain"
# Where no connection comes about the next entry has its turn; what worked goes on.
store_password "$locked_port" secret
for row in "dead, DIRECT|PROXY $refused; DIRECT|none|none" "dead|PROXY $refused|16|16" \
    "second|PROXY $refused; SOCKS5 $refused; HTTP $open_proxy; DIRECT|4 GET/POST -|1 CONNECT -" \
    "first DIRECT|DIRECT; PROXY $open_proxy|none|none" \
    "over TLS|HTTPS $tls_proxy|4 GET/POST -|1 CONNECT -" \
    "SOCKS|SOCKS $socks|1 SOCKS5 -|1 SOCKS5 -" "old SOCKS|SOCKS $old_socks|1 SOCKS4 -|1 SOCKS4 -" \
    "SOCKS4|SOCKS4 $socks|1 SOCKS4 -|1 SOCKS4 -" \
    "keyring|PROXY $locked_proxy|1 GET/POST -,4 GET/POST me|1 CONNECT -,1 CONNECT me"; do
    IFS='|' read -r case answer http https <<< "$row"
    script "answer" "function FindProxyForURL(url, host) { return '$answer'; }"
    automatic "$pac/answer"
    if [[ $http == 16 ]]; then
        expect "script, $case" 16 none "$plain"
    else
        expect "script, $case: http" 19 "$http" "$plain"
        expect "script, $case: https" 19 "$https" "$secure"
    fi
done
secret-tool clear server 127.0.0.1 user me

script syntax "function FindProxyForURL(url, host) { return 'PROXY $open_proxy'; "
script endless "function FindProxyForURL(url, host) { for (;;); }"
script never "for (;;); function FindProxyForURL(url, host) { return 'PROXY $open_proxy'; }"
script missing "function Other(url, host) { return 'PROXY $open_proxy'; }"
for address in "$pac"/{syntax,endless,never,missing,absent} "$scripts_url"/{absent,challenge} "http://$refused/x.pac"; do
    automatic "$address"
    expect "faulty script ${address##*/}" 19 none "$plain"
done
gsettings set org.gnome.system.proxy mode none

printf '[Proxy Settings]\nProxyType=1\nhttpProxy=http://127.0.0.1 %d\nhttpsProxy=http://%s\n' \
    "$open_port" "$open_proxy" > "$HOME/.config/kioslaverc"
expect "KDE: http" 19 "4 GET/POST -" "$plain"
expect "KDE: https" 19 "1 CONNECT -" "$secure"
printf '[Proxy Settings]\nProxyType=2\nProxy Config Script=%s/proxy\n' "$pac" > "$HOME/.config/kioslaverc"
expect "KDE: script" 19 "4 GET/POST -" "$plain"
rm "$HOME/.config/kioslaverc"

export http_proxy=http://$open_proxy HTTPS_PROXY=$open_proxy
expect "environment: http" 19 "4 GET/POST -" "$plain"
expect "environment: https" 19 "1 CONNECT -" "$secure"
http_proxy=http://me:secret@$locked_proxy expect "environment: password" 19 "1 GET/POST -,4 GET/POST me" "$plain"
unset http_proxy HTTPS_PROXY
all_proxy=socks5h://me:secret@$locked_socks expect "environment: all, SOCKS" 19 "1 SOCKS5 me" "$secure"
ALL_PROXY=https://$tls_proxy expect "environment: all, over TLS" 19 "4 GET/POST -" "$plain"
export http_proxy=http://$open_proxy no_proxy=127.0.0.1
expect "environment: exception" 19 none "$plain"

wait "$silent_upload"
read -r status seconds < silent.txt
((status == 0 && seconds >= 30 && seconds <= 40)) || fail "a silent script host: status $status after $seconds s"
