# The check of the string tables takes those that are shipped and names the place of each kind of fault.
. "$(dirname "$0")/common.sh"
check=$1
texts=$2/src/DGAMonitor/Const/DGALocalizationStrings.h
shipped=$2/resources
"$check" "$texts" "$shipped"/*.lproj/Localizable.strings 2> output.txt || fail "$(cat output.txt)"

# expect LANGUAGE SED-SCRIPT PATTERN: the table, changed by the script, is refused with a line like that.
expect() {
    mkdir -p "$1.lproj"
    sed "$2" "$shipped/$1.lproj/Localizable.strings" > "$1.lproj/Localizable.strings"
    if "$check" "$texts" "./$1.lproj/Localizable.strings" 2> output.txt; then
        fail "$1, $2: no fault found"
    fi
    grep -q "^./$1.lproj/Localizable.strings:$3" output.txt || fail "$1, $2: $(cat output.txt)"
}
expect French '/^"Wait"/d' '0: .*missing: Wait'
expect French 's/^"Wait"/"Waits"/' '7: .*no such text: Waits'
expect French '/^"Wait"/{h;d};/^"Save" =/G' '9: .*expected here: Wait'
expect French 's/"Attendre";/"Attendre"/' '7: .*expected ;'
expect French 's/"Attendre"/""/' '7: .*empty'
expect French 's/"Attendre"/"Attendre\\U000A"/' '7: .*blank at an end'
expect French 's/"Attendre"/"Atten\\tdre"/' '7: .*control character'
expect French 's/"Attendre"/"Attendre..."/' '7: .*ellipsis'
expect French 's/à %@/à/' '[0-9]*: .*placeholders'
expect English 's/= "Wait"/= ""/' '7: .*empty'

sed 's/\[\] = "Wait";/[] = kOther;/' "$texts" > texts.h
"$check" texts.h "$shipped/English.lproj/Localizable.strings" 2> output.txt && fail "a text that is not plain was taken"
grep -q '^texts.h:[0-9]*: .*not a plain text' output.txt || fail "$(cat output.txt)"
