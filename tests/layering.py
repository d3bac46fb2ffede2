"""Refuses an include that points upward through the modules, sources that lead to each other, and headers of one system
outside the directory for them: calls go downward only.

The module of a file is the namespace that it opens, or uses where it opens none. A header and its source are one.
"""

import graphlib

import pathlib
import re
import sys

ORDER = [
    "VecTableSupport",
    "VecTableTypes",
    "VecTableTree",
    "VecTableProcessing",
    "VecTableCardReading",
    "VecTableDllVarsUtils",
    "VecTableDllExports",
]

# The headers of POSIX, and of compilers, that are in use.
PORTABLE = {"fcntl.h", "pthread.h", "sys/stat.h", "sys/types.h", "unistd.h", "sanitizer/asan_interface.h"}
PLATFORM = "support/platform/"


def module_of(text):
    opened = re.search(r"^namespace (VecTable\w+)", text, re.MULTILINE)
    used = re.search(r"^using namespace (VecTable\w+)", text, re.MULTILINE)
    return opened or used


def main(root):
    sources = (path for path in root.rglob("*.*") if path.suffix in (".h", ".cpp"))
    files = {path.relative_to(root).as_posix(): path.read_text() for path in sources}
    exceptions = {"support/module.h": "VecTableSupport", "exports/host.cpp": "VecTableDllExports"}
    rank = {}
    for name, text in files.items():
        found = module_of(text)
        module = exceptions.get(name) or (found and found.group(1))
        if module not in ORDER:
            sys.exit(f"{name}: belongs to no module")
        rank[name] = ORDER.index(module)
    faults = 0
    uses = {}
    for name, text in files.items():
        unit = uses.setdefault(name.rpartition(".")[0], set())
        for header in re.findall(r"^ *#include <([a-z_/]+[.]h)>", text, re.MULTILINE):
            if header not in PORTABLE and not header.startswith("vectable/") and not name.startswith(PLATFORM):
                print(f"{name} includes {header}, which POSIX does not have")
                faults += 1
        for included in re.findall(r'^#include "([^"]+)"', text, re.MULTILINE):
            if included not in rank:
                sys.exit(f"{name}: includes {included}, which does not exist")
            unit |= {included.rpartition(".")[0]} - {name.rpartition(".")[0]}
            if rank[included] > rank[name]:
                print(f"{name} ({ORDER[rank[name]]}) includes {included} ({ORDER[rank[included]]})")
                faults += 1
    try:
        graphlib.TopologicalSorter(uses).prepare()
    except graphlib.CycleError as cycle:
        print("in a circle:", " <- ".join(cycle.args[1]))
        faults += 1
    print(f"{len(rank)} files, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
