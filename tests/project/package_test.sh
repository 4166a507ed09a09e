#!/usr/bin/env bash
# Installs the Debian packages into a root of their own, builds programs against them there, and runs them.
# usage: package_test.sh SOURCE_DIR FOLDER_OF_PACKAGES
set -euo pipefail
source_dir=$1 packages=("$2"/*.deb)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

fail() {
  printf 'package: %s\n' "$*"
  exit 1
}
# No `grep -q` behind a pipe: it ends at the first find, and what writes to it then fails.
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" && fail "failed: $*"; }; }

names=$(for package in "${packages[@]}"; do dpkg-deb -f "$package" Package; done | sort | tr '\n' ' ')
[ "$names" = "liborvhdri-dev liborvhdri0 orvpaint python3-orvhdri " ] || fail "the packages are $names"

# What they depend on is there to be had, and nothing but OpenImageIO's module asks for OpenImageIO.
quietly apt-get install --simulate --no-install-recommends "${packages[@]}"
for package in "${packages[@]}"; do
  depends=$(dpkg-deb -f "$package" Depends)
  for need in libc6 libstdc++6; do
    [[ $package == *-dev_* || $depends == *$need* ]] || fail "$package does not depend on $need"
  done
done

# A package manager's own database, where that is allowed; the bare files elsewhere.
mkdir -p "$root"
if [ "$(id -u)" -eq 0 ]; then
  mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/lib/dpkg/triggers"
  touch "$root/var/lib/dpkg/status"
  quietly dpkg --root="$root" --force-depends --force-script-chrootless --install "${packages[@]}"
  [ "$(dpkg-query --admindir="$root/var/lib/dpkg" -W -f '${db:Status-Status} ')" = "installed installed installed installed " ] ||
    fail "a package is not installed"
else
  for package in "${packages[@]}"; do dpkg-deb -x "$package" "$root"; done
fi

for name in liborvhdri0 liborvhdri-dev orvpaint python3-orvhdri; do
  for file in copyright changelog.Debian.gz changelog.gz; do
    [ -s "$root/usr/share/doc/$name/$file" ] || fail "$name has no $file"
  done
done
[ -s "$root/usr/share/man/man1/orvpaint-paint.1.gz" ] || fail "there is no manual page"
[ -s "$root/usr/share/bash-completion/completions/orvpaint" ] || fail "there is no completion"
if find "$root/usr/share/man" -name '*.[1-9]' | grep . >/dev/null; then fail "a manual page is not compressed"; fi

# The program finds its libraries in its own root, as everybody else's programs do.
quietly "$root/usr/bin/orvpaint" paint "$source_dir/examples/color.json" --size 64x32 -o "$work/map.exr" -o "$work/map.png"
for map in map.exr map.png; do [ -s "$work/$map" ] || fail "orvpaint wrote no $map"; done
ldd "$root/usr/bin/orvpaint" | grep "liborvrender.* => $root/usr/" >/dev/null || fail "orvpaint took another library"

# So does the Python package.
PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$root/usr/lib/python3/dist-packages quietly /usr/bin/python3 -c "
import orvhdri as orv
orv.write(orv.paint('$source_dir/examples/color.json', size=(64, 32)), '$work/python.exr')
assert orv.__file__.startswith('$root')
assert '$root/usr/lib' in open('/proc/self/maps').read().split('liborvrender')[0].splitlines()[-1]"
[ -s "$work/python.exr" ] || fail "Python wrote no map"

for example in minimal_host scene_program; do
  quietly cmake -S "$source_dir/examples/$example" -B "$work/$example" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr"
  quietly cmake --build "$work/$example"
done
quietly "$work/minimal_host/minimal_host"
quietly "$work/scene_program/scene_program" "$source_dir/examples/color.json" "$work/scene.exr"
[ -s "$work/scene.exr" ] || fail "the scene program wrote no map"

# Taken away, they leave nothing.
if [ "$(id -u)" -eq 0 ]; then
  quietly dpkg --root="$root" --force-depends --force-script-chrootless --purge python3-orvhdri liborvhdri-dev orvpaint liborvhdri0
  left=$(find "$root" -path "$root/usr/*" -type f)
  [ -z "$left" ] || fail "left behind: $left"
fi
printf 'package: installed, built against, run and taken away\n'
