"""Tables of separated text: to a float matrix with -99 in the gaps."""

import numpy as np

from .inputs import GAP


def tell(x):
    gaps = x == GAP
    sums = np.where(gaps, 0.0, x.astype(float)).sum(axis=0)
    return {"size": [*x.shape, gaps.sum()], "sum_of_column_means": (sums / (~gaps).sum(axis=0)).sum(),
            "last_cells": x[-1, -2:]}


def pandas_read(task):
    import pandas
    path = task.path("table", "csv")

    def call():
        table = pandas.read_csv(path, header=None, dtype=np.float32, engine="c", low_memory=False)
        return np.nan_to_num(table.to_numpy(), copy=False, nan=GAP)
    return call, tell
