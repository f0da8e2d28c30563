#!/bin/bash
# Rewrites the golden files of the scenarios under tests/scenarios from the current build, after
# an intended change of behaviour: NAME.stream (and NAME.stderr when `run` writes to standard
# error) and NAME.frr (the FRR translation of every step, then its standard error as comments)
# always, NAME.state, NAME.verify, NAME.check (check's warnings), NAME.dot (the graph) and
# NAME.diff (`diff NAME.yaml:1 NAME.yaml`) where they exist. A new scenario gets its .stream; to
# pin its final state, its verify verdict, its warnings, its graph or its diff, create an empty
# NAME.state, NAME.verify, NAME.check, NAME.dot or NAME.diff first. A scenario with NAME.error is
# one the reader refuses: only that file is rewritten, with `check`'s located error. NAME.args
# holds extra arguments of `run`, NAME.state-args those of `state` (e.g. --step 1),
# NAME.diff-args those of `diff`, NAME.verify-args those of `verify`.
# Review `git diff tests/scenarios` before committing.
#
#   scripts/update-golden.sh [PATTERN]    # only the scenarios whose path contains PATTERN
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
bin=${RIBPOLICY:-$root/build/bin/ribpolicy}
if [ ! -x "$bin" ]; then
  echo "update-golden: $bin not found; build it first: cmake --build --preset release --target ribpolicy" >&2
  exit 2
fi
cd "$root"
pattern=${1:-}

count=0
while IFS= read -r yaml; do
  base=${yaml%.yaml}
  [[ -z $pattern || $base == *"$pattern"* ]] || continue
  if [ -f "$base.error" ]; then
    "$bin" check "$yaml" 2> "$base.error" > /dev/null || true
    count=$((count + 1))
    continue
  fi
  args=()
  if [ -f "$base.args" ]; then read -r -a args < "$base.args" || true; fi
  if ! "$bin" run "${args[@]}" "$yaml" > "$base.stream" 2> "$base.stderr"; then
    echo "update-golden: ribpolicy run failed on $yaml:" >&2
    cat "$base.stderr" >&2
    exit 1
  fi
  [ -s "$base.stderr" ] || rm "$base.stderr"
  state_args=()
  if [ -f "$base.state-args" ]; then read -r -a state_args < "$base.state-args" || true; fi
  if [ -f "$base.state" ]; then "$bin" state "${state_args[@]}" "$yaml" > "$base.state"; fi
  if [ -f "$base.check" ]; then "$bin" check "$yaml" 2> "$base.check" > /dev/null; fi
  if [ -f "$base.dot" ]; then "$bin" graph "$yaml" > "$base.dot"; fi
  if [ -f "$base.diff" ]; then
    diff_args=()
    if [ -f "$base.diff-args" ]; then read -r -a diff_args < "$base.diff-args" || true; fi
    status=0
    "$bin" diff "${diff_args[@]}" "$yaml:1" "$yaml" > "$base.diff" || status=$?
    if [ "$status" -gt 1 ]; then
      echo "update-golden: ribpolicy diff failed on $yaml" >&2
      exit 1
    fi
  fi
  # A scenario whose names FRR cannot hold is refused (exit 2); its file holds the refusal.
  "$bin" frr --every-step "$yaml" > "$base.frr" 2> "$base.frr-err" || true
  if [ -s "$base.frr-err" ]; then
    { echo '! standard error:'; sed 's/^/! /' "$base.frr-err"; } >> "$base.frr"
  fi
  rm "$base.frr-err"
  if [ -f "$base.verify" ]; then
    verify_args=()
    if [ -f "$base.verify-args" ]; then read -r -a verify_args < "$base.verify-args" || true; fi
    status=0
    "$bin" verify "${verify_args[@]}" "$yaml" > "$base.verify" || status=$?
    if [ "$status" -gt 1 ]; then
      echo "update-golden: ribpolicy verify failed on $yaml" >&2
      exit 1
    fi
  fi
  count=$((count + 1))
done < <(find tests/scenarios -name '*.yaml' | LC_ALL=C sort)

echo "update-golden: rewrote the golden files of $count scenario(s); review git diff tests/scenarios"
