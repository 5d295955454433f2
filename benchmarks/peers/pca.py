"""Principal components, on centred columns."""

import numpy as np
import scipy.linalg.blas as blas

from .inputs import GAP


def tell(result):
    """With signs that make the loading of largest magnitude positive."""
    r2x, t, p = (np.asarray(v, float) for v in result)
    p = p / np.linalg.norm(p, axis=0)
    sign = np.sign(p[np.abs(p).argmax(axis=0), np.arange(p.shape[1])])
    return {"r2x": r2x, "largest_loading": np.abs(p).max(axis=0), "sum_abs_loading": np.abs(p).sum(axis=0),
            "first_row_scores": t[0] * sign}


def sums_of_squares(e):
    """Of each column, in double, some rows at a time."""
    total = np.zeros(e.shape[1])
    for r in range(0, len(e), 500):
        total += np.einsum("ij,ij->j", e[r:r + 500], e[r:r + 500])
    return total


def column_means(x):
    """In float within 500 rows, by the fast product, and in double over them."""
    total = np.zeros(x.shape[1])
    for r in range(0, len(x), 500):
        rows = x[r:r + 500]
        total += np.ones(len(rows), x.dtype) @ rows
    return total / len(x)


def iterate(start, round_of, change, limit=500):
    """Rounds of NIPALS until the score has settled: by the same rule as this library's."""
    t = start
    for _ in range(limit):
        p, new = round_of(t)
        d = new - t
        t = new
        if float(d @ d) <= change * float(t @ t):
            break
    return t, p


def numpy_nipals(task):
    """NIPALS as a careful user writes it over the BLAS: two products of the matrix with a vector in each round, and a
    deflation in place."""
    x = task.matrix("x")

    def call():
        e = x - column_means(x).astype(np.float32)
        left = sums_of_squares(e)
        total, r2x, ts, ps = left.sum(), [], [], []

        def round_of(t):
            p = t @ e
            p /= np.linalg.norm(p)
            return p, e @ p
        for _ in range(task.components):
            t, p = iterate(e[:, int(np.argmax(left))].copy(), round_of, task.change)
            e = blas.sger(-1.0, p, t, a=e.T, overwrite_a=1).T
            tt = float(t.astype(float) @ t.astype(float))
            left -= p.astype(float) ** 2 * tt
            r2x.append(tt / total)
            ts.append(t)
            ps.append(p)
        return r2x, np.array(ts).T, np.array(ps).T
    return call, tell


def numpy_masked_nipals(task):
    """The same with gaps as zeros and a mask: every sum of products is divided by the sum of squares over the cells
    that are present."""
    return masked_nipals(task, lambda products, weights: products / weights())


def numpy_gaps_as_zeros(task):
    """Without the division: what pcaMethods does with gaps. It is a reference for that alone."""
    call, _ = masked_nipals(task, lambda products, weights: products)
    return call, lambda result: {key + "_gaps_as_0": value for key, value in tell(result).items()}


def masked_nipals(task, divide):
    x = task.matrix("x")

    def call():
        present = x != GAP
        mask = present.astype(np.float32)
        e = np.where(present, x, np.float32(0))
        e -= (e.sum(axis=0, dtype=float) / present.sum(axis=0)).astype(np.float32)
        e *= mask
        left = sums_of_squares(e)
        total, r2x, ts, ps = left.sum(), [], [], []

        def round_of(t):
            p = divide(t @ e, lambda: (t * t) @ mask)
            p /= np.linalg.norm(p)
            return p, divide(e @ p, lambda: mask @ (p * p))
        for _ in range(task.components):
            before = left.sum()
            t, p = iterate(e[:, int(np.argmax(left))].copy(), round_of, task.change)
            e = blas.sger(-1.0, p, t, a=e.T, overwrite_a=1).T
            e *= mask
            left = sums_of_squares(e)
            r2x.append((before - left.sum()) / total)
            ts.append(t)
            ps.append(p)
        return r2x, np.array(ts).T, np.array(ps).T
    return call, tell


def sklearn_randomized(task):
    from sklearn.decomposition import PCA
    x = task.matrix("x")

    def call():
        model = PCA(task.components, svd_solver="randomized", iterated_power=4, random_state=0)
        scores = model.fit_transform(x)
        return model.explained_variance_ratio_, scores, model.components_.T
    return call, tell


def statsmodels_nipals(task):
    from statsmodels.multivariate.pca import PCA
    x = task.matrix("x")

    def call():
        return PCA(x, ncomp=task.components, standardize=False, demean=True, method="nipals", tol=task.change**0.5)
    return call, lambda model: {"r2x": np.diff(np.asarray(model.rsquare))}
