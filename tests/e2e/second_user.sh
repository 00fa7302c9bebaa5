# A second user of the machine has the whole product, also without a runtime folder, while the first one owns the folders
# in /tmp and has planted links to what only the second may read.
. "$(dirname "$0")/common.sh"
if [[ $(id -u) != 0 ]]; then
    echo "skipped: needs root, to be another user"
    exit 77
fi
other=65534 # nobody: a bus wants a user that it can look up
own=/tmp/other/.cache/orvanedga
mkdir -m 700 /tmp/orvdga /tmp/orvtrace
install -d -m 700 -o $other -g $other /tmp/other
echo secret > /tmp/other/secret
chown $other /tmp/other/secret
ln -s /tmp/other/secret /tmp/orvgpc.ovt
cat > /tmp/as-other.sh <<SCRIPT
set -eu
trap 'kill \$(jobs -p) 2> /dev/null || :' EXIT
orvanedga 2> /tmp/other/stderr.txt & dga=\$!
sleep 300 & client=\$!
post() {
    gdbus emit --session --object-path /com/tellan/orvane/DistributedNotifications \\
        --signal com.tellan.orvane.DistributedNotifications.Posted "\${1}_\$dga" '""' "\$2"
}
log=/tmp/other/.cache/orvanedga/orvtrace/dga
until grep -qs startCheckingSystemResourceUsage \$log/*.ovt; do sleep 0.1; done
stat -c %a /tmp/com.tellan.orvane.$other/com.tellan.orvane.orvanedga.\$dga > /tmp/other/socket
post ORVANE_DGA_PASSING_JSON_DATA "{'DgaJsonData': <'{\"confId\": \"1\", \"serviceType\": 1, \"processID\": \"\$client\"}'>}"
until grep -qs '^39,1,1,confid,0,1,' /tmp/other/.cache/orvanedga/orvdga/*/*.csv; do sleep 0.1; done
sleep 3
kill -KILL \$client
until compgen -G '/tmp/other/.cache/orvanedga/orvdga/1_*.zip'; do sleep 0.1; done
wait \$dga
SCRIPT

timeout 15 setpriv --reuid $other --regid $other --clear-groups env -u DBUS_SESSION_BUS_ADDRESS \
    -u XDG_RUNTIME_DIR HOME=/tmp/other dbus-run-session -- bash /tmp/as-other.sh ||
    fail "the other user: $(ls -R $own; cat /tmp/other/stderr.txt; cat /tmp/other/.cache/orvanedga/orvtrace/dga/*)"

[[ $(cat /tmp/other/socket) == 600 && $(stat -c '%u %a' /tmp/com.tellan.orvane.$other) == "$other 700" ]] ||
    fail "the port: $(ls -la /tmp/com.tellan.orvane.$other)"
[[ $(stat -c '%u %a' $own/orvdga $own/orvtrace | sort -u) == "$other 700" ]] || fail "$(ls -l $own)"
[[ -z $(find /tmp/orvdga /tmp/orvtrace -mindepth 1) ]] || fail "something was written for the first user"
archive=$(compgen -G "$own/orvdga/1_*.zip") || fail "no archive"
unzip -p "$archive" orvdga_report.json > /tmp/summary.json
grep -q '"reason": "it is a link"' /tmp/summary.json || fail "the planted link: $(cat /tmp/summary.json)"
unzip -p "$archive" | grep -q '^secret' && fail "the secret is in the report"
python3 - "$(dirname "$0")/../../resources/orvdga_report.schema.json" /tmp/summary.json <<'PYTHON'
import json, sys
import jsonschema
jsonschema.validate(json.load(open(sys.argv[2])), json.load(open(sys.argv[1])))
PYTHON
