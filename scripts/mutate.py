#!/usr/bin/env python3
"""Puts small faults into the library, one at a time, and tells which of them the fast tests catch.

    scripts/mutate.py --count 100 --seed 1 'src/store/*' src/support/dates.cpp

The faults are those that people make: a comparison turned, a number off by one, a sign, a statement or a reset dropped,
two arguments swapped, a word of a text changed. Each is built in a copy of the project in build/mutate/, and the fast
tests (ctest --label-regex fast) run until the first one fails. A run that takes too long counts as caught, a fault that
does not compile is left out. A survivor is a gap in the tests, or a fault that nobody can see.
"""

import argparse
import collections
import concurrent.futures
import fnmatch
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree
from typing import NamedTuple

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIME_LIMIT = 60  # seconds for one test program, which takes a few


class Fault(NamedTuple):
    path: str
    line: int
    start: int  # place in the file
    end: int
    old: str
    new: str  # what stands there instead
    kind: str

    def __str__(self):
        return f"{self.path}:{self.line}: {self.kind}: {' '.join(self.old.split())!r} -> {self.new!r}"


class Code:
    """A source whose comments and literals are blanked out, so that patterns find code only."""

    def __init__(self, path):
        self.path = path
        source = self.source = (ROOT / path).read_text()
        self.literals = []  # start and end of each string, without its quotes
        blank = list(source)
        pattern = r'//[^\n]*|/\*.*?\*/|^#[^\n]*|"(?:\\.|[^"\\\n])*"|' + r"(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])+'"
        for match in re.finditer(pattern, source, re.DOTALL | re.MULTILINE):
            if match.group().startswith('"'):
                self.literals.append((match.start() + 1, match.end() - 1))
            for place in range(match.start(), match.end()):
                if source[place] != "\n":
                    blank[place] = "\0" if match.group()[0] in "\"'" else " "
        self.text = "".join(blank)

    def fault(self, place, new, kind):
        start, end = place
        line = self.source.count("\n", 0, start) + 1
        return Fault(self.path, line, start, end, self.source[start:end], new, kind)


def swaps(*pairs):
    return {a: b for pair in pairs for a, b in (pair, pair[::-1])}


OPERATORS = {
    "comparison": swaps((" < ", " <= "), (" > ", " >= "), (" == ", " != ")),
    "logic": swaps((" && ", " || "), ("true", "false")),
    "sign": swaps((" + ", " - "), (" += ", " -= "), (" * ", " / "), ("++", "--")),
    "word": swaps(("std::min", "std::max"), ("break;", "continue;"), ("first", "last"), ("left", "right"),
                  ("front()", "back()"), ("nextafter", "nearbyint")),
}
RESET = re.compile(
    r"(?i)release|reset|clear|free|delete|close|disarm|erase|unlock|= (0|0\.0|false|nullptr|-1);|= \w+\(\);"
)


def operator_faults(code):
    for kind, table in OPERATORS.items():
        for old, new in table.items():
            pattern = re.escape(old) if not old[0].isalpha() else rf"(?<![\w:.]){re.escape(old)}(?!\w)"
            for match in re.finditer(pattern, code.text):
                yield code.fault(match.span(), new, kind)


def number_faults(code):
    number = r"(?<![\w.])(0x[\dA-Fa-f.p]+|\d[\d']*(?:\.\d*)?(?:e[+-]?\d+)?)(?![\w.])"
    for match in re.finditer(number, code.text):
        old = match.group()
        if re.search(r"(?:double|char) \w+\[$", code.text[: match.start()]):
            continue  # the length of a parameter says nothing to the compiler
        if re.fullmatch(r"\d[\d']*", old):
            for step in (1, -1):
                value = int(old.replace("'", "")) + step
                if value >= 0:
                    yield code.fault(match.span(), str(value), "off by one")
        else:
            new = f"({old} * 1.0625 + 0.0625)" if "." in old or "e" in old else f"({old} + 1)"
            yield code.fault(match.span(), new, "constant")
    for match in re.finditer(r"\0'|'\0|\0{3}", code.text):  # characters: source of three places
        old = code.source[match.start() : match.start() + 3]
        if re.fullmatch(r"'[ -~]'", old):
            new = "'" + chr(ord(old[1]) + 1).replace("'", "(") + "'"
            yield code.fault((match.start(), match.start() + 3), new, "constant")


def text_faults(code):
    for start, end in code.literals:
        source = code.source
        letters = [place for place in range(start, end) if source[place].isalpha() and source[place - 1] != "\\"]
        if letters:
            place = letters[len(letters) // 2]
            other = "q" if code.source[place] != "q" else "z"
            yield code.fault((place, place + 1), other, "text")


def statement_faults(code):
    others = "return|break|continue|using|const|struct|static_assert|template"
    pattern = rf"(?<=[;{{}}:)\n])\s*\n[ ]{{4,}}((?=\S)(?!{others})[^;{{}}\n][^;{{}}]*;)(?=\s)"
    for match in re.finditer(pattern, code.text):
        statement = match.group(1)
        declaration = re.match(
            r"(?:[\w:]+(?:<[^;=]*>)?[&*]* )+[&*]?\w+(?:\{[^;]*\}|\[[^;]*\]| = [^;]*|\([^;]*\))?;", statement
        )
        if declaration and not re.match(r"(else|delete) ", statement):
            continue
        kind = "dropped reset" if RESET.search(statement) else "dropped statement"
        yield code.fault(match.span(1), ";", kind)
    for match in re.finditer(r"\bif \(((?:[^()]|\([^()]*\))*)\) (?:return|continue|break)[^;]*;", code.text):
        yield code.fault(match.span(), ";", "dropped exit")
    for match in re.finditer(r"\bif \(((?:[^()]|\([^()]*\))*)\)", code.text):
        yield code.fault(match.span(1), f"!({code.source[slice(*match.span(1))]})", "condition")


def argument_faults(code):
    argument = r"([\w.\[\]*&:>-]+(?:\(\))?)"
    for match in re.finditer(rf"[(,] ?{argument}, {argument}(?=[,)])", code.text):
        a, b = match.group(1), match.group(2)
        symmetric = re.search(r"std::(min|max)(<[\w:]+>)?$", code.text[: match.start()])
        if a != b and not symmetric and not re.search(r"[\w>&*] [\w&*]", match.group()):
            yield code.fault((match.start(1), match.end(2)), f"{b}, {a}", "swapped arguments")


# Lines in which a fault does not compile, or only makes the library slower.
NO_CODE = re.compile(r"^\s*(template|static_assert|using|namespace)|= (delete|default);|prefetch|#pragma")

MAKERS = (operator_faults, number_faults, text_faults, statement_faults, argument_faults)


def all_faults(path):
    code = Code(path)
    faults = {fault for maker in MAKERS for fault in maker(code)}
    lines = code.source.split("\n")
    return sorted(fault for fault in faults if not NO_CODE.search(lines[fault.line - 1]))


def choose(paths, count, seed):
    """Kinds take turns, so that the many off-by-ones do not crowd out the few dropped resets."""
    generator = random.Random(seed)
    by_kind = collections.defaultdict(list)
    for path in paths:
        for fault in all_faults(path):
            by_kind[fault.kind].append(fault)
    for faults in by_kind.values():
        generator.shuffle(faults)
    chosen = []
    while len(chosen) < count and any(by_kind.values()):
        for kind in sorted(by_kind):
            if by_kind[kind] and len(chosen) < count:
                chosen.append(by_kind[kind].pop())
    # File by file, which saves builds, the files in any order, so that what is done so far is a fair sample.
    order = generator.sample(paths, len(paths))
    return sorted(chosen, key=lambda fault: (order.index(fault.path), fault.start))


class Workshop:
    """A copy of the project with a build of its own."""

    def __init__(self, folder):
        self.root = folder / "project"
        self.build = folder / "build"
        names = subprocess.run(["git", "ls-files"], cwd=ROOT, capture_output=True, text=True, check=True).stdout
        for name in names.splitlines():
            source, copy = ROOT / name, self.root / name
            if source.is_file() and not (copy.is_file() and copy.read_bytes() == source.read_bytes()):
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, copy)
        stale = set(p.relative_to(self.root).as_posix() for p in (self.root / "tests/data").rglob("*") if p.is_file())
        for name in stale - set(names.splitlines()):
            (self.root / name).unlink()
        options = ["-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1 -g0", "-DVECTABLE_BUILD_TOOLS=OFF"]
        if shutil.which("ccache"):
            options.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.run(["cmake", "-S", self.root, "-B", self.build, "-G", "Ninja", *options], check=True)
        if self.compile(jobs=2) != 0:
            sys.exit("the project does not compile without any fault")
        failed = self.test()
        if failed:
            sys.exit(f"{failed} fails without any fault")

    @staticmethod
    def run(command, **options):
        return subprocess.run(list(map(str, command)), capture_output=True, text=True, errors="replace", **options)

    def compile(self, jobs=1):
        command = ["cmake", "--build", self.build, "--parallel", str(jobs), "--target", "fast_tests"]
        return self.run(command).returncode

    def try_out(self, fault):
        """What caught the fault; None for a survivor, "" for one that does not compile."""
        path = self.root / fault.path
        source = path.read_text()
        path.write_text(source[: fault.start] + fault.new + source[fault.end :])
        try:
            if self.compile() != 0:
                return ""
            return self.test()
        finally:
            path.write_text(source)

    def test(self):
        """The test that failed first, or None."""
        report = self.build / "report.xml"
        options = ["--label-regex", "fast", "--stop-on-failure", "--timeout", TIME_LIMIT, "--output-junit", report]
        environment = {**os.environ, "GTEST_FAIL_FAST": "1"}
        done = self.run(["ctest", "--test-dir", self.build, *options], env=environment)
        if done.returncode == 0:
            return None
        for case in xml.etree.ElementTree.parse(report).getroot().iter("testcase"):
            if case.get("status") == "fail":
                named = re.search(r"\[  FAILED  \] (\S+)", case.findtext("system-out", ""))
                running = re.findall(r"\[ RUN      \] (\S+)", case.findtext("system-out", ""))
                name = named.group(1).rstrip(",") if named else running[-1] + " (crash)" if running else "(crash)"
                return f"{case.get('name')}: {name}"
        return "ctest"


def run_all(faults, jobs, folder):
    """Yields each fault and what caught it. Faults of one file follow one another in one workshop: fewer builds."""
    base = ROOT / folder
    shops = [Workshop(base / str(number)) for number in range(jobs)]
    shares = [faults[number::jobs] for number in range(jobs)] if jobs > 1 else [faults]
    results = []

    def work(shop, share):
        for fault in share:
            caught = shop.try_out(fault)
            results.append((fault, caught))
            verdict = "SURVIVED" if caught is None else caught or "does not compile"
            print(f"{fault}   [{verdict}]", flush=True)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for future in [pool.submit(work, shop, share) for shop, share in zip(shops, shares)]:
            future.result()
    return results


def report(results):
    tables = collections.defaultdict(collections.Counter)
    catchers = collections.Counter()
    for fault, caught in results:
        if caught == "":
            continue
        outcome = "survived" if caught is None else "caught"
        for row in ("/".join(fault.path.split("/")[:2]), "kind " + fault.kind, "all"):
            tables[row][outcome] += 1
        if caught:
            catchers[caught] += 1
    print(f"\n{'':24}{'made':>6}{'caught':>8}{'survived':>10}")
    for row, counts in sorted(tables.items()):
        print(f"{row:24}{sum(counts.values()):6}{counts['caught']:8}{counts['survived']:10}")
    print("\nfaults that a test caught first:")
    for name, count in catchers.most_common():
        print(f"{count:6}  {name}")
    print("\nsurvivors:")
    for fault, caught in sorted(results):
        if caught is None:
            print(f"  {fault}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("patterns", nargs="*", default=["src/*"], help="files, such as 'src/store/*'")
    parser.add_argument("--count", type=int, default=50, help="number of faults, those that do not compile included")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=1, choices=(1, 2))
    parser.add_argument("--folder", default="build/mutate", help="where the copies are built")
    parser.add_argument("--list", action="store_true", help="only lists the faults")
    arguments = parser.parse_args()
    sources = sorted(p.relative_to(ROOT).as_posix() for p in (ROOT / "src").rglob("*") if p.suffix in (".cpp", ".h"))
    paths = [path for path in sources if any(fnmatch.fnmatch(path, pattern) for pattern in arguments.patterns)]
    faults = choose(paths, arguments.count, arguments.seed)
    if arguments.list:
        print("\n".join(map(str, sorted(faults))))
        return
    report(run_all(faults, arguments.jobs, arguments.folder))


if __name__ == "__main__":
    main()
