#!/usr/bin/env bash
# Installs the build into a folder of its own, builds programs of others against it and runs them.
# usage: install_test.sh SOURCE_DIR BINARY_DIR CXX
set -euo pipefail
source_dir=$1 binary_dir=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  printf 'install: %s\n' "$*"
  exit 1
}
# quietly COMMAND...: its output is shown when it fails.
# No `grep -q` behind a pipe: it ends at the first find, and what writes to it then fails.
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" && fail "failed: $*"; }; }
# says EXPECTED COMMAND...
says() {
  local expected=$1 said
  shift
  said=$("$@") || fail "failed: $*"
  [ "$said" = "$expected" ] || fail "$* said: $said"
}

quietly cmake --install "$binary_dir" --prefix "$work/prefix"
prefix=$work/prefix
[ ! -e "$prefix/include/orvrender/AlignedObject.h" ] || fail "a header of the painter's own was installed"
[ -s "$prefix/share/licenses/orvhdri/LICENSE" ] || fail "there is no license"

# Once for each state of what is installed and of what is built against it.
state=$(
  g++ --version && clang++-14 --version
  find "$prefix" "$source_dir/tests/project" "$source_dir/examples" -type f -print0 | sort -z | xargs -0 sha256sum |
    sed "s#$work##"
) || fail "there is no g++ or no clang++-14; ./dev test installs them"
tested=$binary_dir/tested_install.txt
if [ "$(cat "$tested" 2>/dev/null)" = "$state" ]; then
  printf 'install: nothing has changed since it passed\n'
  exit 0
fi

# configure and build NAME SOURCE_FOLDER [CMAKE_ARGUMENT...]
configure() {
  cmake -S "$2" -B "$work/$1" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_CXX_COMPILER_LAUNCHER= "${@:3}"
}
build() {
  quietly configure "$@"
  quietly cmake --build "$work/$1"
}

# Row 0 of 512 lies at t = 1 - 1/1024 of a gradient from 0.05 to (0.6, 1.5, 3).
host_says="1024 x 512, zenith 0.599 1.499 2.997"
build minimal_host "$source_dir/examples/minimal_host"
says "$host_says" "$work/minimal_host/minimal_host"
build scene_program "$source_dir/examples/scene_program"
scene_says="64 x 32, zenith 0.25 0.25 0.25"
cat >"$work/scene.json" <<'JSON'
{"version": 1, "size": [64, 32], "background": {"type": "color", "color": [1, 1, 1]}}
JSON
says "$scene_says" "$work/scene_program/scene_program" "$work/scene.json" "$work/map.exr"
[ -s "$work/map.exr" ] || fail "the scene program wrote no map"

# Components.
mkdir "$work/components"
cat >"$work/components/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(components LANGUAGES CXX)
find_package(orvhdri REQUIRED COMPONENTS ${wanted})
message(STATUS "targets: ${orvhdri_VERSION} $<TARGET_EXISTS:orvhdri::avx2>")
if(NOT TARGET orvhdri::avx2 OR NOT TARGET orvhdri::orvrender OR NOT TARGET orvhdri::brushes)
  message(FATAL_ERROR "a target is missing")
endif()
CMAKE
quietly configure all "$work/components" -Dwanted="headers;brushes;painter;host;scene"
if configure unknown "$work/components" -Dwanted=paintre >"$work/log" 2>&1; then fail "paintre was found"; fi
tr -s ' \n' ' ' <"$work/log" | grep -F 'no component "paintre"; it has headers, brushes, painter, host, scene' >/dev/null ||
  { cat "$work/log" && fail "an unknown component is not told from those that there are"; }

# The same programs by pkg-config, from a tree that was moved after it was installed.
mkdir "$work/elsewhere"
mv "$prefix" "$work/elsewhere/moved"
prefix=$work/elsewhere/moved
pc=$(find "$prefix" -name orvhdri.pc)
export PKG_CONFIG_PATH=${pc%/*}
libdir=$(pkg-config --variable=libdir orvhdri)
with_package() { # PACKAGE STANDARD SOURCE PROGRAM [FLAG...]
  local flags
  read -ra flags <<<"$(pkg-config --cflags --libs "$1")"
  quietly "$cxx" -std="$2" "$3" -o "$work/$4" "${@:5}" "${flags[@]}"
}
with_package orvhdri c++20 "$source_dir/examples/minimal_host/main.cpp" pc_host
says "$host_says" env LD_LIBRARY_PATH="$libdir" "$work/pc_host"
with_package orvhdri-scene c++20 "$source_dir/examples/scene_program/main.cpp" pc_scene
says "$scene_says" env LD_LIBRARY_PATH="$libdir" "$work/pc_scene" "$work/scene.json" "$work/map.exr"
quietly "$prefix/bin/orvpaint" paint "$source_dir/examples/color.json" --size 64x32 -o "$work/map.exr"
[ -s "$work/map.exr" ] || fail "orvpaint wrote no map"
[ -s "$prefix/share/man/man1/orvpaint-paint.1" ] || fail "there is no man page"
quietly bash -c "source '$prefix/share/bash-completion/completions/orvpaint' && complete -p orvpaint"

# A host of another maker, in C++17: its scenes are none of the reference host's, which is loaded beside it.
quietly "$cxx" -std=c++17 -rdynamic -I"$prefix/include" "$source_dir/tests/project/hosts/bare_host.cpp" \
  -o "$work/bare_host" "$(find "$prefix" -name liborvhdri_brushes.a)" -ldl
says "1 2 3" env LD_LIBRARY_PATH="$libdir" "$work/bare_host"

# A host that makes a map of its own needs nothing but the installed headers.
cat >"$work/map.cpp" <<'CPP'
#include <hdri/EnvImage.h>
int main() { return orv::hdri::EnvImage(4, 2).pixels.size() == 8 ? 0 : 1; }
CPP
quietly "$cxx" -std=c++17 -I"$prefix/include" "$work/map.cpp" -o "$work/map_host"
"$work/map_host"

# The version, of headers, library and packages.
cat >"$work/version.cpp" <<'CPP'
#include <cstdio>
#include <hdri/version.h>
#include <orvrender/orvHost.h>
int main() { std::printf("%s %s %d", ORVHDRI_VERSION_STRING, orv_version(), ORVHDRI_VERSION_NUMBER); }
CPP
with_package orvrender c++17 "$work/version.cpp" version
version=$(pkg-config --modversion orvhdri)
IFS=. read -r major minor patch <<<"$version"
says "$version $version $((10000 * major + 100 * minor + patch))" env LD_LIBRARY_PATH="$libdir" "$work/version"

# Sonames carry the interface's number; the painter asks for any host. The file names that programs open stay.
needed() { objdump -p "$1" | sed -n "s/^ *$2 *//p" | sort; }
for library in liborvrender liborvhdri_avx2; do
  soname=$(needed "$libdir/$library.so" SONAME)
  [[ $soname =~ ^$library\.so\.[0-9]+$ ]] || fail "the soname of $library is $soname"
  [ -e "$libdir/$soname" ] || fail "there is no $soname"
done
needed "$libdir/liborvhdri_avx2.so" NEEDED | grep -x liborvrender.so >/dev/null || fail "the painter needs one certain host"
needed "$work/pc_host" NEEDED | grep -x 'liborvrender\.so\.[0-9]*' >/dev/null || fail "a program needs any host"

# OpenImageIO is for pictures that take it alone: nothing that programs link or start needs it.
for file in "$libdir"/*.so "$prefix/bin/orvpaint" "$work/pc_host" "$work/pc_scene"; do
  [ "$(basename "$file")" = liborvrender_images.so ] && continue
  if LD_LIBRARY_PATH=$libdir ldd "$file" | grep -i openimageio >/dev/null; then fail "$file needs OpenImageIO"; fi
done
needed "$libdir/liborvrender_images.so" NEEDED | grep -i openimageio >/dev/null || fail "the module needs no OpenImageIO"

# Every installed header alone, without warnings. The scene library's want C++20.
headers() { # STANDARD COMPILER FOLDER...
  local header started=0
  : >"$work/log"
  while read -r header; do
    {
      printf '#include <%s>\n' "${header#orvhdri/}" |
        "$2" -std="$1" -Wall -Wextra -Wpedantic -Werror -fsyntax-only -x c++ -I"$prefix/include" \
          -I"$prefix/include/orvhdri" - >>"$work/log" 2>&1 || touch "$work/failed"
    } &
    if ((++started % 2 == 0)); then wait; fi
  done < <(cd "$prefix/include" && find "${@:3}" -name '*.h')
  wait
  ((started > 0)) || fail "there are no headers in ${*:3}"
  [ ! -e "$work/failed" ] || { cat "$work/log" && fail "headers as $1 with $2"; }
}
for compiler in g++ clang++-14; do
  for standard in c++17 c++20; do headers "$standard" "$compiler" hdri orvrender; done
  headers c++20 "$compiler" orvhdri
done
printf '%s\n' "$state" >"$tested"
