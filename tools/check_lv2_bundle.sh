#!/usr/bin/env bash
# Fails unless the Turtle files of a built LV2 bundle are valid and its library hands out nothing but
# its entry point.
# Usage: check_lv2_bundle.sh BUNDLE
set -euo pipefail
bundle="${1:?Usage: check_lv2_bundle.sh BUNDLE}"

mapfile -d '' files < <(find "$bundle" -name '*.ttl' -print0 | sort -z)
found="$(lv2_validate "${files[@]}" 2>&1)" || true
if [[ "$found" != *"Found 0 errors"* ]]; then
  echo "$found"
  exit 1
fi
exported="$(nm -D --defined-only "$bundle/corvanthelis.so" | awk '{print $3}')"
if [[ "$exported" != lv2_descriptor ]]; then
  echo "exported: $exported"
  exit 1
fi
