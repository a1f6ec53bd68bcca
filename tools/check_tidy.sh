#!/usr/bin/env bash
# Runs clang-tidy over the files of the tree that the given build folder compiles.
# Usage: check_tidy.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build="$(realpath "${1:-build/release}")"

compiledFiles() {
  python3 -c '
import json, os, sys
files = {os.path.relpath(entry["file"]) for entry in json.load(open(sys.argv[1]))}
print("\n".join(sorted(f for f in files if not f.startswith((".", "build")))))
' "$build/compile_commands.json"
}

# Its count of suppressed warnings goes to stderr: shown only with a finding.
tidy() {
  local output
  # The options are those of another compiler.
  output="$(clang-tidy-14 -p "$1" --quiet --extra-arg=-Wno-unknown-warning-option "$2" 2>&1)" ||
    { echo "$output"; return 1; }
}
export -f tidy

compiledFiles | xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'tidy "$@"' tidy "$build"
