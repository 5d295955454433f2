"""The inputs: raw little-endian float32, row after row, NAME.bin beside a header NAME.json; -99 marks a gap.

Everything is made from fixed seeds, so that any two runs have the same numbers, but for a last digit where numpy's
version differs. A function makes an input if it is not there yet, and returns its name.
"""

import hashlib
import json

import numpy as np

GAP = -99.0
VERSION = 1  # to be raised when a function here changes what it makes


class Folder:
    def __init__(self, path):
        self.path = path
        path.mkdir(parents=True, exist_ok=True)

    def file(self, name, extension):
        return self.path / f"{name}.{extension}"

    def keep(self, name, seed, make):
        """The input `name`, of which make() gives the matrix or the series."""
        header = self.file(name, "json")
        if header.exists() and json.loads(header.read_text())["version"] == VERSION:
            return name
        x = np.atleast_2d(np.ascontiguousarray(make(), dtype="<f4"))
        x.tofile(self.file(name, "bin"))
        about = {"rows": x.shape[0], "columns": x.shape[1], "seed": seed, "version": VERSION,
                 "sha256": hashlib.sha256(x.tobytes()).hexdigest()}
        header.write_text(json.dumps(about, indent=1) + "\n")
        return name


def generator(seed):
    return np.random.Generator(np.random.PCG64(seed))


def cosines(permutation, count):
    """Orthonormal columns of mean zero."""
    n = len(permutation)
    return np.sqrt(2.0 / n) * np.cos(np.pi * (permutation[:, None] + 0.5) * np.arange(1, count + 1) / n)


def latent(rows, seed, count=8):
    """The scores that low_rank() with this seed is made of."""
    return cosines(generator(seed).permutation(rows), count)


def low_rank(rows, columns, seed, ratio=0.6, noise=0.02, count=8):
    """`count` components whose singular values fall by `ratio`, white noise, and column means between -2 and 2. A round
    of NIPALS brings a component nearer by the factor ratio^2."""
    rng = generator(seed)
    u = cosines(rng.permutation(rows), count)
    v = cosines(rng.permutation(columns), count)
    largest = np.sqrt(rows * columns)
    x = rng.standard_normal((rows, columns), dtype=np.float32)
    x *= np.float32(noise * largest / (np.sqrt(rows) + np.sqrt(columns)))
    for i in range(count):
        scores, loadings = (largest * ratio**i * u[:, i]).astype(np.float32), v[:, i].astype(np.float32)
        for r in range(0, rows, 1000):
            x[r:r + 1000] += scores[r:r + 1000, None] * loadings
    return x + rng.uniform(-2, 2, columns).astype(np.float32)


def pca_seed(rows, columns):
    return {(20000, 1000): 101, (500, 20000): 102, (100, 50): 103}.get((rows, columns), 100000 + rows + columns)


def pca(folder, rows, columns):
    seed = pca_seed(rows, columns)
    return folder.keep(f"pca_{rows}x{columns}", seed, lambda: low_rank(rows, columns, seed))


def gaps(folder, rows, columns):
    """The same with 5 % of the cells missing."""
    seed = 104 if rows == 5000 else 104 + rows + columns

    def make():
        x = low_rank(rows, columns, 104)
        x[generator(105).random((rows, columns)) < 0.05] = GAP
        return x
    return folder.keep(f"gaps_{rows}x{columns}", seed, make)


def pls_y(folder, rows, columns, responses):
    """Responses to pca(): six of its latent scores, mixed, and noise."""
    def make():
        u = latent(rows, pca_seed(rows, columns))
        rng = generator(105)
        mixing = rng.standard_normal((6, responses))
        y = np.sqrt(rows) * sum(u[:, [i]] * mixing[[i]] for i in range(6))
        return y / 2 + 0.5 * rng.standard_normal((rows, responses)) + np.array([1.0, -3.0, 10.0])[:responses]
    return folder.keep(f"pls_y_{rows}x{columns}x{responses}", 105, make)


def cross_validation(folder, rows, columns):
    """X with more of everything, and one response to all its latent scores."""
    x = folder.keep(f"cv_x_{rows}x{columns}", 106, lambda: low_rank(rows, columns, 106, 0.8, 0.1))

    def make():
        u = latent(rows, 106)
        rng = generator(107)
        mixing = rng.standard_normal((8, 1))
        y = np.sqrt(rows) * sum(u[:, [i]] * mixing[[i]] for i in range(8))
        return y + 0.5 * rng.standard_normal((rows, 1)) + 5.0
    return {"x": x, "y": folder.keep(f"cv_y_{rows}", 107, make)}


def prediction(folder, rows, columns, new_rows, responses=3):
    """Twelve latent variables seen through noise: rows to train a model on, and new ones."""
    rng = generator(107)
    loadings = (rng.standard_normal((12, columns)) * 0.8 ** np.arange(12)[:, None]).astype(np.float32)
    mean = rng.uniform(-2, 2, columns).astype(np.float32)
    mixing = rng.standard_normal((12, responses))

    def make(count, seed):
        of_rows = generator(seed)
        z = of_rows.standard_normal((count, 12), dtype=np.float32)
        x = of_rows.standard_normal((count, columns), dtype=np.float32)
        x *= np.float32(0.3)
        for r in range(0, count, 1000):
            for i in range(12):
                x[r:r + 1000] += z[r:r + 1000, [i]] * loadings[i]
        x += mean
        return x, z, of_rows

    def make_y():
        _, z, of_rows = make(rows, 108)
        return z.astype(float) @ mixing + 0.2 * of_rows.standard_normal((rows, responses)) + np.arange(responses)
    return {"x": folder.keep(f"train_x_{rows}x{columns}", 108, lambda: make(rows, 108)[0]),
            "y": folder.keep(f"train_y_{rows}x{columns}", 108, make_y),
            "new": folder.keep(f"new_x_{new_rows}x{columns}", 109, lambda: make(new_rows, 109)[0])}


def groups(folder, rows, columns=20):
    """Twelve groups of points, whose centres lie three times as far apart as the points of one."""
    def make():
        rng = generator(108)
        centres = 3.0 * rng.standard_normal((12, columns))
        return centres[rng.integers(0, 12, rows)] + rng.standard_normal((rows, columns))
    return folder.keep(f"groups_{rows}x{columns}", 108, make)


def series(folder, count):
    """Four waves in noise."""
    def make():
        t = np.arange(count, dtype=float)
        x = generator(109).standard_normal(count)
        for frequency, height in ((0.01, 1.0), (0.0517, 0.5), (0.125, 0.25), (0.31, 0.1)):
            x += height * np.sin(2 * np.pi * frequency * t + frequency)
        return x + 0.5
    return folder.keep(f"series_{count}", 109, make)


def readings(folder, count):
    """series() as an instrument shows it, to the thousandth: values lie on the edges of bins or well off them."""
    name = series(folder, count)
    return folder.keep(f"readings_{count}", 109, lambda: np.round(np.fromfile(folder.file(name, "bin"), "<f4"), 3))


def peaks(folder, rows, count, seed):
    """Series of six peaks each, and noise."""
    def make():
        rng = generator(seed)
        t = np.arange(count, dtype=float)
        places, widths, heights = (rng.uniform(low, high, (rows, 6)) for low, high in ((0, count), (10, 80), (0.2, 2)))
        x = 0.05 * rng.standard_normal((rows, count))
        for k in range(6):
            x += heights[:, [k]] * np.exp(-0.5 * ((t - places[:, [k]]) / widths[:, [k]]) ** 2)
        return x
    return folder.keep(f"peaks_{rows}x{count}", seed, make)


def table(folder, rows, columns):
    """Separated text: numbers like -1.2345, 2 % of the cells empty, no header."""
    name = f"table_{rows}x{columns}"

    def make():
        rng = generator(111)
        tenthousandths = np.rint(rng.standard_normal((rows, columns), dtype=np.float32) * np.float32(20000))
        v = np.clip(tenthousandths, -99999, 99999).astype(np.int32)
        empty = rng.random((rows, columns), dtype=np.float32) < np.float32(0.02)
        with open(folder.file(name, "csv"), "wb") as out:
            for r in range(0, rows, 1000):
                out.write(text_of(v[r:r + 1000], empty[r:r + 1000]))
        x = (v.astype(float) / 10000).astype(np.float32)
        x[empty] = GAP
        return x
    if not folder.file(name, "csv").exists():
        folder.file(name, "json").unlink(missing_ok=True)
    return folder.keep(name, 111, make)


def text_of(v, empty):
    """Lines of v / 10000: eight bytes are laid out for each cell, and those not needed are dropped."""
    size = np.abs(v)
    cells = np.empty(v.shape + (8,), np.uint8)
    cells[..., 0] = ord("-")
    cells[..., 1] = ord("0") + size // 10000
    cells[..., 2] = ord(".")
    for place, unit in enumerate((1000, 100, 10, 1), start=3):
        cells[..., place] = ord("0") + size // unit % 10
    cells[..., 7] = ord(",")
    cells[:, -1, 7] = ord("\n")
    needed = np.ones(cells.shape, bool)
    needed[..., 0] = v < 0
    needed[empty, :7] = False
    return cells[needed].tobytes()
