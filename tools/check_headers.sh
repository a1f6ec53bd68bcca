#!/usr/bin/env bash
# Fails if a header lacks `#pragma once` or does not compile alone. One that a source file of the
# libraries and programs includes before all else is compiled alone with every build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/source_files.sh

firstIncludes() {
  sourceFiles '*.cpp' | grep -zv '^\./tests/' |
    xargs -0 grep -hm1 '^#include' | sed -nE 's/^#include "(.*)"$/.\/\1/p' | sort -u
}

compileAlone() {
  g++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. -include "$1" -x c++ /dev/null ||
    { echo "${1#./}: does not compile alone"; return 1; }
}
export -f compileAlone

lacking="$(sourceFiles '*.h' | xargs -0 grep -c '^#pragma once' | sed -n 's/:0$//p')"
if [[ -n "$lacking" ]]; then
  echo "no #pragma once: $lacking"
  exit 1
fi
sourceFiles '*.h' | tr '\0' '\n' | grep -vxFf <(firstIncludes) |
  xargs -d '\n' -n 1 -P "$(nproc)" bash -c 'compileAlone "$0"'
