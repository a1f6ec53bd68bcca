#!/usr/bin/env bash
# Fails if a text file holds a path of somebody's machine or a note of unfinished work.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source tools/source_files.sh

# Brackets keep this file from finding itself.
machinePaths='(^|[^[:alnum:]_.$}])/([w]ork|[h]ome|[r]oot|[U]sers)/'
unfinished='\b([T]ODO|[F]IXME|[X]XX|[H]ACK)\b'

! sourceFiles '*' | xargs -0 grep -nIE -e "$machinePaths" -e "$unfinished"
