"""The library exports the names of the list, and no other."""

import pathlib
import subprocess
import sys

library, expected = sys.argv[1], pathlib.Path(sys.argv[2])
table = subprocess.run(["nm", "-DC", "--defined-only", library], capture_output=True, text=True, check=True).stdout
exported = sorted(line.split(" ", 2)[2] for line in table.splitlines())
listed = expected.read_text().splitlines()
for name in sorted(set(exported) ^ set(listed)):
    print("not exported:" if name in listed else "not in the list:", name)
sys.exit(exported != listed)
