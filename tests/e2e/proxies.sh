# An upload arrives through every kind of proxy settings, and the proxy's own log says which way each request took:
# a real squid, keyring, settings database, TLS server and script process.
. "$(dirname "$0")/common.sh"
. "$(dirname "$0")/proxy_parts.sh"

start_squid
start_upload_servers
start_script_server
start_keyring
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

expect "direct: http" 19 none "$plain"
expect "direct: https" 19 none "$secure"

manual "$open_proxy"
expect "manual: http" 19 "4 GET/POST -" "$plain"
expect "manual: https" 19 "1 CONNECT -" "$secure"
gsettings set org.gnome.system.proxy ignore-hosts "['elsewhere.example', '127.0.0.0/8']"
expect "exception: http" 19 none "$plain"
expect "exception: https" 19 none "$secure"

manual "$locked_proxy"
store_password "$locked_port" secret
expect "keyring: http" 19 "4 GET/POST me" "$plain"
expect "keyring: https" 19 "1 CONNECT me" "$secure"
store_password "$locked_port" wrong
expect_patience "wrong password: http" GET "$plain"
expect_patience "wrong password: https" CONNECT "$secure"
secret-tool clear server 127.0.0.1 user me

manual "$refused"
expect "dead proxy: http" 16 none "$plain"
expect "dead proxy: https" 16 none "$secure"

pac=file://$PWD/scripts
script proxy "function FindProxyForURL(url, host) { return 'PROXY $open_proxy; DIRECT'; }"
script chosen "function FindProxyForURL(url, host) {
    return isInNet(host, '127.0.0.0', '255.0.0.0') && shExpMatch(url, '*upload*') ? 'PROXY $open_proxy' : 'PROXY $refused'; }"
script direct "function FindProxyForURL(url, host) { return 'DIRECT'; }"
script dead "function FindProxyForURL(url, host) { return 'PROXY $refused; DIRECT'; }"
for address in "$pac/proxy" "$pac/chosen" "$scripts_url/proxy" "$scripts_url/moved"; do
    automatic "$address"
    expect "script ${address#"$pac"}: http" 19 "4 GET/POST -" "$plain"
    expect "script ${address#"$pac"}: https" 19 "1 CONNECT -" "$secure"
done
automatic "$pac/direct"
expect "script: DIRECT" 19 none "$plain"
automatic "$pac/dead"
expect "script: dead proxy" 16 none "$plain"

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
export no_proxy=127.0.0.1
expect "environment: exception" 19 none "$plain"

wait "$silent_upload"
read -r status seconds < silent.txt
((status == 0 && seconds >= 30 && seconds <= 40)) || fail "a silent script host: status $status after $seconds s"
