#!/usr/bin/env bash
# Builds hypra and partitions the bundled example hypergraph into 4 parts with UBfactor 5.
set -euo pipefail
cd "$(dirname "$0")/.."
"tools/deps.sh"
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build -j"$(nproc)" --target hypra_cli
mkdir -p build/example
cp examples/circuit.hgr build/example/
cd build/example
../hypra circuit.hgr 4 5
echo
echo "Partition file: build/example/circuit.hgr.part.4"
