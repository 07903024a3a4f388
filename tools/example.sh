#!/usr/bin/env bash
# Builds hypra and partitions the bundled example hypergraph into 4 parts with UBfactor 5.
set -euo pipefail
cd "$(dirname "$0")/.."
"tools/deps.sh"
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)" --target hypra_cli
work=$(mktemp -d)
cp examples/circuit.hgr "$work/"
build/hypra "$work/circuit.hgr" 4 5
if [ -f "$work/circuit.hgr.part.4" ]; then
  echo
  echo "Partition file: $work/circuit.hgr.part.4"
fi
