"""The program in the README is the one in examples/, and prints what the README says. The blocks of docs/formats.md are
lines of the samples."""

import pathlib
import re
import subprocess
import sys

root, program = pathlib.Path(sys.argv[1]), sys.argv[2]
readme = (root / "README.md").read_text()
source, output = re.search(r"```c\n(.*?)```\n\nprints\n\n```\n(.*?)```", readme, re.DOTALL).groups()
printed = subprocess.run([program], cwd=root, capture_output=True, text=True, check=True).stdout

if source != (root / "examples/quick_start.c").read_text():
    sys.exit("the program in README.md differs from examples/quick_start.c")
if output != printed:
    sys.exit(f"README.md shows\n{output}but the program prints\n{printed}")

samples = root / "examples/samples"
blocks = re.findall(r"<!-- (\S+) (\d+)-(\d+) -->\n```\n(.*?)```", (root / "docs/formats.md").read_text(), re.DOTALL)
for name, first, last, block in blocks:
    if block.splitlines() != (samples / name).read_text().splitlines()[int(first) - 1 : int(last)]:
        sys.exit(f"the block of {name} in docs/formats.md differs from lines {first} to {last} of the sample")
shown = {name for name, *_ in blocks}
unshown = {"10002_geo.e", "10003_heo.e", "10018_position.e", "binary.dce"}
missing = {path.name for path in samples.iterdir()} - shown - unshown
if missing:
    sys.exit(f"docs/formats.md has no block of {missing}")
