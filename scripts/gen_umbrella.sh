#!/usr/bin/env bash
# Regenerates include/orvil/orvil.h from the public class headers, so that the
# umbrella header never misses one.
set -euo pipefail
cd "$(dirname "$0")/../include/orvil"
{
  echo "// Umbrella header: every public class header of the engine."
  echo "#ifndef ORVIL_ORVIL_H"
  echo "#define ORVIL_ORVIL_H"
  echo
  for h in *.h; do
    case "$h" in orvil.h|biorvil.h) continue ;; esac
    echo "#include \"orvil/$h\""
  done
  echo
  echo "#endif"
} > orvil.h
