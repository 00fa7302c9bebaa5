# The page in a browser: page.sh ARCHIVES PACKAGES PAGE.
. "$(dirname "$0")/../e2e/common.sh"
if [[ ! -d $2/node_modules || ! -e $3 ]]; then
    echo "The page or its tests' packages could not be made here (see npm.log in the build tree): skipped." >&2
    exit 77
fi
browser=$(command -v chromium chromium-browser google-chrome | head -n 1) || { echo "There is no browser: skipped." >&2; exit 77; }
export BROWSER_PROGRAM=$browser ARCHIVES=$1 PACKAGES=$2 PAGE=$3
exec node --test --test-reporter=spec "$(dirname "$0")/page.test.mjs"
