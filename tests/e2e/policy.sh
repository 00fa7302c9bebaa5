# What the documentation says about the policy is so.
. "$(dirname "$0")/common.sh"
page=$1
check() { orvanedga --check-policy "$1" > counts.txt 2> wrong.txt; }
# example NAME: the page's, as a file of that name.
example() {
    sed -n "/^<!-- example: $1 -->/,/^\`\`\`\$/{/^[^<\`]/p}" "$page" > "$1.conf"
    check "$1.conf" || fail "the example $1: $(cat wrong.txt)"
    # It counts as it stands there.
    grep '=' "$1.conf" | grep -vxFf counts.txt && fail "not so in the example $1: $(cat counts.txt)"
    true
}
for name in bank school company; do example "$name"; done

# The table has every key that there is, and no other.
sed -n '/keys:begin/,/keys:end/s/^| `\([A-Za-z]*\)` | `\([A-Za-z]*\)` |.*/\1 \2/p' "$page" > documented.txt
sed -n 's/^\[\(.*\)\]$/\1/; t group; s/^#* *\([A-Za-z]*\)=.*/\1/; T; G; s/\(.*\)\n\(.*\)/\2 \1/p; d; :group; h' counts.txt > known.txt
cmp documented.txt known.txt || fail "the page's keys: $(diff documented.txt known.txt)"

printf '[Report]\nMail=Allow\n' > faulty.conf
check faulty.conf && fail "nothing is wrong?"
grep -qx 'Mail=never' counts.txt && grep -q '"Allow".*Mail=never' wrong.txt || fail "said: $(cat counts.txt wrong.txt)"
check missing.conf && fail "there is no such file"
orvanedga --check-policy > counts.txt || fail "without a policy"
