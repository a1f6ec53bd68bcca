#!/usr/bin/env bash
# Installs a build as `cmake --install` does and uses what it has installed.
# Usage: install.sh BUILD_FOLDER
set -euo pipefail
place="$(mktemp -d)"
trap 'rm -rf "$place"' EXIT
cmake --install "$1" --prefix "$place" >/dev/null
export HOME="$place/home" XDG_DATA_DIRS="$place/none"
mkdir "$HOME"
"$place/bin/corvanthelis" presets list | grep -q '01 Bus Glue'
[[ "$(LV2_PATH="$place/lib/lv2" lv2ls | wc -l)" == 4 ]]
