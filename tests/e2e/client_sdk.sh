# The client library as a client's engineer meets it: installed, found, linked, and its examples at work against the
# assistant, with a bus, without one, and behind a bus that filters. ARGS: the build tree, or a prefix; the protocol page;
# where the packages of the Node example are.
. "$(dirname "$0")/common.sh"
examples=$(dirname "$0")/../../client/examples
prefix=$1
if [[ -e $1/CMakeCache.txt ]]; then
    prefix=$PWD/prefix
    for component in runtime client client-dev; do
        cmake --install "$1" --prefix "$prefix" --component "$component" > install.txt || fail "$(cat install.txt)"
    done
fi
assistant=$prefix/bin/orvanedga
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name orvane-dga-client.pc)")
LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name 'liborvane_dga_client.so.0')")
export PKG_CONFIG_PATH LD_LIBRARY_PATH
flags=()
[[ -z ${ORVANEDGA_SANITIZE:-} ]] || flags=("-fsanitize=$ORVANEDGA_SANITIZE")

# The header is clean, and only what is public is let out.
for language in "c -std=c11" "c++ -std=c++20"; do
    # shellcheck disable=SC2046,SC2086
    cc -x $language -fsyntax-only -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags orvane-dga-client) \
        "$prefix/include/orvane_dga_client.h" || fail "the header is not clean in $language"
done
nm -D --defined-only "$LD_LIBRARY_PATH/liborvane_dga_client.so.0" | awk '$3 !~ /^(_|orvane_dga_)/' > others.txt
[[ ! -s others.txt || -n ${ORVANEDGA_SANITIZE:-} ]] || fail "let out as well: $(cat others.txt)"

# shellcheck disable=SC2046
cc "${flags[@]}" "$examples/minimal.c" $(pkg-config --cflags --libs orvane-dga-client) -o minimal ||
    fail "pkg-config's way does not work"

# The assistant of the round before may still make the report of its client's end.
nobody_runs() { ! pgrep -x orvanedga > /dev/null; }
forget_rounds() {
    eventually nobody_runs || fail "the assistant does not end"
    rm -rf /tmp/orvtrace /tmp/orvdga
}
check() { # NAME COMMAND...
    local name=$1
    forget_rounds
    shift
    timeout 60 "$@" > output.txt 2>&1 || fail "$name ends with $?: $(cat output.txt)"
    eventually log_says 'DGADealNotifTargetTool::dealNormalQuitFromClient' || fail "$name: no quit arrived"
    log_says '"confId": "123456"' || fail "$name: no parameters arrived"
    log_says 'DGADealNotifTargetTool::dealHeartBeatFromClient' || fail "$name: no heartbeat arrived"
    eventually log_says '"sendQuality":4' || fail "$name: no meeting data arrived"
    # Network quality 1 went along with every message, so no loss of the network is on record.
    ! cat /tmp/orvdga/orvanedga_meeting_*/*.csv 2> errors.txt | grep -q '^31,1,6,,2' || fail "$name: network down"
}
without_bus=(env DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent)
check C ./minimal "$assistant"
check "C without a bus" "${without_bus[@]}" ./minimal "$assistant"

# What comes of a report is told, whichever way.
tests=$(dirname "$0")
# shellcheck disable=SC2046
cc "${flags[@]}" "$tests/outcome.c" $(pkg-config --cflags --libs orvane-dga-client) -o outcome || fail "outcome.c"
hears() { # COMMAND...
    forget_rounds
    timeout 60 "$@" > output.txt 2> errors.txt || fail "$* ends with $?: $(cat output.txt errors.txt)"
    printf 'ready 2 %s\nresult %s made -\nprotocol 2\n' "$(pkg-config --modversion orvane-dga-client)" \
        "$(basename /tmp/orvdga/12_3_*.zip .zip)" | cmp - output.txt || fail "$* hears: $(cat output.txt)"
}
hears ./outcome "$assistant"
hears "${without_bus[@]}" ./outcome "$assistant"

# The library of protocol 1, from the history where that is there, works with this assistant.
protocol_1=1c330746189e30c621115c96d9d6fb11f6b1b232
if git -c safe.directory='*' -C "$tests/../.." archive --format=tar "$protocol_1:client" > old.tar 2> errors.txt; then
    mkdir old
    tar -C old -xf old.tar
    # shellcheck disable=SC2046
    cc -Iold old/*.c old/examples/minimal.c $(pkg-config --cflags --libs gio-2.0 gio-unix-2.0) -o minimal_1 ||
        fail "the older library cannot be built"
    check "C of protocol 1" ./minimal_1 "$assistant"
    check "C of protocol 1 without a bus" "${without_bus[@]}" ./minimal_1 "$assistant"
else
    echo "the library of protocol 1 is not tried: it is not in this history"
fi
if [[ -z ${ORVANEDGA_SANITIZE:-} ]]; then
    check Python python3 "$examples/minimal.py" "$assistant"
    if command -v node > which.txt; then
        check "Node without a bus" "${without_bus[@]}" node "$examples/minimal.js" "$assistant"
        if [[ -d ${3:-} ]]; then
            check Node env NODE_PATH="$3" node "$examples/minimal.js" "$assistant"
            ! grep -q 'without the bus' output.txt || fail "$(cat output.txt)"
        fi
    fi
fi

# Behind a filter, with the policy that the protocol page names: the bus carries it all the same.
if command -v xdg-dbus-proxy > which.txt; then
    mapfile -t policy < <(sed -n 's/^ *\(--own=com\.tellan[^ ]*\)$/\1/p' "$2")
    [[ ${#policy[@]} -eq 2 ]] || fail "the page names ${#policy[@]} policies"
    mkfifo started
    exec 9<> started # the proxy ends with whoever reads there
    xdg-dbus-proxy --fd=9 "$DBUS_SESSION_BUS_ADDRESS" "$PWD/filtered" --filter "${policy[@]}" &
    read -r -n 1 -t 10 _ <&9 || fail "the filtering proxy does not start"
    check "C behind a filter" env DBUS_SESSION_BUS_ADDRESS="unix:path=$PWD/filtered" ./minimal "$assistant"
    hears env DBUS_SESSION_BUS_ADDRESS="unix:path=$PWD/filtered" ./outcome "$assistant"
    ! log_says 'no session bus' || fail "the assistant does not reach the filtered bus"
    ! log_says 'refuses our name' || fail "the filter refuses the assistant's name"
fi

# By CMake: the installed package, and the folder itself.
for way in 'find_package(OrvaneDgaClient REQUIRED)' "add_subdirectory($(dirname "$examples") client)"; do
    mkdir -p project
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' 'project(client C)' "$way" \
        "add_executable(by_cmake \"$examples/minimal.c\")" \
        'target_link_libraries(by_cmake PRIVATE OrvaneDgaClient::shared)' > project/CMakeLists.txt
    { cmake -S project -B made -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_FLAGS="${flags[*]}" &&
        cmake --build made --target by_cmake; } > cmake.txt 2>&1 || fail "$way: $(cat cmake.txt)"
    rm -rf made project
done
