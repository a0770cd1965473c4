#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a small host
# against it twice: through find_package(klav) and through pkg-config.
set -euo pipefail
src=$1 build=$2 work=$3
rm -rf "$work" && mkdir -p "$work"
cmake --install "$build" --prefix "$work/prefix" > "$work/install.log"
cmake -S "$src/tests/consumer" -B "$work/cmake" -G Ninja \
      -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_BUILD_TYPE=Release > "$work/configure.log"
cmake --build "$work/cmake" > "$work/build.log"
LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64:${LD_LIBRARY_PATH:-}" "$work/cmake/consumer"

pcdir=$(dirname "$(find "$work/prefix" -name klav.pc | head -n 1)")
export PKG_CONFIG_PATH="$pcdir"
# The .pc file names the prefix it was configured with; point it at the scratch one.
flags=$(pkg-config --define-variable=prefix="$work/prefix" --cflags --libs klav)
${CXX:-c++} -std=c++17 "$src/tests/consumer/main.cpp" $flags -o "$work/consumer-pc"
LD_LIBRARY_PATH="$work/prefix/lib:$work/prefix/lib64:${LD_LIBRARY_PATH:-}" "$work/consumer-pc"
