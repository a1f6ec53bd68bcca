#!/usr/bin/env bash
# Names the source files that clang-format would change, and fails if there are any.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/source_files.sh

checkLayout() {
  clang-format-14 --dry-run --Werror "$1" >/dev/null 2>&1 ||
    { echo "${1#./}: run clang-format-14 -i on it"; return 1; }
}
export -f checkLayout

sourceFiles '*.h' '*.cpp' | xargs -0 -n 1 -P "$(nproc)" bash -c 'checkLayout "$0"'
