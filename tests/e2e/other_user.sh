# The tests of what depends on rights, as a user who has none.
. "$(dirname "$0")/common.sh"
if [[ $(id -u) != 0 ]]; then
    echo "skipped: the others run as such a user"
    exit 77
fi
other=1 # daemon: a bus wants a user that it can look up
install -d -m 700 -o $other -g $other /tmp/other /tmp/other/run
cd /tmp/other
for program in platform_tests support_tests task_tests report_log_tests; do
    # The build tree is not this user's to move things in.
    setpriv --reuid $other --regid $other --clear-groups env -u DBUS_SESSION_BUS_ADDRESS HOME=/tmp/other \
        XDG_RUNTIME_DIR=/tmp/other/run dbus-run-session -- "$ORVANEDGA_BIN/../tests/$program" --gtest_brief=1 \
        --gtest_filter=-TaskToolTest.RunsNothingWithoutTheResourceFolder || fail "$program"
done
