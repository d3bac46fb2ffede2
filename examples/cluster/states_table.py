"""Tables the states of a catalogue on many machines, with Dask (python3-distributed).

    states_table.py LIST --from 2026-03-01 --to 2026-03-02 --step 60 -o states.npy
    states_table.py LIST ... --scheduler tcp://10.0.0.1:8786

LIST is a list file with lines "EPHFIL = path"; all workers find the files under these paths. Without --scheduler the
cluster is local: --workers processes on this machine. On other machines install the package, put this folder on
PYTHONPATH, and set DASK_DISTRIBUTED__SCHEDULER__WORKER_SATURATION=inf; then start "dask scheduler" on one and
"dask worker tcp://..." on each.

The list is dealt out in shares, one a worker. A worker loads its share once and answers for some times a task; Dask
sends the tasks to where the share is. When a worker is lost, its nanny starts another, and the scheduler has the share
loaded again and asks what is missing: the table is the same to the bit. It has the records in the order of the list,
and is a file of NumPy: (records, times, 6), position, km, and velocity, km/s, in the frame of the record; NaN where
there is none.
"""

import argparse
import pathlib
import time

import dask
import numpy as np
from dask.distributed import Client, LocalCluster

from share import Share, states_of

# Tasks that the scheduler of Dask 2022.12 holds back in a queue do not notice that a share is lost, and wait for ever.
dask.config.set({"distributed.scheduler.worker-saturation": "inf"})


def paths_of_list(path):
    lines = pathlib.Path(path).read_text().splitlines()
    return [line.partition("=")[2].strip() for line in lines if line.startswith("EPHFIL")]


def deal(client, paths, shares):
    """Has shares of the files loaded, which are neighbours in the list; futures of them."""
    parts = [paths[i * len(paths) // shares : (i + 1) * len(paths) // shares] for i in range(shares)]
    return [client.submit(Share, *part, pure=False) for part in parts if part]


def ask(client, shares, times, times_at_once):
    """Asks every share for its states, some times a task; futures of arrays, a row a share, a column a task."""
    blocks = [times[first : first + times_at_once] for first in range(0, len(times), times_at_once)]
    return [[client.submit(states_of, share, block, pure=False) for block in blocks] for share in shares]


def gather(client, tasks):
    """The table of all records at all times."""
    return np.concatenate([np.concatenate(row, axis=1) for row in client.gather(tasks)])


def parse_arguments():
    parser = argparse.ArgumentParser(description="Table the states of a catalogue on the workers of a cluster.")
    parser.add_argument("list", help="list file with the ephemeris files")
    parser.add_argument("--from", dest="start", required=True, help="first time, UTC", metavar="TIME")
    parser.add_argument("--to", dest="end", required=True, help="time after the last, UTC", metavar="TIME")
    parser.add_argument("--step", type=int, default=60, help="seconds between times (default %(default)s)")
    parser.add_argument("--times-at-once", type=int, default=500, help="times a task (default %(default)s)")
    parser.add_argument("--scheduler", help="address of a running scheduler", metavar="ADDRESS")
    parser.add_argument("--workers", type=int, default=2, help="local workers without one (default %(default)s)")
    parser.add_argument("-o", "--output", default="states.npy", help="file of the table (default %(default)s)")
    return parser.parse_args()


def local_cluster(workers):
    """Processes on this machine that only its loopback reaches, each of one thread."""
    loopback = {"host": "127.0.0.1", "dashboard_address": "127.0.0.1:0", "worker_dashboard_address": "127.0.0.1:0"}
    return LocalCluster(n_workers=workers, threads_per_worker=1, memory_limit=None, **loopback)


def main():
    arguments = parse_arguments()
    times = np.arange(arguments.start, arguments.end, arguments.step, dtype="datetime64[s]")
    cluster = None if arguments.scheduler else local_cluster(arguments.workers)
    with Client(cluster or arguments.scheduler) as client:
        workers = len(client.scheduler_info()["workers"])
        begin = time.perf_counter()
        shares = deal(client, paths_of_list(arguments.list), workers)
        table = gather(client, ask(client, shares, times, arguments.times_at_once))
        seconds = time.perf_counter() - begin
    if cluster:
        cluster.close()
    np.save(arguments.output, table)
    there = np.count_nonzero(~np.isnan(table[..., 0]))
    print(f"{there} states of {len(table)} records at {len(times)} times, {workers} workers, {seconds:.1f} s")


if __name__ == "__main__":
    main()
