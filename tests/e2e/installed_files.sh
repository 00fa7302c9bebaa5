# What is installed: each component has its own, every program and library is hardened and moves with its folder, and a
# product's build says nothing about where it was built. ARGS: the build tree, or a prefix; the source tree.
. "$(dirname "$0")/common.sh"
product=yes
prefix=$1
if [[ -e $1/CMakeCache.txt ]]; then
    grep -q '^CMAKE_BUILD_TYPE:[A-Z]*=Rel' "$1/CMakeCache.txt" || product=
    prefix=$PWD/moved/into\ a\ folder
    cmake --install "$1" --prefix "$prefix" --component devtools > install.txt || fail "$(cat install.txt)"
    [[ ! -e $prefix/bin/orvanedga ]] || fail "the assistant is among the devtools"
    rm -rf "$prefix"
    for component in runtime client client-dev; do
        cmake --install "$1" --prefix "$prefix" --component "$component" > install.txt || fail "$(cat install.txt)"
    done
    [[ $(ls "$prefix/bin") == orvanedga ]] || fail "a product with tools for development: $(ls "$prefix/bin")"
    ! grep -Ei 'ssl|crypto|httplib' "$prefix/share/orvanedga/system-libraries.txt" || fail "libraries of a test server"
fi
! command -v desktop-file-validate > which.txt || desktop-file-validate "$prefix/share/applications/orvanedga.desktop"

count=0
while IFS= read -r -d '' file; do
    [[ $(head -c 4 "$file" | tr -d '\0') == $'\x7fELF' ]] || continue
    count=$((count + 1))
    name=${file#"$prefix"/}
    readelf -W -h -l -d --dyn-syms "$file" > elf.txt
    check() { grep -qE -- "$1" elf.txt || fail "$name: $2"; }
    check 'Type: +DYN' "not position-independent"
    check 'GNU_RELRO' "no RELRO"
    check 'GNU_STACK +0x0+ 0x0+ 0x0+ 0x0+ 0x0+ RW +0x' "an executable stack"
    paths=$(sed -n 's/.*(R\(UN\)\?PATH).*\[\(.*\)\]$/\2/p' elf.txt)
    [[ -z $paths || ! $paths =~ (^|:)[^$] ]] || fail "$name: looks for libraries in $paths"
    readelf -n "$file" > notes.txt 2> errors.txt
    grep -q 'Build ID: [0-9a-f]\{40\}' notes.txt || fail "$name: no build id"
    grep -q '"name":"orvanedga","version":"' notes.txt || fail "$name: no package note"
    [[ -z ${ORVANEDGA_SANITIZE:-} ]] || continue
    check 'FLAGS.* NOW|BIND_NOW' "no immediate binding"
    check '__stack_chk_fail' "no stack protector"
    [[ -n $product ]] || continue
    ! strings -a "$file" | grep -F -- "$2" || fail "$name: names the folder of its sources"
    [[ $(uname -m) != x86_64 ]] || objdump -d --no-show-raw-insn "$file" | grep endbr64 > branches.txt ||
        fail "$name: no branch protection"
done < <(find "$prefix" -type f -size +1k -not -path '*/debug/*' -print0)
# The bill of materials is SPDX, and has every library that is loaded with the version it was linked with.
python3 - "$prefix" <<'PYTHON' || fail "the bill of materials"
import glob, json, sys
bills = glob.glob(sys.argv[1] + "/share/**/orvanedga.spdx.json", recursive=True)
assert bills, "there is none"
versions = {}
for bill in map(json.load, map(open, bills)):
    ids = {package["SPDXID"] for package in bill["packages"]}
    assert bill["spdxVersion"] == "SPDX-2.3" and len(ids) == len(bill["packages"])
    assert {relation["relatedSpdxElement"] for relation in bill["relationships"]} == ids
    versions.update({package["name"]: package["versionInfo"] for package in bill["packages"]})
for library in open(sys.argv[1] + "/share/orvanedga/system-libraries.txt").read().split() + ["nlohmann-json"]:
    assert versions.get(library, "NOASSERTION")[0].isdigit(), library
PYTHON
[[ $count -ge 8 ]] || fail "only $count programs and libraries are installed"
[[ -z $product || -n ${ORVANEDGA_SANITIZE:-} ]] ||
    readelf -W --dyn-syms "$prefix"/lib*/orvanedga/*.so | grep -q '_chk@GLIBC' || fail "nothing is fortified"
echo "$count programs and libraries"
