#!/usr/bin/env bash
# Runs clang-tidy over those files of a build folder that the change at hand touches: what the commits
# ahead of origin/main change, without such the last commit, and what is not committed yet. A header is
# looked at through one file that includes it. With CORVANTHELIS_CHECK=all: over all of them.
# Usage: check_tidy.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build="$(realpath "${1:-build/release}")"
secondsForChange=150

# The commands without the precompiled headers, which are those of another compiler; prints the files.
compiledFiles() {
  python3 -c '
import json, os, re, sys
entries = json.load(open(sys.argv[1]))
for entry in entries:
    entry["command"] = re.sub(r"-Winvalid-pch|-include \S*cmake_pch\.hxx", "", entry["command"])
json.dump(entries, open(sys.argv[2], "w"))
files = {os.path.relpath(entry["file"]) for entry in entries}
print("\n".join(sorted(f for f in files if not f.startswith((".", "build")))))
' "$build/compile_commands.json" "$COMMANDS/compile_commands.json"
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
COMMANDS="$(mktemp -d)"
trap 'rm -rf "$LEFT_OUT" "$COMMANDS"' EXIT
SECONDS_LIMIT=0
if [[ "${CORVANTHELIS_CHECK:-}" != all ]]; then SECONDS_LIMIT=$((EPOCHSECONDS + secondsForChange)); fi
export LEFT_OUT SECONDS_LIMIT

mapfile -t units < <(wanted)
if ((${#units[@]} > 0)); then
  printf '%s\n' "${units[@]}" | xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'tidy "$@"' tidy "$COMMANDS"
fi
if [[ -s "$LEFT_OUT" ]]; then
  echo "note: ran into its limit of $secondsForChange s with $(wc -l <"$LEFT_OUT") of ${#units[@]}" \
    "changed files left: ./test all looks at every file"
fi
