"""Histograms and control charts."""

import numpy as np


def numpy_histogram(task):
    x = task.series("x")
    count, ends = len(task.edges) - 1, (task.edges[0], task.edges[-1])
    return (lambda: np.histogram(x, bins=count, range=ends),
            lambda h: {"counts": h[0], "centres": (h[1][1:] + h[1][:-1]) / 2})


def numpy_chart(task):
    """Means and ranges of subgroups, with three-sigma limits from the factors for subgroups of five."""
    x = task.series("x")
    a2, d3, d4 = task.factors

    def call():
        subgroups = x.reshape(-1, task.subgroup)
        means, ranges = subgroups.mean(axis=1), subgroups.max(axis=1) - subgroups.min(axis=1)
        target, spread = means.mean(), ranges.mean()
        return {"means": [target, target - a2 * spread, target + a2 * spread],
                "ranges": [spread, d3 * spread, d4 * spread]}
    return call, lambda limits: limits
