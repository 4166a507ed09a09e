#!/usr/bin/env bash
# Installs the build into a folder of its own, builds the minimal host against it and runs it.
# usage: install_test.sh SOURCE_DIR BINARY_DIR CXX
set -euo pipefail
source_dir=$1 binary_dir=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$binary_dir" --prefix "$work/prefix" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
[ ! -e "$work/prefix/include/orvrender/AlignedObject.h" ]
cmake -S "$source_dir/examples/minimal_host" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_CXX_COMPILER_LAUNCHER= >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
cmake --build "$work/build" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
# Row 0 of 512 lies at t = 1 - 1/1024 of a gradient from 0.05 to (0.6, 1.5, 3).
expected="1024 x 512, zenith 0.599 1.499 2.997"
said=$("$work/build/minimal_host")
[ "$said" = "$expected" ] || { echo "the host said: $said"; exit 1; }

# The same host by pkg-config, from a tree that was moved after it was installed.
mkdir "$work/elsewhere"
cp -r "$work/prefix" "$work/elsewhere/moved"
pc=$(find "$work/elsewhere/moved" -name orvhdri.pc)
export PKG_CONFIG_PATH=${pc%/*}
read -ra flags <<<"$(pkg-config --cflags --libs orvhdri)"
"$cxx" -std=c++20 "$source_dir/examples/minimal_host/main.cpp" -o "$work/pc_host" "${flags[@]}"
said=$(LD_LIBRARY_PATH=$(pkg-config --variable=libdir orvhdri) "$work/pc_host")
[ "$said" = "$expected" ] || { echo "the host of pkg-config said: $said"; exit 1; }
"$work/prefix/bin/orvpaint" paint "$source_dir/examples/color.json" --size 64x32 -o "$work/map.exr"
[ -s "$work/map.exr" ]
[ -s "$work/prefix/share/man/man1/orvpaint-paint.1" ]
bash -c "source '$work/prefix/share/bash-completion/completions/orvpaint' && complete -p orvpaint" >/dev/null

# A host that makes a map of its own needs nothing but the installed header.
cat >"$work/map.cpp" <<'CPP'
#include <hdri/EnvImage.h>
int main() { return orv::hdri::EnvImage(4, 2).pixels.size() == 8 ? 0 : 1; }
CPP
"$cxx" -std=c++20 -I"$work/prefix/include" "$work/map.cpp" -o "$work/map_host"
"$work/map_host"
