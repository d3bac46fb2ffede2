"""A host that unloads the library, or that has closed its standard streams. LIBRARY is the shared library."""

import codecs
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import unicodedata
import unittest

LIBRARY = os.environ["LIBRARY"]
SAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples/samples"

EMPTY_LIST = "\n\n\n*** Vector Table Input Files ***\n"

HEAD = f"""
import _ctypes, ctypes, os, sys
def load():
    library = ctypes.CDLL({LIBRARY!r})
    library.VecTabAddSat.argtypes = [ctypes.c_int32, *3 * [ctypes.c_double], ctypes.c_int32]
    library.VecTabRemoveSat.argtypes = [ctypes.c_int64]
    return library
"""


codecs.register_error("mark", lambda error: ("?" * (error.end - error.start), error.end))


def printable(text):
    """The text with a question mark for each byte of a control character, and for each that is no part of UTF-8."""
    shown = ("?" * len(c.encode()) if unicodedata.category(c) == "Cc" else c for c in text.decode(errors="mark"))
    return "".join(shown).encode()


class Host(unittest.TestCase):
    def run_host(self, code, stderr="", **options):
        with tempfile.TemporaryDirectory() as folder:
            options = {"stdout": subprocess.PIPE, "text": True, "cwd": folder, **options}
            done = subprocess.run([sys.executable, "-c", HEAD + code], stderr=subprocess.PIPE, **options)
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

    def test_log_goes_nowhere_once_the_host_has_closed_its_descriptor(self):
        """Data that get the number of the log stay as they are and open, and the pipe of the parent is let go."""
        code = """
library, pipe, first = load(), os.readlink("/proc/self/fd/2"), %d
if first > 2:
    library.VecHostTraceToFile(b"log")
    os.unlink("log")  # so that its number in the file system is free
library.VecTabRemoveSat(16)
saved = os.dup2(1, 100)
os.closerange(first, 100)
links = [os.readlink(f"/proc/self/fd/{n}") for n in range(100) if os.path.exists(f"/proc/self/fd/{n}")]
assert (pipe in links) == (first > 2)
data = [os.open(f"data{i}", os.O_RDWR | os.O_CREAT) for i in range(20)]
library.VecTabRemoveSat(16)
library.VecHostSetTraceSink(None, None)
os.write(saved, str(sum(os.fstat(file).st_size for file in data)).encode())
os._exit(0)
"""
        words = "Z ERROR RemoveNode: Unable to locate this key                  16 in its binary tree."
        for first in (0, 2, 3):
            with self.subTest(first=first), tempfile.TemporaryDirectory() as folder:
                ran = [sys.executable, "-c", HEAD + code % first]
                done = subprocess.run(ran, capture_output=True, text=True, cwd=folder)
                self.assertEqual((done.returncode, done.stdout), (0, "0"), done.stderr)
                self.assertEqual([line[23:] for line in done.stderr.splitlines()], [words] if first < 3 else [])

    def test_entries_of_a_load_tell_the_line_and_steer_no_terminal(self):
        """What is no character of UTF-8, or a control character, is a question mark a byte."""
        source = random.Random(6)
        codes = [*range(0x20, 0x800), *(source.randrange(0x800, 0xD800) for _ in range(500)), 0xFFFF, 0x10000, 0x10FFFF]
        texts = ["".join(map(chr, codes[i : i + 99])).encode() for i in range(0, len(codes), 99)]
        texts += [bytes(source.choices(range(256), k=90)) for _ in range(500)]
        tails = (source.choices(range(0x80, 0xC0), k=3) for _ in range(40))
        texts += [bytes([head, *tail]) for tail in tails for head in range(0x80, 0x100)]
        lines = [b"x" + text.translate(None, b"\n\r") + b"|" for text in texts]
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "1\n\x1b\u00f6.e")
            head = b"stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n"
            pathlib.Path(path).write_bytes(head + b"\n".join(lines))
            calls = f"library.VecHostTraceToFile(b'log'); library.VecTabLoadFile({path.encode()!r})"
            self.run_host(f"library = load(); {calls}", cwd=folder)
            logged = pathlib.Path(folder, "log").read_bytes().split(b"\n")
        shown = printable(path.encode())
        told = b'Z INFO  %s: VecTabLoadFile: Reading VECTABs from file "%s".' % (shown, shown)
        self.assertEqual(logged[0][23:], told)
        expected = [b"%s:%d: %s" % (shown, number, printable(line)) for number, line in enumerate(lines, 4)]
        for entry, wanted in zip(logged[2:-2:2], expected, strict=True):
            self.assertEqual(entry[31:], wanted)

    def test_list_on_standard_output_stands_between_what_the_host_prints(self):
        code = """
library = load()
for saveMode, path in ((0, b"/dev/stdout"), (1, b"/proc/self/fd/1")):
    print(saveMode, flush=True)
    assert library.VecTabSaveFile(path, saveMode) == 0
print("end")
"""
        with tempfile.TemporaryFile("w+") as output:
            self.run_host(code, stdout=output)
            output.seek(0)
            self.assertEqual(output.read(), f"0\n{EMPTY_LIST}1\n{EMPTY_LIST}end\n")

    def test_lists_that_four_processes_append_are_all_kept(self):
        code = f"""
library = load()
children = [os.fork(), os.fork()]
assert not any(library.VecTabSaveFile(b"list", 1) for _ in range(25))
if 0 in children:
    os._exit(not all(child == 0 or os.waitpid(child, 0)[1] == 0 for child in children[children.index(0):]))
assert all(os.waitpid(child, 0)[1] == 0 for child in children)
assert open("list").read() == 100 * {EMPTY_LIST!r}
print(os.listdir())
"""
        self.assertEqual(self.run_host(code), "['list']\n")

    def test_list_beyond_the_limit_of_a_file_raises_no_signal_and_takes_none(self):
        code = """
import resource, signal
library = load()
library.VecHostSetTraceSink(None, None)
signal.signal(signal.SIGXFSZ, signal.SIG_DFL)
resource.setrlimit(resource.RLIMIT_FSIZE, (30, 30))
print(library.VecTabSaveFile(b"list", 0), end=" ")
signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGXFSZ})
signal.raise_signal(signal.SIGXFSZ)
print(library.VecTabSaveFile(b"list", 1), signal.sigpending() == {signal.SIGXFSZ}, os.listdir())
"""
        self.assertEqual(self.run_host(code), "2 2 True []\n")

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
