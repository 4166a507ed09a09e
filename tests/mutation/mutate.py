#!/usr/bin/python3
"""Mutation testing of the painter: does a test fail when an operator, a constant or a step of src/ is wrong?

All mutants are compiled at once into a copy of the tree, each behind a switch (`orvMutant == 17 ? a - b : a + b`),
and one environment variable, ORVHDRI_MUTANT, turns one of them on; so a mutant costs a run of the tests and no build.
Sites are found with libclang in function bodies, drawn evenly over the files with a seed; what does not compile behind
a switch (constant expressions) is left out. Survivors are compared with tests/mutation/equal.txt, which lists those that
change nothing that can be observed, each with the reason.

Called by `./dev mutate`, from the root of the tree. Exit status 1 when under 97 % of the mutants that differ are killed.
"""

import argparse
import concurrent.futures
import dataclasses
import hashlib
import json
import os
import pathlib
import pickle
import random
import re
import shutil
import subprocess
import sys
import time

import clang.cindex as cl

ROOT = pathlib.Path.cwd()
OUT = ROOT / "build" / "mutate"
COPY = OUT / "tree"
BUILD = OUT / "build"
FOLDERS = ["simd", "maps", "brushes", "shapes", "backgrounds", "fills", "pins", "painter"]
# The programs in the order in which they are tried after the folder's own: quick ones first.
PROGRAMS = ["simd", "maps", "brushes", "fills", "painter", "pins", "shapes", "paint", "backgrounds", "scene"]
SWAPS = {
    "+": "-", "-": "+", "*": "/", "/": "*", "<": ">=", "<=": ">", ">": "<=", ">=": "<", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&", "&": "|", "|": "&", "%": "*", "<<": ">>", ">>": "<<",
}
CALL_SWAPS = {"min": "max", "max": "min", "fma": "fms", "fms": "fma", "floor": "ceil", "ceil": "floor", "any": "all",
              "all": "any", "sin": "cos", "cos": "sin"}
KIND = cl.CursorKind


@dataclasses.dataclass
class Mutant:
    file: str
    start: int  # of what is replaced, in bytes
    end: int
    line: int
    old: str
    new: str
    statement: bool = False  # leave out a statement rather than choose between two expressions
    number: int = 0

    @property
    def place(self):
        return self.file, self.start, self.end, self.new

    @property
    def key(self):
        """How equal.txt names it: lines move, text does not."""
        squeeze = lambda text: re.sub(r"\s+", " ", text)
        return f"{self.file}: {squeeze(self.old)} -> {squeeze(self.new)}"


def is_constant(cursor):
    """Declarations whose expressions the compiler must know."""
    if cursor.kind in (KIND.STATIC_ASSERT, KIND.ENUM_DECL, KIND.CASE_STMT, KIND.CXX_METHOD, KIND.FUNCTION_DECL,
                       KIND.FUNCTION_TEMPLATE, KIND.VAR_DECL):
        for token in cursor.get_tokens():
            if token.spelling in ("constexpr", "consteval", "static_assert", "case", "enum"):
                return True
            if token.spelling in ("{", "="):
                return False
    return False


class Sites:
    def __init__(self, sources):
        self.sources = sources  # file -> bytes
        self.found = {}

    def add(self, file, start, end, new, line, statement=False):
        old = self.sources[file][start:end].decode()
        if "//" in old or "#" in old or len(old) > 400:
            return
        self.found.setdefault((file, start, end, new), Mutant(file, start, end, line, old, new, statement))

    def text(self, file, start, end):
        return self.sources[file][start:end].decode()

    def visit(self, cursor, inside):
        place = cursor.extent.start
        if place.file is None:
            for child in cursor.get_children():
                self.visit(child, inside)
            return
        name = os.path.relpath(place.file.name, ROOT)
        if name not in self.sources:
            if cursor.kind == KIND.TRANSLATION_UNIT:
                for child in cursor.get_children():
                    self.visit(child, inside)
            return
        if is_constant(cursor):
            return
        if inside:
            self.look_at(cursor, name)
        body = inside or cursor.kind == KIND.COMPOUND_STMT
        for child in cursor.get_children():
            self.visit(child, body)

    def look_at(self, cursor, file):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        line = cursor.extent.start.line
        children = list(cursor.get_children())
        kind = cursor.kind
        is_operator_call = kind == KIND.CALL_EXPR and re.fullmatch(r"operator[^\w\s]{1,2}", cursor.spelling or "")
        if kind == KIND.BINARY_OPERATOR or (is_operator_call and len(children) == 3):
            a, b = children[0].extent, children[-1].extent
            between = self.text(file, a.end.offset, b.start.offset)
            operator = between.strip(" \n()")
            if operator in SWAPS and between.count("(") == between.count(")"):
                new = self.text(file, start, a.end.offset) + between.replace(operator, SWAPS[operator], 1) + \
                    self.text(file, b.start.offset, end)
                self.add(file, start, end, new, line)
        elif kind == KIND.CALL_EXPR and children and children[0].extent.start.offset == start:
            callee = self.text(file, start, children[0].extent.end.offset)
            bare = callee.split("::")[-1]
            if bare in CALL_SWAPS:
                self.add(file, start, end, callee[: len(callee) - len(bare)] + CALL_SWAPS[bare] +
                         self.text(file, children[0].extent.end.offset, end), line)
        elif kind == KIND.FLOATING_LITERAL:
            old = self.text(file, start, end)
            value = float(old.rstrip("fFlL"))
            self.add(file, start, end, f"({old} + 1)" if value == 0 else f"({old} * 1.5f)", line)
        elif kind == KIND.INTEGER_LITERAL:
            old = self.text(file, start, end)
            if re.fullmatch(r"\d+[uU]?", old):
                self.add(file, start, end, f"({old} + 1)", line)
        elif kind == KIND.DECL_REF_EXPR and re.fullmatch(r"k[A-Z]\w*", cursor.spelling or "") and \
                cursor.type.kind in (cl.TypeKind.FLOAT, cl.TypeKind.DOUBLE):
            old = self.text(file, start, end)
            self.add(file, start, end, f"({old} * 1.5f)", line)
        elif kind == KIND.UNARY_OPERATOR and self.text(file, start, start + 1) in "-!":
            self.add(file, start, end, self.text(file, start + 1, end), line)
        elif kind == KIND.IF_STMT and children and children[0].kind not in (KIND.BINARY_OPERATOR, KIND.UNARY_OPERATOR):
            condition = children[0].extent
            self.add(file, condition.start.offset, condition.end.offset,
                     f"!({self.text(file, condition.start.offset, condition.end.offset)})", line)
        elif kind == KIND.COMPOUND_STMT:
            for child in children:
                text = self.text(file, child.extent.start.offset, child.extent.end.offset)
                if child.kind in (KIND.CALL_EXPR, KIND.COMPOUND_ASSIGNMENT_OPERATOR) or (
                        child.kind == KIND.BINARY_OPERATOR and re.search(r"[^=<>!]=[^=]", text)):
                    self.add(file, child.extent.start.offset, child.extent.end.offset, "", child.extent.start.line,
                             statement=True)


class Known:
    """What does not change while src/ does not, kept from run to run: the sites, and which do not compile."""

    def __init__(self, sources):
        self.path = OUT / "known.pickle"
        self.digest = hashlib.sha256(repr(sorted(sources.items())).encode()).hexdigest()
        self.sites, self.left_out = None, set()
        if self.path.exists():
            digest, sites, left_out = pickle.loads(self.path.read_bytes())
            if digest == self.digest:
                self.sites, self.left_out = sites, left_out

    def keep(self):
        OUT.mkdir(parents=True, exist_ok=True)
        self.path.write_bytes(pickle.dumps((self.digest, self.sites, self.left_out)))


def read_sources():
    files = subprocess.run(["git", "ls-files", "src"], capture_output=True, text=True, check=True).stdout.split()
    return {f: (ROOT / f).read_bytes() for f in files
            if f.endswith((".h", ".cpp")) and f.split("/")[1] in FOLDERS}


def find_sites(sources, flags):
    cl.Config.set_library_file("/usr/lib/llvm-14/lib/libclang.so.1")
    index, sites = cl.Index.create(), Sites(sources)
    for file in sources:
        if file.endswith(".cpp"):
            unit = index.parse(str(ROOT / file), args=flags)
            bad = [d for d in unit.diagnostics if d.severity >= cl.Diagnostic.Error]
            if bad:
                sys.exit(f"{file}: {bad[0]}")
            sites.visit(unit.cursor, False)
    return list(sites.found.values())


def read_named(path, sources):
    """The mutants of named.txt. Fields are separated by ` | `; a mutant whose file has moved on is an error."""
    named = []
    for line in path.read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        file, rest = line.split(" | ", 1)
        text = sources[file].decode()
        # The old text may hold the separator itself: the longest split whose first part stands in the file.
        cuts = [m.start() for m in re.finditer(r" \|(?: |$)", rest)]
        for cut in reversed(cuts):
            old, new = rest[:cut], rest[cut + 3:]
            if text.count(old) == 1:
                break
        else:
            sys.exit(f"{path}: not once in the file: {line}")
        start = len(text[:text.index(old)].encode())
        named.append(Mutant(file, start, start + len(old.encode()), text[:text.index(old)].count("\n") + 1, old, new,
                            statement=not new))
    return named


def draw(found, count, seed, named):
    """`count` of the sites, the same share of every file, at least one of each; none inside another or a named one."""
    by_file = {}
    for mutant in found:
        by_file.setdefault(mutant.file, []).append(mutant)
    drawn = []
    for file in sorted(by_file):
        here = sorted(by_file[file], key=lambda m: (m.start, m.end, m.new))
        # Each file has draws of its own, which others do not change.
        random.Random(f"{seed} {file}").shuffle(here)
        taken = [m for m in named if m.file == file]
        wanted = len(taken) + max(1, round(count * len(here) / len(found)))
        for mutant in here:
            if len(taken) >= wanted:
                break
            if all(mutant.end <= t.start or mutant.start >= t.end for t in taken):
                taken.append(mutant)
        drawn += taken
    for number, mutant in enumerate(sorted(drawn, key=lambda m: (m.file, m.start)), 1):
        mutant.number = number
    return sorted(drawn, key=lambda m: m.number)


def write_tree(mutants, sources):
    """The copy's src/ with every mutant behind its switch; nothing is touched that has not changed."""
    by_file = {}
    for mutant in mutants:
        by_file.setdefault(mutant.file, []).append(mutant)
    for file, text in sources.items():
        for mutant in sorted(by_file.get(file, []), key=lambda m: -m.start):
            old = text[mutant.start:mutant.end].decode()
            switch = f"(orvMutant == {mutant.number})"
            if mutant.statement:
                new = f"if (!{switch}) {old}"
            elif mutant.new.startswith("!(") and mutant.new[2:-1] == old:
                new = f"(static_cast<bool>({old}) != {switch})"
            else:
                # On one line, so that what follows keeps its line and an error is found again.
                one_line = mutant.new.replace("\n", " ")
                new = f"({switch} ? ({one_line}) : ({old}))"
            text = text[:mutant.start] + new.encode() + text[mutant.end:]
        target = COPY / file
        if target.read_bytes() != text:
            target.write_bytes(text)


def lines_of(mutants, sources):
    """Which mutants a compiler's file:line can mean: replaced texts keep their line ends, so lines stay."""
    table = {}
    for mutant in mutants:
        first = sources[mutant.file][:mutant.start].count(b"\n") + 1
        table.setdefault((mutant.file, first), []).append(mutant)
    return table


def build(mutants, sources, targets, known):
    """Builds the copy, leaving out mutants that do not compile. Returns those that are in."""
    switch = OUT / "mutant.h"
    text = ("#pragma once\n#include <cstdlib>\nstatic const int orvMutant = std::getenv(\"ORVHDRI_MUTANT\") ? "
            "std::atoi(std::getenv(\"ORVHDRI_MUTANT\")) : 0;\n")
    if not switch.exists() or switch.read_text() != text:
        switch.write_text(text)
    configure = ["cmake", "-S", str(COPY), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                 "-DCMAKE_CXX_COMPILER=clang++-14", f"-DCMAKE_CXX_FLAGS=-O2 -w -Wno-error -include {switch}",
                 "-DCMAKE_CXX_FLAGS_RELEASE=-O2"]
    if shutil.which("ccache"):
        configure.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
    subprocess.run(configure, check=True, stdout=subprocess.DEVNULL)
    for attempt in range(12):
        write_tree(mutants, sources)
        objects = ["orvhdri_objects", "orvhdri_brushes"]
        run = subprocess.run(["ninja", "-C", str(BUILD), "-k", "0", *objects], capture_output=True, text=True)
        if run.returncode == 0:
            run = subprocess.run(["ninja", "-C", str(BUILD), "-k", "0", *targets], capture_output=True, text=True)
            if run.returncode == 0:
                return mutants
        table, bad = lines_of(mutants, sources), set()
        for file, line in re.findall(r"tree/(src/[\w/.]+):(\d+):\d+: (?:fatal )?(?:error|note)", run.stdout + run.stderr):
            for back in range(0, 4):
                hits = table.get((file, int(line) - back))
                if hits:
                    bad.update(id(m) for m in hits)
                    break
        # Some are named by the message itself: a mutated length of an array is part of the types it is about.
        named = {int(n) for message in re.findall(r"(?:error|note): .*", run.stdout + run.stderr)
                 for n in re.findall(r"orvMutant == (\d+)", message)}
        bad.update(id(m) for m in mutants if m.number in named)
        if not bad:
            sys.exit(run.stdout[-6000:] + run.stderr[-2000:])
        known.left_out |= {m.place for m in mutants if id(m) in bad}
        known.keep()
        mutants = [m for m in mutants if id(m) not in bad]
        print(f"left out {len(bad)} that do not compile behind a switch; {len(mutants)} remain", flush=True)
    sys.exit("the mutated tree does not build")


@dataclasses.dataclass
class Part:
    """Some tests of a program: most mutants fail a quick one, so the slow ones of all programs come last."""
    program: str
    filter: str
    seconds: float


def measure():
    """The parts of all programs in the order in which they are run; every test passes without a mutant."""
    quick, slow = [], []
    for program in PROGRAMS:
        times = OUT / f"{program}.json"
        start = time.time()
        base = subprocess.run([str(BUILD / "bin" / f"{program}_test"), "--gtest_brief=1", f"--gtest_output=json:{times}"],
                              capture_output=True, text=True, cwd=BUILD)
        if base.returncode:
            sys.exit(f"{program}_test fails without a mutant:\n{base.stdout[-3000:]}")
        seconds = time.time() - start
        lasting = [f"{suite['name']}.{test['name']}" for suite in json.loads(times.read_text())["testsuites"]
                   for test in suite["testsuite"] if float(test["time"].rstrip("s")) > 0.25]
        quick.append(Part(program, "-" + ":".join(lasting), seconds))
        # The slow ones of scene are of sessions, previews and pins' sizes: they find what the others do.
        if lasting and program != "scene":
            slow.append(Part(program, ":".join(lasting), seconds))
        print(f"{program}_test: {seconds:.1f} s, {len(lasting)} slow tests", flush=True)
    return quick + slow


def run_one(mutant, parts):
    """The program that fails with this mutant and how, or None."""
    own = mutant.file.split("/")[1]
    environment = {**os.environ, "ORVHDRI_MUTANT": str(mutant.number), "GTEST_BRIEF": "1", "GTEST_FAIL_FAST": "1"}
    is_slow = lambda part: not part.filter.startswith("-")
    for part in sorted(parts, key=lambda part: (is_slow(part), part.program != own)):
        program = part.program
        try:
            run = subprocess.run([str(BUILD / "bin" / f"{program}_test"), f"--gtest_filter={part.filter}"],
                                 env=environment, capture_output=True, timeout=20 + 8 * part.seconds, cwd=BUILD)
        except subprocess.TimeoutExpired:
            return program, "hangs"
        if run.returncode < 0:
            return program, f"signal {-run.returncode}"
        if run.returncode:
            failed = re.search(rb"\[  FAILED  \] ([\w/.]+)", run.stdout)
            return program, failed.group(1).decode() if failed else f"status {run.returncode}"
    return None


def read_equal(path):
    """key -> reason, from lines `key | reason`."""
    reasons = {}
    for line in path.read_text().splitlines() if path.exists() else []:
        if line.strip() and not line.startswith("#"):
            key, _, reason = line.rpartition(" | ")
            if not key or not reason.strip():
                sys.exit(f"{path}: not 'mutant | reason': {line}")
            reasons[key] = reason
    return reasons


def main():
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("--count", type=int, default=420, help="mutants to draw (420)")
    options.add_argument("--seed", type=int, default=1, help="of the draw (1)")
    options.add_argument("--jobs", type=int, default=os.cpu_count(), help="mutants run at once")
    options.add_argument("--only", default="", help="mutants in whose name, as the report has it, this regular expression is found")
    given = options.parse_args()

    flags = ["-std=c++20", "-Iinclude", "-Isrc", "-I.", "-mavx2", "-mfma"]
    include = pathlib.Path("/usr/lib/llvm-14/lib/clang/14.0.6/include")
    if include.exists():
        flags.append(f"-isystem{include}")
    sources = read_sources()
    known = Known(sources)
    if known.sites is None:
        known.sites = find_sites(sources, flags)
        known.keep()
    found = known.sites
    named = [m for m in read_named(ROOT / "tests/mutation/named.txt", sources)]
    mutants = [m for m in draw(found, given.count, given.seed, named)
               if re.search(given.only, m.key) and m.place not in known.left_out]
    print(f"{len(found)} sites; {len(mutants)} mutants drawn with seed {given.seed}, {len(named)} of all named",
          flush=True)

    COPY.mkdir(parents=True, exist_ok=True)
    for stale in COPY.rglob("*"):
        if stale.is_file() and not (ROOT / stale.relative_to(COPY)).exists():
            stale.unlink()
    tracked = subprocess.run(["git", "ls-files"], capture_output=True, text=True, check=True).stdout.split("\n")
    for name in filter(None, tracked):
        if not (ROOT / name).is_file():
            continue
        target = COPY / name
        if name in sources and target.exists():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        if not target.exists() or target.read_bytes() != (ROOT / name).read_bytes():
            shutil.copy2(ROOT / name, target)
    targets = [f"{p}_test" for p in PROGRAMS]
    mutants = build(mutants, sources, targets, known)

    begin, parts = time.time(), measure()
    equal, survivors, killed, lines = read_equal(ROOT / "tests/mutation/equal.txt"), [], 0, []
    with concurrent.futures.ThreadPoolExecutor(given.jobs) as pool:
        for mutant, result in zip(mutants, pool.map(lambda m: run_one(m, parts), mutants)):
            where = f"{mutant.number} {mutant.file}:{mutant.line}: {mutant.key.partition(': ')[2]}"
            if result:
                killed += 1
                lines.append(f"killed by {result[0]} ({result[1]}): {where}")
            else:
                survivors.append(mutant)
                known = equal.get(mutant.key)
                lines.append(f"{'equal (' + known + ')' if known else 'SURVIVED'}: {where}")
            print(lines[-1], flush=True)
    (OUT / "report.txt").write_text("\n".join(lines) + "\n")
    open_ones = [m for m in survivors if m.key not in equal]
    differ = len(mutants) - (len(survivors) - len(open_ones))
    share = killed / differ if differ else 1
    print(f"{len(mutants)} mutants: {killed} killed, {len(survivors) - len(open_ones)} equal, {len(open_ones)} survived; "
          f"{100 * share:.1f} % of those that differ are killed; {time.time() - begin:.0f} s")
    return 0 if share >= 0.97 else 1


if __name__ == "__main__":
    sys.exit(main())
