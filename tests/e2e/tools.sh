# The bundled tools as programs: their output, their errors, and a screenshot of a virtual screen.
. "$(dirname "$0")/common.sh"
tools=$1

for tool in sw_vers osascript system_profiler screencapture; do
    "$tools/$tool" --help | grep -q "^usage: $tool" || fail "$tool has no help"
    status=0
    "$tools/$tool" --nonsense > output.txt 2> error.txt || status=$?
    [[ $status -eq 2 && ! -s output.txt ]] || fail "$tool takes nonsense: $status"
    grep -q "^$tool: " error.txt || fail "$tool does not say what is wrong"
done
# Nobody starts the windows by hand.
status=0
"$tools/orvanedga-windows" > output.txt 2> error.txt || status=$?
[[ $status -eq 1 ]] && grep -q 'is started by orvanedga' error.txt || fail "the windows by themselves: $status $(cat error.txt)"

[[ $("$tools/sw_vers" -productVersion) == "$("$tools/sw_vers" | sed -n 's/^ProductVersion:\t//p')" ]] ||
    fail "sw_vers tells two versions"
"$tools/system_profiler" -xml -detailLevel basic > /dev/full 2> error.txt && fail "a full disk is not told"
"$tools/system_profiler" -xml -detailLevel basic | tail -n 1 | grep -qx '</plist>' || fail "no whole profile"

printf '#!/bin/sh\nfor a; do printf "[%%s]" "$a"; done\nexit 5\n' > script
status=0
output=$("$tools/osascript" script 'a b' '' '$HOME;`id`' -x) || status=$?
[[ $status -eq 5 && $output == '[a b][][$HOME;`id`][-x]' ]] || fail "osascript: $status $output"
echo 'echo plain' > plain
mkfifo pipe
for file in plain pipe . missing; do
    status=0
    "$tools/osascript" "$file" > output.txt 2>&1 || status=$?
    [[ $status -eq 126 ]] || fail "osascript runs $file: $status"
done
chmod +x plain
[[ $("$tools/osascript" "$PWD/plain") == plain ]] || fail "osascript does not run an executable script"

# No display: an error and no file. A Wayland display without a desktop portal: the same.
for wayland in "" wayland-0; do
    status=0
    WAYLAND_DISPLAY=$wayland "$tools/screencapture" -x none.png 2> error.txt || status=$?
    [[ $status -eq 1 && ! -e none.png && -s error.txt ]] || fail "screencapture without a display: $status"
done

command -v Xvfb > /dev/null || { echo "Xvfb is missing"; exit 77; }
mkdir -p /tmp/.X11-unix
Xvfb -displayfd 3 -screen 0 320x200x24 -nolisten tcp 3> display.txt 2> xvfb.txt &
xvfb=$!
trap 'kill $xvfb' EXIT
eventually test -s display.txt || fail "Xvfb does not start: $(cat xvfb.txt)"
DISPLAY=:$(cat display.txt)
export DISPLAY

[[ $("$tools/screencapture" --frames) == $'full 0 0 320 200\nvisible 0 0 320 200' ]] || fail "frames"

# size FILE: width and height out of a PNG file's header.
size() { od -An -tu1 -j16 -N8 "$1" | awk '{print $3 * 256 + $4, $7 * 256 + $8}'; }
shot() { # EXPECTED-SIZE ARGUMENT...
    rm -f shot.png
    "$tools/screencapture" "${@:2}" -x shot.png || fail "no shot: ${*:2}"
    [[ $(size shot.png) == "$1" && $(stat -c %a shot.png) == 600 ]] || fail "shot ${*:2}: $(size shot.png)"
}
shot "320 200"
shot "320 200" -R 0,0,0,0
shot "100 50" -R 10,20,100,50
shot "20 200" -R 300,0,100,900
"$tools/screencapture" -R 400,0,10,10 outside.png 2> error.txt && fail "a shot outside the screen"
[[ ! -e outside.png ]] || fail "a file without a shot"
echo precious > precious
ln -s precious link.png
"$tools/screencapture" link.png 2> error.txt && fail "a link is followed"
[[ $(cat precious) == precious ]] || fail "a link is overwritten"
exit 0
