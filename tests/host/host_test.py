"""A host that unloads the library, or that has closed its standard streams. LIBRARY is the shared library."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

LIBRARY = os.environ["LIBRARY"]
SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples/samples"

HEAD = f"""
import _ctypes, ctypes, os, sys
def load():
    library = ctypes.CDLL({LIBRARY!r})
    library.VecTabAddSat.argtypes = [ctypes.c_int32, *3 * [ctypes.c_double], ctypes.c_int32]
    library.VecTabRemoveSat.argtypes = [ctypes.c_int64]
    return library
"""


class Host(unittest.TestCase):
    def run_host(self, code, stderr="", **options):
        with tempfile.TemporaryDirectory() as folder:
            options = {"capture_output": True, "text": True, "cwd": folder, **options}
            done = subprocess.run([sys.executable, "-c", HEAD + code], **options)
            self.assertEqual((done.returncode, done.stderr), (0, stderr))
            return done.stdout

    def test_store_outlives_the_unloading_of_the_library(self):
        code = """
for satNum in range(3):
    library = load()
    library.VecTabAddSat(satNum, 1.0, 6378.0, 0.07, 1)
    print(library.VecTabGetCount())
    _ctypes.dlclose(library._handle)
"""
        self.assertEqual(self.run_host(code), "1\n2\n3\n")

    def test_log_goes_to_standard_error_only(self):
        code = """
library = load()
library.VecTabRemoveSat(16)
os.close(2)
assert os.open("data", os.O_RDWR | os.O_CREAT) == 2
library.VecTabRemoveSat(16)
print(os.path.getsize("data"))
sys.stdout.flush()
os._exit(0)
"""
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run([sys.executable, "-c", HEAD + code], capture_output=True, text=True, cwd=folder)
        self.assertEqual((done.returncode, done.stdout), (0, "0\n"))
        words = "Z ERROR RemoveNode: Unable to locate this key                  16 in its binary tree."
        self.assertEqual([line[23:] for line in done.stderr.splitlines()], [words, words])

    def test_files_of_the_library_are_no_standard_streams(self):
        """With 0 to 2 closed, what the library opens has other numbers: the log, a file that is read, a list."""
        code = f"""
library = load()
saved = os.dup(1)
for number in (0, 1, 2):
    os.close(number)
def standard_streams():
    return [n for n in (0, 1, 2) if os.path.exists(f"/proc/self/fd/{{n}}")]
seen = []
@ctypes.CFUNCTYPE(None, ctypes.c_int32, ctypes.c_void_p, ctypes.c_int32, ctypes.c_void_p)
def look(level, text, length, context):
    seen.append(standard_streams())
library.VecHostTraceToFile(b"trace.log")
seen.append(standard_streams())
library.VecHostSetTraceSink(look, None)
library.VecTabLoadFile({str(SAMPLES / "10001_leo.e").encode()!r})
os.write(saved, (str(seen) + str(os.path.getsize("trace.log"))).encode())
library.VecHostSetTraceSink(None, None)
os._exit(0)
"""
        self.assertEqual(self.run_host(code), "[[], [], []]0")


if __name__ == "__main__":
    unittest.main()
