"""The example clients print what arithmetic says. EXAMPLES_BIN is the folder of the built programs."""

import math
import os
import pathlib
import subprocess
import unittest

import numpy as np

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAMS = pathlib.Path(os.environ["EXAMPLES_BIN"]).resolve()
MESSAGE = "examples/samples/message.oem"
MU = 398600.8


def run(program, *arguments):
    command = [PROGRAMS / program, *map(str, arguments)]
    return subprocess.run(command, cwd=ROOT, capture_output=True, text=True)


def separation(radius_a, radius_b, seconds):
    angle = (math.sqrt(MU / radius_a**3) - math.sqrt(MU / radius_b**3)) * seconds
    return math.sqrt(radius_a**2 + radius_b**2 - 2 * radius_a * radius_b * math.cos(angle))


class Client(unittest.TestCase):
    def lines(self, program, *arguments):
        done = run(program, *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout.splitlines()


class ManyThreads(Client):
    def test_samples(self):
        for threads in [1, 2, 7, 64]:
            with self.subTest(threads=threads):
                lines = self.lines("many_threads", threads)
                self.assertEqual(lines[-1], f"60000 requests  {threads} threads  same bits as one thread")
                self.assertEqual([line.split()[1] for line in lines[:3]], ["10001", "10002", "10003"])
        self.assertRegex(self.lines("many_threads")[-1], r"^60000 requests  [1-9]\d* threads  same bits as one thread$")


class Screening(Client):
    SATELLITES = 300
    STEPS = np.arange(1440) * 10.0

    def positions(self, satellites, seconds):
        """Of satellites (n) at times (m), an array (n, m, 3)."""
        radius = 6800 + 800 * (satellites * 0.7548776662466927 % 1)
        inclination = math.pi / 2 * (satellites * 0.5698402909980532 % 1)
        node = 2 * math.pi * (satellites * 0.6180339887498949 % 1)
        phase = 2 * math.pi * (satellites * 0.4142135623730950 % 1)
        angle = phase[:, None] + np.sqrt(MU / radius**3)[:, None] * seconds
        along, across = np.cos(angle), np.sin(angle) * np.cos(inclination)[:, None]
        c, s = np.cos(node)[:, None], np.sin(node)[:, None]
        north = np.sin(angle) * np.sin(inclination)[:, None]
        return radius[:, None, None] * np.stack([along * c - across * s, along * s + across * c, north], axis=-1)

    def closest_pairs(self):
        """Of all pairs within 20 km: time, numbers and distance, the closest first."""
        everyone = self.positions(np.arange(self.SATELLITES), self.STEPS)
        found = []
        for a in range(self.SATELLITES):
            apart = np.linalg.norm(everyone[a + 1 :] - everyone[a], axis=-1)
            for b in a + 1 + np.flatnonzero((apart < 100.0).any(axis=1)):
                near = self.STEPS[apart[b - a - 1] < 100.0]
                seconds = np.unique((near[:, None] + np.linspace(-5.0, 5.0, 1001)).round(2))
                two = self.positions(np.array([a, b]), seconds)
                distances = np.linalg.norm(two[0] - two[1], axis=-1)
                if distances.min() < 20.0:
                    found.append((seconds[distances.argmin()], a, b, distances.min()))
        return sorted(found, key=lambda approach: approach[3])

    def test_all_pairs(self):
        wanted = self.closest_pairs()
        self.assertGreater(len(wanted), 5)
        for threads in [1, 2, 5]:
            lines = self.lines("screening", self.SATELLITES, threads)
            self.assertIn(f"pairs within 20 km: {len(wanted)}, the closest of them", lines)
            for line, (time, a, b, distance) in zip(lines[10:-1], wanted, strict=True):
                words = line.split()
                self.assertEqual([words[3], words[5]], [str(a), str(b)])
                np.testing.assert_allclose([float(words[0]), float(words[6])], [time, distance], rtol=0, atol=0.02)
            self.assertEqual(lines[-1].split(";")[0].split(" in ")[0], f"432000 states on {threads} threads")


class DirectMemory(Client):
    def test_separation(self):
        lines = self.lines("direct_memory")
        self.assertEqual(lines[0], "satellite 10001  plan stay   radius 7000.0 km  points 46")
        self.assertEqual(lines[1], "satellite 10001  plan raise  radius 7050.0 km  points 46")
        minutes = range(5, 90, 10)
        for line, minute in zip(lines[2:-1], minutes, strict=True):
            self.assertTrue(line.startswith(f"minute {minute:3d}  separation"))
            self.assertAlmostEqual(float(line.split()[-2]), separation(7000.0, 7050.0, 60 * minute), delta=2e-6)
        self.assertEqual(lines[-1], "0 records left")


class Refusals(Client):
    def test_errors(self):
        for program, arguments, words in (
            ("many_threads", "2 missing.e", "missing.e cannot be loaded"),
            ("many_threads", f"2 {MESSAGE}", "no ephemeris"),
            ("screening", "1", ""),
            ("screening", "10 0", ""),
            ("screening", "10 2 3", ""),
            ("screening", "many", ""),
        ):
            with self.subTest(program, arguments=arguments):
                done = run(program, *arguments.split())
                self.assertEqual(done.returncode, 1)
                self.assertIn(words, done.stderr)


if __name__ == "__main__":
    unittest.main()
