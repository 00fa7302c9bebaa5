# Proxies of companies: one that takes the user's Kerberos ticket, from a real key distribution centre, and one that
# speaks NTLM, with squid's stand-in for a domain.
. "$(dirname "$0")/common.sh"
. "$(dirname "$0")/proxy_parts.sh"
PATH=$PATH:/usr/sbin
for tool in krb5kdc kdb5_util kadmin.local kinit; do
    type -P "$tool" > /dev/null || { echo "there is no $tool: skipped"; exit 77; }
done

head -c 300000 /dev/urandom > report.bin # three pieces: four requests
start_upload_servers
start_keyring

start_key_centre() {
    local port
    port=$(free_port)
    export KRB5_CONFIG=$PWD/krb5.conf KRB5_KDC_PROFILE=$PWD/kdc.conf KRB5CCNAME=FILE:$PWD/tickets KRB5RCACHENAME=none:
    cat > krb5.conf << CONFIGURATION
[libdefaults]
    default_realm = TEST.EXAMPLE
    dns_lookup_kdc = false
    dns_canonicalize_hostname = false
    rdns = false
[realms]
    TEST.EXAMPLE = {
        kdc = 127.0.0.1:$port
    }
[domain_realm]
    localhost = TEST.EXAMPLE
CONFIGURATION
    cat > kdc.conf << CONFIGURATION
[kdcdefaults]
    kdc_listen = 127.0.0.1:$port
    kdc_tcp_listen = 127.0.0.1:$port
[realms]
    TEST.EXAMPLE = {
        database_name = $PWD/principals
        key_stash_file = $PWD/stash
        acl_file = $PWD/acl
    }
CONFIGURATION
    kdb5_util create -s -P master -r TEST.EXAMPLE > kdc.txt 2>&1
    kadmin.local -q "addprinc -pw secret me" >> kdc.txt 2>&1
    kadmin.local -q "addprinc -randkey HTTP/localhost" >> kdc.txt 2>&1
    kadmin.local -q "ktadd -k $PWD/proxy.keytab HTTP/localhost" >> kdc.txt 2>&1
    chmod 644 proxy.keytab
    krb5kdc -n >> kdc.txt 2>&1 &
    eventually listens "$port" || fail "the key distribution centre: $(cat kdc.txt)"
}

start_key_centre
start_squid negotiate negotiate_kerberos_auth -k "$PWD/proxy.keytab" -s HTTP/localhost@TEST.EXAMPLE
manual "localhost:$locked_port"
# One ticket a connection: the pieces go over the one that was let through.
printf secret | kinit me > /dev/null || fail "no ticket: $(cat kdc.txt)"
expect "ticket: http" 19 "1 GET/POST -,4 GET/POST me@TEST.EXAMPLE" "$plain"
expect "ticket: https" 19 "1 CONNECT -,1 CONNECT me@TEST.EXAMPLE" "$secure"
kdestroy
expect "no ticket: http" 16 "5 GET/POST -" "$plain"

start_squid ntlm ntlm_fake_auth
manual "localhost:$locked_port"
printf %s secret | secret-tool store --label=Proxy xdg:schema org.gnome.keyring.NetworkPassword server localhost \
    port "$locked_port" protocol http user me || fail "the keyring takes no password"
# The stand-in takes every password, and misreads the name, which is in characters of two bytes.
expect "NTLM: http" 19 '2 GET/POST -,4 GET/POST m\mew' "$plain"
expect "NTLM: https" 19 '2 CONNECT -,1 CONNECT m\mew' "$secure"
