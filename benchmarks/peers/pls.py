"""Partial least squares: fits, cross-validation and prediction, on centred columns."""

import numpy as np

from .pca import column_means


def tell(result, totals):
    """From scores t't, loadings and weights of Y by component, and coefficients."""
    tt, p, c, b, first = result
    return {"r2x": tt * (p**2).sum(axis=1) / totals[0], "r2y": tt * (c**2).sum(axis=1) / totals[1],
            "sum_abs_coefficients": np.abs(b).sum(axis=0), "first_coefficients": b[0],
            "first_row_abs_scores": np.abs(first)}


def sum_about_means(x):
    means = column_means(x)
    return sum(float(((x[r:r + 500] - means) ** 2).sum()) for r in range(0, len(x), 500))


def totals_of(x, y):
    return sum_about_means(x), sum_about_means(y)


def numpy_kernel(task):
    """Weights from X'Y, which is formed once: two products with X for each component, and no deflation of it."""
    x, y = task.matrix("x"), task.matrix("y")

    def call():
        e = x - column_means(x).astype(np.float32)
        f = (y - y.mean(axis=0, dtype=float)).astype(np.float32)
        s = (e.T @ f).astype(float)
        rs, ps, cs, ts, tts = [], [], [], [], []
        for _ in range(task.components):
            w = s[:, 0] if s.shape[1] == 1 else s @ np.linalg.eigh(s.T @ s)[1][:, -1]
            w = w / np.linalg.norm(w)
            r = w.copy()
            for p, before in zip(ps, rs):
                r -= (p @ w) * before
            t = e @ r.astype(np.float32)
            tt = float(t.astype(float) @ t.astype(float))
            p, c = (t @ e).astype(float) / tt, s.T @ r / tt
            s = s - np.outer(p, c) * tt
            for kept, value in ((rs, r), (ps, p), (cs, c), (ts, t[0]), (tts, tt)):
                kept.append(value)
        return np.array(tts), np.array(ps), np.array(cs), np.array(rs).T @ np.array(cs), np.array(ts)
    totals = totals_of(x, y)
    return call, lambda result: tell(result, totals)


def sklearn_fit(task):
    from sklearn.cross_decomposition import PLSRegression
    x, y = task.matrix("x"), task.matrix("y")

    def numbers(model):
        t = model.x_scores_
        b = model.x_rotations_ @ model.y_loadings_.T
        return tell(((t**2).sum(axis=0), model.x_loadings_.T, model.y_loadings_.T, b, t[0]), totals)
    totals = totals_of(x, y)
    return lambda: PLSRegression(task.components, scale=False, tol=task.change, max_iter=500).fit(x, y), numbers


def left_out(task, rows):
    """The rows of each group, as masks: row i is in group i mod groups."""
    return [np.arange(rows) % task.groups == g for g in range(task.groups)]


def sklearn_cv(task):
    """One fit for each group, from which the predictions of all numbers of components follow."""
    from sklearn.cross_decomposition import PLSRegression
    x, y = task.matrix("x"), task.matrix("y")

    def call():
        press = np.zeros(task.components)
        for out in left_out(task, len(x)):
            model = PLSRegression(task.components, scale=False).fit(x[~out], y[~out])
            scores = (x[out] - x[~out].mean(axis=0)) @ model.x_rotations_
            predicted = y[~out].mean() + np.cumsum(scores * model.y_loadings_[0], axis=1)
            press += ((predicted - y[out]) ** 2).sum(axis=0)
        return press
    return call, lambda press: {"press": press}


def numpy_gram_cv(task):
    """XX' once; every group then works on a matrix as large as its rows: the fewest operations for wide X."""
    x, y = task.matrix("x", float), task.matrix("y", float)[:, 0]

    def components_of(k, f):
        us, ts = [], []
        for _ in range(task.components):
            t = k @ f
            t /= np.linalg.norm(t)
            us.append(f.copy())
            k -= np.outer(t, k @ t)
            k -= np.outer(k @ t, t)
            f = f - t * (t @ f)
            ts.append(t)
        return np.array(us).T, np.array(ts).T

    def call():
        gram = x @ x.T
        press = np.zeros(task.components)
        for out in left_out(task, len(x)):
            k, across = gram[np.ix_(~out, ~out)], gram[np.ix_(out, ~out)]
            means = k.mean(axis=0)
            across = across - means - across.mean(axis=1, keepdims=True) + means.mean()
            k = k - means - means[:, None] + means.mean()
            mean = y[~out].mean()
            u, t = components_of(k.copy(), y[~out] - mean)
            inner, outer, right = t.T @ k @ u, across @ u, t.T @ (y[~out] - mean)
            for a in range(1, task.components + 1):
                predicted = mean + outer[:, :a] @ np.linalg.solve(inner[:a, :a], right[:a])
                press[a - 1] += ((predicted - y[out]) ** 2).sum()
        return press
    return call, lambda press: {"press": press}


def numpy_cv_by_component(task):
    """This library's cross-validation: each component is left out and predicted on the residuals that the whole model
    leaves, so that all groups share two products with X. In double, as the reference for its numbers."""
    x, y = task.matrix("x", float), task.matrix("y", float)[:, 0]

    def call():
        e, f = x - x.mean(axis=0), y - y.mean()
        kept = np.array([~out for out in left_out(task, len(x))]).T
        press = []
        for _ in range(task.components):
            weights = e.T @ np.column_stack([f[:, None] * kept, f])
            weights /= np.linalg.norm(weights, axis=0)
            scores = e @ weights
            t, of_groups = scores[:, -1], scores[:, :-1]
            c = (of_groups * kept).T @ f / ((of_groups * kept) ** 2).sum(axis=0)
            press.append((((f[:, None] - of_groups * c) * ~kept) ** 2).sum())
            e = e - np.outer(t, t @ e / (t @ t))
            f = f - t * (t @ f) / (t @ t)
        return press
    return call, lambda press: {"press_by_component": press}


def tell_prediction(y):
    return {"mean": np.mean(y, axis=0, dtype=float), "first_row": y[0], "last_row": y[-1]}


def fitted(task):
    from sklearn.cross_decomposition import PLSRegression
    return PLSRegression(task.components, scale=False, tol=1e-12).fit(task.matrix("x"), task.matrix("y"))


def sklearn_predict(task):
    model, new = fitted(task), task.matrix("new")
    return lambda: model.predict(new), tell_prediction


def numpy_predict(task):
    """XB by columns of B, over blocks of rows that stay in the cache."""
    model, new = fitted(task), task.matrix("new")
    b = model.x_rotations_ @ model.y_loadings_.T
    offset = (task.matrix("y").mean(axis=0, dtype=float) - task.matrix("x").mean(axis=0, dtype=float) @ b)
    b, offset = np.asfortranarray(b, dtype=np.float32), offset.astype(np.float32)

    def call():
        y = np.empty((len(new), b.shape[1]), np.float32)
        for r in range(0, len(new), 512):
            rows = new[r:r + 512]
            for m in range(b.shape[1]):
                y[r:r + 512, m] = rows @ b[:, m]
        y += offset
        return y
    return call, tell_prediction


def numpy_predict_one(task):
    model, new = fitted(task), task.matrix("new")
    b = (model.x_rotations_ @ model.y_loadings_.T).astype(np.float32)
    offset = (task.matrix("y").mean(axis=0, dtype=float) - task.matrix("x").mean(axis=0, dtype=float) @ b)
    offset = offset.astype(np.float32)
    return lambda: new @ b + offset, tell_prediction
