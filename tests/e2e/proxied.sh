# A report through a proxy that wants a password, which lies in the keyring; it never goes there as it is (Digest).
. "$(dirname "$0")/windows.sh"
. "$tests/proxy_parts.sh"
start_squid digest digest_file_auth
start_keyring
gdbus wait --session --timeout "$PATIENCE" org.freedesktop.secrets || fail "no keyring"
store_password "$locked_port" secret
manual "$locked_proxy"
upload_server server
head -c 300000 /dev/urandom > client.log
start_meeting "\"logFileName\": \"$PWD/client.log\""
send_report 'By the proxy'
says 'Report uploaded' 'A confirmation email will be sent to asa@example.com.'
cmp "$(only_archive)" arrived/*.zip || fail "another archive arrived"

grep -q '200 me' "$proxy_log" || fail "not by the proxy: $(cat "$proxy_log")"
! grep -qs secret /tmp/orvtrace/dga/*.ovt || fail "the password is in the log"
key Return
gone dialog "$title"
leave
