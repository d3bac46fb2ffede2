"""The program in the README is the one in examples/, and prints what the README says."""

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
