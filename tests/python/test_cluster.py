"""The cluster of examples/: two worker processes on the loopback, one of which is ended midway."""

import os
import pathlib
import signal
import sys
import time
import unittest

import numpy as np
from dask.distributed import Client, as_completed, wait

import vectable as vt

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "examples/cluster"))
import states_table  # noqa: E402

SAMPLES = ("10001_leo.e", "10002_geo.e", "10003_heo.e", "ecr.txt", "itc.txt")


class Cluster(unittest.TestCase):
    def test_table_is_that_of_one_process_though_a_worker_dies(self):
        paths = [str(ROOT / "examples/samples" / name) for name in SAMPLES]
        times = np.arange("2026-03-01", "2026-03-02", 60, dtype="datetime64[s]")
        with states_table.local_cluster(2) as cluster, Client(cluster) as client:
            address, process = min(client.run(os.getpid).items())
            tasks = states_table.ask(client, states_table.deal(client, paths, 2), times, 30)
            next(as_completed(sum(tasks, [])))
            os.kill(process, signal.SIGKILL)
            wait(sum(tasks, []), timeout=300)  # raises where the engine would wait for ever
            table = states_table.gather(client, tasks)
            for _ in range(600):
                workers = client.scheduler_info()["workers"]
                if len(workers) == 2 and address not in workers:
                    break
                time.sleep(0.1)
            else:
                self.fail(f"no worker came for the one at {address}")
        with vt.Catalogue(*paths) as catalogue:
            alone = catalogue.states(times)
        np.testing.assert_array_equal(table, np.concatenate([alone.pos, alone.vel], axis=2))
        self.assertTrue((alone.outcome == vt.Outcome.STATE).any(axis=1).all())
