#!/usr/bin/env bash
# Checks the tree against the house style and exits non-zero on any finding:
#  - clang-format 14 (.clang-format) over every tracked C++ file, changing nothing;
#  - clang-tidy (.clang-tidy, every warning an error) over the library's and the program's
#    sources, with the compile commands of a build directory configured for the purpose
#    (build-lint/, or LINT_BUILD_DIR; it is configured, not built).
set -uo pipefail
cd "$(dirname "$0")/.."

# The linters and the program's dependencies (Debian packages), installed when missing.
scripts/setup.sh >/dev/null || exit 2
missing=()
for p in clang-format-14 clang-tidy-14; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ "${#missing[@]}" -gt 0 ] && command -v apt-get >/dev/null; then
  echo "installing: ${missing[*]}"
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq && $sudo apt-get install -y -qq "${missing[@]}" >/dev/null || exit 2
fi

pick() {
  local tool
  for tool in "$@"; do
    if command -v "$tool" >/dev/null; then
      command -v "$tool"
      return 0
    fi
  done
  echo "lint: none of $* is installed" >&2
  exit 2
}
format=$(pick clang-format-14 clang-format)
tidy=$(pick clang-tidy-14 clang-tidy)
build=${LINT_BUILD_DIR:-build-lint}
jobs=${LINT_JOBS:-2}
status=0

mapfile -t cxx < <(git ls-files '*.cpp' '*.h')
echo "== clang-format: ${#cxx[@]} files"
if ! "$format" --dry-run --Werror "${cxx[@]}"; then
  echo "lint: formatting differs (clang-format -i FILE fixes it)" >&2
  status=1
fi

# clang-tidy reads the compiler's command line, so the build must not go through a compiler
# launcher.
echo "== clang-tidy: configuring $build"
if ! cmake -S . -B "$build" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_COMPILER_LAUNCHER= \
  -DRIBPOLICY_TESTS=OFF -DRIBPOLICY_BENCH=OFF >"$build.log" 2>&1; then
  cat "$build.log" >&2
  echo "lint: cannot configure $build" >&2
  exit 2
fi
rm -f "$build.log"
mapfile -t sources < <(git ls-files 'framework/*.cpp' 'RibRouteMap/*.cpp' \
  'RibDynamicPrefixList/*.cpp' 'RoutingPolicyMap/*.cpp' 'RibText/*.cpp' 'tools/*.cpp')
echo "== clang-tidy: ${#sources[@]} files"
if ! printf '%s\n' "${sources[@]}" |
  xargs -P "$jobs" -n 4 "$tidy" -p "$build" --quiet --warnings-as-errors='*' 2>/dev/null; then
  echo "lint: clang-tidy findings above" >&2
  status=1
fi

if [ "$status" -eq 0 ]; then echo "lint: clean"; fi
exit "$status"
