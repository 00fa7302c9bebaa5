# orvane-report without a browser: command.sh ARCHIVES.
. "$(dirname "$0")/../e2e/common.sh"
archives=$1

# Every line of every trace is a record, in UTC, whatever this machine's zone is.
TZ=Asia/Tokyo orvane-report --jsonl "$archives" > records.jsonl 2> said.txt || fail "$(cat said.txt)"
lines=$(for archive in "$archives"/*/*.zip; do unzip -p "$archive" 'orvdga_trace_*.csv'; done | wc -l)
# Beside them stands what each summary says.
grep -q '"module":"report"' records.jsonl || fail "no summary"
grep -v '"module":"report"' records.jsonl > rows.jsonl
[[ $(wc -l < rows.jsonl) -eq $lines ]] || fail "$(wc -l < rows.jsonl) records of $lines lines"
[[ $(grep -c '"time":"2026-11-21T[0-9:.]*Z","offset":"+01:00"' rows.jsonl) -eq $lines ]] || fail "times: $(head -n 1 records.jsonl)"
grep -q '"name":"username","time":"2026-11-21T09:[^}]*"text":"Tomás Rivera"' records.jsonl || fail "the name is not decoded"
grep -q '"module":"network status","name":"state","time":[^}]*"value":2' records.jsonl || fail "no loss of the network"
grep -q '"name":"cpu usage"[^}]*"value":[^}]*"process":[0-9]*,"sample":[0-9]' records.jsonl || fail "no CPU record"

# Damaged ones are named and passed over; the others are all there.
mkdir mixed && cp "$archives"/crash/*.zip mixed/good.zip
head -c 3000 mixed/good.zip > mixed/cut.zip
echo 'no archive' > mixed/text.zip
: > mixed/empty.zip
good=$(orvane-report --jsonl mixed/good.zip | wc -l)
status=0
orvane-report --jsonl mixed > some.jsonl 2> said.txt || status=$?
[[ $status -eq 1 && $(wc -l < some.jsonl) -eq $good && $(grep -c 'passed over' said.txt) -eq 3 ]] || fail "status $status: $(cat said.txt)"

# Without a summary the zone is the one that the trace was written in, and without either there is none.
mkdir parts && unzip -q mixed/good.zip -d parts && rm parts/orvdga_report.json
(cd parts && TZ=Asia/Tokyo zip -q ../old.zip ./*.ovt && TZ=Etc/GMT-1 zip -q ../old.zip orvdga_trace_*.csv)
orvane-report --jsonl old.zip > old.jsonl
[[ -s old.jsonl && $(grep -cF '"offset":"+01:00"' old.jsonl) -eq $(wc -l < old.jsonl) ]] || fail "zone: $(head -n 1 old.jsonl)"
zip -q -d old.zip 'orvdga_trace_*'
orvane-report old.zip -o old.html || fail "an archive of logs only is refused"

# A damaged file costs an archive that file only.
cp mixed/good.zip broken.zip
log=$(grep -abo -m 1 orvgpc.ovt broken.zip | head -n 1 | cut -d: -f1)
printf '\377\377\377' | dd of=broken.zip bs=1 seek=$((log + 60)) conv=notrunc 2> /dev/null
orvane-report --mask broken.zip -o broken.html 2> said.txt || fail "$(cat said.txt)"
unzip -p broken.masked.zip orvdga_masked.txt | grep -q 'left out: orvgpc.ovt (damaged' || fail "not left out"
unzip -l broken.masked.zip | grep -q orvdga_trace_ || fail "no trace is left"
rm broken.*

# Nor is a picture, in which nothing can be masked, left in.
printf '\211PNG\r\n\032\n\0' > picture.png
cp mixed/good.zip seen.zip
zip -q seen.zip picture.png
orvane-report --mask seen.zip -o seen.html || fail "masking with a picture"
unzip -p seen.masked.zip orvdga_masked.txt | grep -q 'left out: picture.png (not a text)' || fail "the picture is not named"
! unzip -l seen.masked.zip | grep -q picture.png || fail "the picture is left"
rm seen.*

# Nothing that names somebody is left in what is masked, and the same person is the same everywhere.
secrets='tom[áa]s|rivera|[åa]sa|[öo]berg|kenji|watanabe|example\.com|53687|4417700923|5550001111|203\.0\.113|9e107d9d|arion'
orvane-report --mask --mapping mapping.json "$archives"/*/*.zip -o masked.html || fail "masking"
for archive in ./*.masked.zip; do
    unzip -p "$archive" > all.txt
    unzip -p "$archive" '*_trace_*.csv' '*topic.txt' | tr ',' '\n' | base64 -di >> all.txt 2> /dev/null || true
    ! grep -aEio -m 3 "$secrets" all.txt || fail "left in $archive"
done
orvane-report --jsonl --mask "$archives" > masked.jsonl
! grep -Eio -m 3 "$secrets" masked.jsonl || fail "left in the records"
[[ $(grep '"name":"username"' masked.jsonl | grep -o 'person-[0-9]*' | sort -u | wc -l) -eq 3 ]] || fail "not three people"
grep -q '"Tomás Rivera"' mapping.json || fail "the mapping lacks a name"
[[ $(stat -c %a mapping.json masked.html | sort -u) == 600 ]] || fail "others may read it"

mkdir desktop
# shellcheck disable=SC2016
printf '#!/bin/sh\nprintf %%s "$1" > opened.txt\n' > desktop/xdg-open
chmod +x desktop/xdg-open
PATH=$PWD/desktop:$PATH orvane-report --open "$archives"/crash/*.zip || fail "--open"
opened() { [[ -s $(cat opened.txt 2> /dev/null) ]]; }
eventually opened || fail "nothing was opened"

! orvane-report --jsonl "$archives" > /dev/full 2> said.txt || fail "a full disk is no failure"
for wrong in "" "$archives" "--jsonl" "--jsonl -o x $archives" "--nonsense"; do
    status=0
    # shellcheck disable=SC2086
    orvane-report $wrong > /dev/null 2>&1 || status=$?
    [[ $status -eq 2 ]] || fail "orvane-report $wrong: status $status"
done
