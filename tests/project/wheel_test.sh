#!/usr/bin/env bash
# Builds the Python package as pip does, installs it into a folder of its own and paints with it.
# usage: wheel_test.sh SOURCE_DIR
set -euo pipefail
source_dir=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  printf 'wheel: %s\n' "$*"
  exit 1
}
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" && fail "failed: $*"; }; }

# Of a copy: pip leaves what it builds beside the source.
git -C "$source_dir" ls-files -z | (cd "$source_dir" && xargs -0 cp --parents -t "$work" --)
quietly /usr/bin/python3 -m pip install --no-build-isolation --no-deps --target "$work/site" "$work"
cd "$work"
PYTHONPATH=$work/site quietly /usr/bin/python3 -c "
import os, orvhdri as orv
assert os.path.dirname(orv.__file__) == '$work/site/orvhdri', orv.__file__
light = orv.paint('examples/venice.json', size=(64, 32))
orv.write(light, 'map.png')
assert (orv.read('examples/venice.exr').mean() > 0) and light.mean() > 0
loaded = {line.split()[-1] for line in open('/proc/self/maps') if 'liborv' in line}
assert len(loaded) == 3 and all(path.startswith('$work/site/') for path in loaded), loaded"
[ -s map.png ] || fail "Python wrote no picture"
printf 'wheel: built, installed and run\n'
