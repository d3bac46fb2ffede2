"""What runs on the workers of a cluster: a share of a catalogue, loaded once, and batches of its states."""

import threading

import numpy as np

import vectable

_POINT_BYTES = 232  # of one state in a table, with its covariance

_lock = threading.Lock()
_loaded = {}


def _catalogue_of(paths):
    """The records of some files in the store of this process, which loads them when it first needs them."""
    with _lock:
        if paths not in _loaded:
            _loaded[paths] = vectable.Catalogue(*paths)
        return _loaded[paths]


class Share:
    """Some files of a list. A share that Dask moves to another worker travels as the paths, and loads again there."""

    def __init__(self, paths):
        self.paths = tuple(paths)
        self.catalogue = _catalogue_of(self.paths)

    def __reduce__(self):
        return Share, (self.paths,)

    def __sizeof__(self):
        # Dask weighs by it what moving the share to an idle worker would cost.
        return sum(_POINT_BYTES * vectable.VecTabGetAllFields(int(key)).numOfPts for key in self.catalogue.keys)


def states_of(share, times):
    """The states of all records of a share at times: (records, times, 6), km and km/s, NaN where there is none."""
    states = np.empty((len(share.catalogue), len(times), 6))
    share.catalogue.states(times, out=states)
    return states
