#!/usr/bin/env bash
# Runs clang-tidy over those files of a build folder that the change at hand touches: what the commits
# ahead of origin/main change, without such the last commit, and what is not committed yet. A header is
# looked at through one file that includes it. With CORVANTHELIS_CHECK=all: over all of them.
# Usage: check_tidy.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build="$(realpath "${1:-build/release}")"
secondsForChange=150

compiledFiles() {
  python3 -c '
import json, os, sys
files = {os.path.relpath(entry["file"]) for entry in json.load(open(sys.argv[1]))}
print("\n".join(sorted(f for f in files if not f.startswith((".", "build")))))
' "$build/compile_commands.json"
}

changedFiles() {
  local base
  base="$(git merge-base HEAD origin/main 2>/dev/null)" || base=""
  if [[ -z "$base" || "$base" == "$(git rev-parse HEAD)" ]]; then base=HEAD~1; fi
  git diff --name-only --diff-filter=d "$base" -- '*.h' '*.cpp'
  git ls-files --others --exclude-standard -- '*.h' '*.cpp'
}

# The compiled files among those named on stdin, and for each header one that includes it.
unitsOf() {
  local name
  while read -r name; do
    if [[ "$name" == *.cpp ]]; then
      echo "$name"
    elif [[ -e "${name%.h}.cpp" ]]; then
      echo "${name%.h}.cpp"
    else
      git grep -lF "#include \"$name\"" -- '*.cpp' | head -n 1 || true
    fi
  done | sort -u | comm -12 - <(compiledFiles)
}

# Its count of suppressed warnings goes to stderr: shown only with a finding.
tidy() {
  local output
  if ((SECONDS_LIMIT > 0 && EPOCHSECONDS >= SECONDS_LIMIT)); then
    echo "$2" >>"$LEFT_OUT"
    return
  fi
  # The options are those of another compiler.
  output="$(clang-tidy-14 -p "$1" --quiet --extra-arg=-Wno-unknown-warning-option "$2" 2>&1)" ||
    { echo "$output"; return 1; }
}
export -f tidy

wanted() {
  if [[ "${CORVANTHELIS_CHECK:-}" == all ]]; then compiledFiles; else changedFiles | unitsOf; fi
}

LEFT_OUT="$(mktemp)"
trap 'rm -f "$LEFT_OUT"' EXIT
SECONDS_LIMIT=0
if [[ "${CORVANTHELIS_CHECK:-}" != all ]]; then SECONDS_LIMIT=$((EPOCHSECONDS + secondsForChange)); fi
export LEFT_OUT SECONDS_LIMIT

mapfile -t units < <(wanted)
if ((${#units[@]} > 0)); then
  printf '%s\n' "${units[@]}" | xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'tidy "$@"' tidy "$build"
fi
if [[ -s "$LEFT_OUT" ]]; then
  echo "note: ran into its limit of $secondsForChange s with $(wc -l <"$LEFT_OUT") of ${#units[@]}" \
    "changed files left: ./test all looks at every file"
fi
