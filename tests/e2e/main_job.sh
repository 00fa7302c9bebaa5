# The main job from end to end, through the windows and by the keyboard: a report arrives at a server as it was made; one
# that cannot be sent is not taken for sent.
. "$(dirname "$0")/common.sh"
command -v Xvfb openbox xdotool import > /dev/null || exit 77

"$1" "$ORVANEDGA_BIN" pictures > output.txt 2>&1 || fail "the report was not sent: $(cat output.txt)"
grep -q '^Arrived: .* bytes, equal to the report$' output.txt || fail "it did not arrive: $(cat output.txt)"
grep -q 'description "Since about ten' output.txt || fail "another description arrived: $(cat output.txt)"
grep -q 'ended with status 0$' output.txt || fail "the assistant did not end well: $(cat output.txt)"
[ "$(find pictures -name '*.png' -size +2k | wc -l)" -ge 3 ] || fail "pictures are missing: $(ls pictures)"

! "$1" "$ORVANEDGA_BIN" pictures --set uploadURL=http://127.0.0.1:1/x?a=1 > output.txt 2>&1 || fail "no failure was told"
grep -q '^No report has arrived' output.txt || fail "the failure is not named: $(cat output.txt)"
