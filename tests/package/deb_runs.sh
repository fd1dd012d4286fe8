#!/bin/sh
# Builds the Debian package of a build tree, unpacks it into a directory of its own and runs the
# program from there:
#
#     deb_runs.sh BUILD_DIRECTORY VERSION [SAMPLE_BUILDER]
#
# With a sample builder the unpacked program also converts the sample model. Exit code 77 means
# that this host has no dpkg-deb.
set -eu

build=$1
version=$2
sampleBuilder=${3:-}

command -v dpkg-deb >/dev/null || exit 77

work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
fail() {
    echo "deb_runs: $*" >&2
    exit 1
}

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log" >&2; fail "the package was not built"; }
set -- "$work"/mod2neu_"$version"_*.deb
[ -f "$1" ] || fail "no package of version $version"
[ "$(dpkg-deb -f "$1" Version)" = "$version" ] || fail "the package has another version"
dpkg-deb -x "$1" "$work/root"

cd "$work/root/usr"
for file in share/man/man1/mod2neu.1 share/doc/mod2neu/README.md \
    share/doc/mod2neu/docs/neutral-file.md share/bash-completion/completions/mod2neu \
    share/zsh/*/_mod2neu; do
    [ -s "$file" ] || fail "$file is missing"
done
grep -q "^\.TH .*\"mod2neu $version\"" share/man/man1/mod2neu.1 ||
    fail "the manual page is of another version"
[ "$(bin/mod2neu --version)" = "mod2neu $version" ] || fail "the program is of another version"
bin/mod2neu --help | grep -q '^Usage: mod2neu ' || fail "no usage"

[ -n "$sampleBuilder" ] || exit 0
"$sampleBuilder" "$work/sample.mod"
mkdir "$work/temp"
TEMP=$work/temp bin/mod2neu "$work/sample.mod" 2>"$work/messages" </dev/null
printf '   -1\r\n   100\r\n' >"$work/start"
head -n 2 "$work/sample.neu" | cmp - "$work/start" ||
    { cat "$work/messages" >&2; fail "the sample was not converted"; }
