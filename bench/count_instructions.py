#!/usr/bin/env python3
"""Counts the instructions of the reference paints and holds them to the file instruction_counts.txt beside this one.

usage: count_instructions.py PROGRAM PICTURE [--renew]

Callgrind runs the paints on one thread and shows them one processor wherever they run, so that the counts do not depend on the
machine, only on the compiler and the libraries. Fails when a paint has grown by more than 3 %.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ALLOWED_GROWTH = 0.03
COUNTS = pathlib.Path(__file__).with_name("instruction_counts.txt")
HEADER = """\
# Instructions of ten paints of 512 x 256 pixels on one thread, counted by callgrind: see reference_paints.cpp.
# A commit that lets one grow by more than 3 % renews this file: ./dev bench --instructions --renew
"""


def count(program, picture):
    names = subprocess.run([program, "--list"], check=True, capture_output=True, text=True).stdout.split()
    with tempfile.TemporaryDirectory() as folder:
        out = pathlib.Path(folder, "counts")
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--collect-atstart=no", "--toggle-collect=countedPaint",
             "--dump-after=countedPaint", f"--callgrind-out-file={out}", program, picture],
            capture_output=True, text=True)
        if run.returncode != 0:
            sys.exit(f"{program}: failed under callgrind:\n{run.stderr}")
        # Callgrind numbers its dumps from 1, the first paint's.
        counts = []
        for part in range(1, len(names) + 1):
            text = pathlib.Path(f"{out}.{part}").read_text()
            counts.append(int(re.search(r"^(?:totals|summary): (\d+)", text, re.M).group(1)))
    return dict(zip(names, counts))


def kept():
    counts = {}
    if COUNTS.exists():
        for line in COUNTS.read_text().splitlines():
            if line and not line.startswith("#"):
                name, value = line.split()
                counts[name] = int(value)
    return counts


def main():
    arguments = [a for a in sys.argv[1:] if a != "--renew"]
    if len(arguments) != 2:
        sys.exit(__doc__)
    now, before = count(*arguments), kept()
    grown = []
    for name, value in now.items():
        growth = value / before[name] - 1 if name in before else None
        told = f"{growth:+.2%}" if growth is not None else "not in the file"
        print(f"{name:26} {value:>12} {told}")
        if growth is None or growth > ALLOWED_GROWTH:
            grown.append(name)
    if "--renew" in sys.argv:
        COUNTS.write_text(HEADER + "".join(f"{name:26} {value:>12}\n" for name, value in now.items()))
        return
    for name in before.keys() - now.keys():
        grown.append(name)
    if grown:
        sys.exit(f"{COUNTS.name}: more than {ALLOWED_GROWTH:.0%} off: {', '.join(grown)}; "
                 "mend it, or renew the file in the same commit: ./dev bench --instructions --renew")


main()
