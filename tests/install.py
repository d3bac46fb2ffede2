"""Installs the build into a scratch folder, and builds and runs clients against the installed tree only.

The clients are one source as C11 and as C++20, and the example in the head of vectable.h. They find the library through
the package for CMake and through pkg-config. The Python package finds it beside itself in the installed tree; where pip
installs it, without a network, in the checkout.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

root, build, cmake, cc, cxx, flags = sys.argv[1:7]
scratch = pathlib.Path(build) / "installed"
warnings = f"-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror {flags}"


def run(*command, **options):
    print(" ".join(map(str, command)), flush=True)
    subprocess.run(list(map(str, command)), check=True, **options)


shutil.rmtree(scratch, ignore_errors=True)
run(cmake, "--install", build, "--prefix", scratch, stdout=subprocess.DEVNULL)
library = next(scratch.rglob("libvectable.so")).parent
dynamic = subprocess.run(["readelf", "-d", library / "libvectable.so"], capture_output=True, check=True).stdout
if b"Library soname: [libvectable.so.1]" not in dynamic:
    sys.exit(f"the library has another name:\n{soname}")
environment = {**os.environ, "LD_LIBRARY_PATH": str(library), "PKG_CONFIG_PATH": str(library / "pkgconfig")}
packaged = ["pkg-config", "--cflags", "--libs", "vectable"]
linked = subprocess.run(packaged, capture_output=True, text=True, check=True, env=environment).stdout.split() + ["-lm"]
clients = pathlib.Path(root) / "tests/clients"

header = (scratch / "include/vectable/vectable.h").read_text()
head = header[: header.index("CONVENTIONS")]
example = scratch / "example.c"
example.write_text("\n".join(re.findall(r"^ \*     (.*)$", head, re.MULTILINE)) + "\n")
if len(example.read_text().splitlines()) > 20:
    sys.exit("the example in vectable.h is longer than 20 lines")

run(cc, "-std=c11", *warnings.split(), example, *linked, "-o", scratch / "example")
compilers = [f"-DCMAKE_C_COMPILER={cc}", f"-DCMAKE_CXX_COMPILER={cxx}"]
flags_of_build = [f"-DCMAKE_C_FLAGS={warnings}", f"-DCMAKE_CXX_FLAGS={warnings}", f"-DCMAKE_PREFIX_PATH={scratch}"]
run(cmake, "-S", clients, "-B", scratch / "cmake", *compilers, *flags_of_build, stdout=subprocess.DEVNULL)
run(cmake, "--build", scratch / "cmake", stdout=subprocess.DEVNULL)
for client in ("cmake/story_c", "cmake/story_cpp"):
    run(scratch / client, scratch, env=environment)
run(scratch / "example", pathlib.Path(root) / "examples/samples/10001_leo.e", env=environment)


def ask_python(folder, wanted):
    """Imports the Python package of a folder, with no variable that names a library, and looks which one it takes."""
    asks = "import vectable as vt; print(vt.__version__, vt.__file__, vt._library.library._name, vt.VecTabGetInfo())"
    variables = {**os.environ, "PYTHONPATH": str(folder), "VECTABLE_LIBRARY": ""}
    ran = subprocess.run([sys.executable, "-c", asks], cwd=scratch, env=variables, capture_output=True, text=True)
    print(ran.stdout, ran.stderr)
    version, package, found, _, version_of_library = ran.stdout.split()[:5]
    if (f"{version},", package, found) != (version_of_library, f"{folder}/vectable/__init__.py", str(wanted)):
        sys.exit("that is not the package or the library that is wanted")


# The runtime of a sanitizer has to be in the process first.
if "-fsanitize" not in flags:
    ask_python(scratch / "lib/python3/dist-packages", library / "libvectable.so.1")
    if pathlib.Path(build) == pathlib.Path(root) / "build/release":
        folder = scratch / "by/pip/apart/from/all"
        pip = [sys.executable, "-m", "pip", "--disable-pip-version-check", "install", "--quiet", "--no-index"]
        run(*pip, "--target", folder, pathlib.Path(root) / "python")
        ask_python(folder, pathlib.Path(build) / "lib/libvectable.so.1")
