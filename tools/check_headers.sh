#!/usr/bin/env bash
# Fails if a header does not compile alone, or not twice in one file.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/source_files.sh

compileAlone() {
  printf '#include "%s"\n#include "%s"\n' "${1#./}" "${1#./}" |
    g++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. -x c++ - ||
    { echo "${1#./}: does not compile alone"; return 1; }
}
export -f compileAlone

sourceFiles '*.h' | xargs -0 -n 1 -P "$(nproc)" bash -c 'compileAlone "$0"'
