"""What runs on the workers of a cluster: a share of a catalogue, loaded once, and batches of its states."""

import numpy as np

import vectable

_POINT_BYTES = 232  # of one state in a table, with its covariance


class Share:
    """The records of some files of a list, as long as Dask keeps the share.

    A share that Dask sends to another worker travels as its paths, and loads them there.
    """

    def __init__(self, *paths):
        # In direct-memory mode a file that two shares of a worker name is stored for each.
        vectable.VecHostSetElsetKeyMode(1)
        self.paths = paths
        self.catalogue = vectable.Catalogue(*paths)
        points = sum(vectable.VecTabGetAllFields(int(key)).numOfPts for key in self.catalogue.keys)
        self.size = _POINT_BYTES * points

    def __reduce__(self):
        return Share, self.paths

    def __sizeof__(self):
        # Dask weighs by it what sending the share to an idle worker would cost.
        return self.size

    def __del__(self):
        if hasattr(self, "catalogue"):
            self.catalogue.close()


def states_of(share, times):
    """The states of all records of a share at times: (records, times, 6), km and km/s, NaN where there is none."""
    states = np.empty((len(share.catalogue), len(times), 6))
    share.catalogue.states(times, out=states)
    return states
