# The example in the protocol page, as it stands, drives the assistant under each shell that is there.
. "$(dirname "$0")/common.sh"
sed -n '/<!-- example:begin -->/,/<!-- example:end -->/p' "$1" | grep -v '^```\|^<!--' > example.sh
expect() { grep -qE -- "$1" output.txt || fail "$shell: no record like $1 in: $(cat output.txt)"; }
ran=
for shell in dash bash zsh; do
    [[ $shell == dash ]] || command -v "$shell" > which.txt || continue
    timeout 60 "$shell" -eu example.sh > output.txt 2> errors.txt || fail "$shell ends with $?: $(cat errors.txt)"
    expect '^39,1,1,confname,1.0,V2Vla2x5,0,,0,[0-9-]+ [0-9:.]+,[0-9]+$'
    expect '^39,1,1,userid,0,42,'
    expect '^39,1,1,service,0,HV,'
    expect '^42,1,3,HC Show,0,,0,,0,'
    expect '^31,1,6,,2.0,,0,,0,'
    log_says 'DGADealNotifTargetTool::dealHeartBeatFromClient' || fail "$shell: no heartbeat arrived"
    eventually log_says 'DGADealNotifTargetTool::dealNormalQuitFromClient' || fail "$shell: no quit arrived"
    rm -rf /tmp/orvtrace/dga
    ran+=" $shell"
done
echo "ran under$ran"
