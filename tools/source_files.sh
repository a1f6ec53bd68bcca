# shellcheck shell=bash
# Sourced by the checks: sourceFiles PATTERN... prints the files of the tree with such a name, each
# ended by a NUL and relative to the root, but for what was built.
sourceFiles() {
  local names=() name
  for name in "$@"; do names+=(-o -name "$name"); done
  find . \( -path './build*' -o -path ./.git -o -name __pycache__ \) -prune \
    -o -type f \( "${names[@]:1}" \) -print0 | sort -z
}
