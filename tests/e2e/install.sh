# What is installed runs from its prefix, and finds its libraries and scenarios there.
. "$(dirname "$0")/common.sh"
cmake --install "$1" --prefix "$PWD/prefix" > install.txt || fail "$(cat install.txt)"
for file in bin/orvanedga bin/orvane-client-sim bin/orvane-report lib/orvanedga/libdgacore.so share/orvanedga/scenarios/hello.json \
    share/orvanedga/{English,zh_CN,pl}.lproj/Localizable.strings \
    lib/orvanedga/{telemetry_sender.so,mail_composer} share/orvanedga/{compose.sh,SendViaMail.scpt,SendViaOutlook.scpt,orvdga_report.schema.json} \
    lib/orvanedga/{sw_vers,osascript,system_profiler,screencapture,pac_evaluator}; do
    [[ -e prefix/$file ]] || fail "$file is not installed"
done
PATH=$PWD/prefix/bin:/usr/bin:/bin orvane-client-sim --show hello > output.txt 2>&1 || fail "$(cat output.txt)"
grep -q 'session parameters' output.txt || fail "no trace was shown: $(cat output.txt)"
