# A simulated meeting gives the expected trace, to the byte but for time, thread, process ids and tracking id.
. "$(dirname "$0")/common.sh"
orvane-client-sim --quiet --speed 100 --trace-out trace.csv meeting > output.txt 2>&1 ||
    fail "the meeting ended with $?: $(cat output.txt)"
# The last two fields go; the two process ids are those of this run.
sed -E 's/,[^,]*,[^,]*$//; s/^(39,1,1,(targetpid|dgapid),0,)[0-9]+/\1PID/' trace.csv > found.csv
diff -u "$1" found.csv || fail "the trace differs from the expected one"
