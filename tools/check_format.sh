#!/usr/bin/env bash
# Names the source files that clang-format would change, and fails if there are any.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/source_files.sh

# Many at a time: to start it takes longer than to look at a file.
sourceFiles '*.h' '*.cpp' |
  xargs -0 -n 16 -P "$(nproc)" clang-format-14 --dry-run --Werror 2>&1 |
  sed -nE 's/^(\.\/)?([^:]+):[0-9]+:.*should be clang-formatted.*/\2: run clang-format-14 -i on it/p' |
  sort -u
