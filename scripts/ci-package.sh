#!/usr/bin/env bash
# Checks the library as other projects use it, from a clean checkout:
#  1. the library alone configures without the program's and tests' dependencies, builds,
#     and installs into a temporary prefix;
#  2. the host example builds against that prefix with find_package and its output matches
#     examples/host/expected.txt;
#  3. pkg-config describes the installed library well enough to build the same example, C++20
#     flag included, and an older standard gets a clear error instead of one deep inside;
#  4. the host example also builds through add_subdirectory of the source tree, where this
#     project's warnings-as-errors stay off;
#  5. the bash completion completes the commands and option values.
# Everything is built under one temporary directory, removed at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
# The build tools (and pkg-config) on a fresh machine; the library-only builds below must
# not use the rest, which the cache checks show.
scripts/setup.sh >/dev/null
src=$PWD
work=$(mktemp -d "${TMPDIR:-/tmp}/ribpolicy-package.XXXXXX")
trap 'rm -rf "$work"' EXIT
jobs=${RIBPOLICY_JOBS:-2}
# Built without optimisation: what is checked is how the library installs and embeds, and the
# library is compiled twice (installed, and through add_subdirectory).
build_type=${RIBPOLICY_PACKAGE_BUILD_TYPE:-None}
expected=$src/examples/host/expected.txt

step() { echo "== $*"; }
fail() {
  echo "ci-package: FAILED: $*" >&2
  exit 1
}
# Runs a host binary and compares its output with the expected one.
check_host() {
  "$1" >"$work/host.out" || fail "$1 exited $?"
  diff -u "$expected" "$work/host.out" || fail "$1: output differs from $expected"
}

step "library alone: configure, build, install"
cmake -S "$src" -B "$work/lib" -DRIBPOLICY_LIBRARY_ONLY=ON -DCMAKE_BUILD_TYPE="$build_type" >"$work/lib.log" \
  || { cat "$work/lib.log"; fail "configure"; }
if grep -Eq '^(LIBYAML_FOUND|nlohmann_json_DIR|CLI11_DIR|GTest_DIR|benchmark_DIR):' "$work/lib/CMakeCache.txt"; then
  fail "the library-only build looked for the program's or the tests' dependencies"
fi
cmake --build "$work/lib" -j "$jobs" >"$work/lib-build.log" || { cat "$work/lib-build.log"; fail "build"; }
cmake --install "$work/lib" --prefix "$work/prefix" >/dev/null
prefix=$work/prefix
for f in include/ribpolicy/RibRouteMap/Host.h include/ribpolicy/RibText/Text.h \
  include/ribpolicy/RibRouteMap/root/Root.h include/ribpolicy/framework/rib/MioSink.h; do
  [ -f "$prefix/$f" ] || fail "not installed: $f"
done
# The install holds the public headers and what they include: no state machine, no reactor.
internals=$(find "$prefix/include" -name '*Sm.h' -o -name 'Reactor*.h' -o -path '*/mio/*')
[ -z "$internals" ] || fail "internals installed: $internals"
config=$(find "$prefix" -name ribpolicyConfigVersion.cmake)
[ -n "$config" ] || fail "no ribpolicyConfigVersion.cmake installed"
[ ! -e "$prefix/bin/ribpolicy" ] || fail "the library-only install holds the program"

step "host example: find_package(ribpolicy 0.2 CONFIG)"
cmake -S examples/host -B "$work/host" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE="$build_type" \
  >"$work/host.log" || { cat "$work/host.log"; fail "configure the host example"; }
cmake --build "$work/host" >"$work/host-build.log" || { cat "$work/host-build.log"; fail "build the host example"; }
check_host "$work/host/ribpolicy_host"

step "host example: pkg-config"
pc_dir=$(dirname "$(find "$prefix" -name ribpolicy.pc)")
flags=$(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs ribpolicy-text) || fail "pkg-config ribpolicy-text"
[ "$(PKG_CONFIG_PATH=$pc_dir pkg-config --modversion ribpolicy)" = "0.2.0" ] || fail "pkg-config version"
# No flag of its own: the C++20 flag comes from the .pc file.
# shellcheck disable=SC2086 # the flags are words
"${CXX:-c++}" examples/host/main.cpp $flags -o "$work/host-pc" || fail "build with: $flags"
check_host "$work/host-pc"
# shellcheck disable=SC2086
if "${CXX:-c++}" -std=c++17 -fsyntax-only -I"$prefix/include/ribpolicy" examples/host/main.cpp \
  2>"$work/cxx17.log"; then
  fail "the host example compiled as C++17"
fi
grep -q "ribpolicy needs C++20" "$work/cxx17.log" || { cat "$work/cxx17.log"; fail "no clear error for C++17"; }

step "host example: add_subdirectory"
cmake -S examples/host -B "$work/sub" -DRIBPOLICY_HOST_VIA_SUBDIR=ON -DCMAKE_BUILD_TYPE="$build_type" \
  >"$work/sub.log" || { cat "$work/sub.log"; fail "configure the host example with the source tree"; }
if grep -Eq '^(LIBYAML_FOUND|nlohmann_json_DIR|CLI11_DIR|GTest_DIR|benchmark_DIR):' "$work/sub/CMakeCache.txt"; then
  fail "an embedded library looked for the program's or the tests' dependencies"
fi
if grep -rq -- '-Werror' "$work/sub/ribpolicy/CMakeFiles/ribpolicy_library.dir/flags.make"; then
  fail "an embedded library compiles with -Werror"
fi
cmake --build "$work/sub" -j "$jobs" >"$work/sub-build.log" || { cat "$work/sub-build.log"; fail "build through add_subdirectory"; }
check_host "$work/sub/ribpolicy_host"

step "bash completion"
# Prints the completions of the words given, the last being the one completed.
complete_words() {
  bash -c '. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _ribpolicy; echo "${COMPREPLY[*]}"' \
    _ dist/ribpolicy.bash "$@"
}
[ "$(complete_words ribpolicy v)" = "verify" ] || fail "completion of the commands"
[ "$(complete_words ribpolicy check --format "")" = "text json" ] || fail "completion of check --format"
[ "$(complete_words ribpolicy run --format j)" = "json" ] || fail "completion of run --format"
[ "$(complete_words ribpolicy test --against "")" = "fresh" ] || fail "completion of test --against"
[ "$(complete_words ribpolicy run --trace R)" = "RouteMap= RibDynamicPrefixList=" ] \
  || fail "completion of --trace"

echo "ci-package: all checks passed"
