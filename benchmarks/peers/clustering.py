"""Hierarchical clustering: from rows to the heights of all merges."""

import numpy as np


def tell(merges):
    heights = np.sort(merges[:, 2])[::-1]
    return {"sum_of_heights": heights.sum(), "half_sum_of_squares": (heights**2).sum() / 2, "highest": heights[:5],
            "median": heights[len(heights) // 2], "lowest": heights[-1]}


def scipy_linkage(task):
    from scipy.cluster.hierarchy import linkage
    x = task.matrix("x", float)
    return lambda: linkage(x, task.method), tell


def fastcluster_linkage(task):
    from fastcluster import linkage
    x = task.matrix("x", float)
    return lambda: linkage(x, task.method), tell


def fastcluster_vector(task):
    """Without a list of all distances."""
    from fastcluster import linkage_vector
    x = task.matrix("x", float)
    return lambda: linkage_vector(x, task.method), tell
