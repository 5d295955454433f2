"""What is measured: the works, the programs that do each, how near their results must come, and the goals."""

import dataclasses
import math
import typing

import numpy as np

from . import inputs

ALL = "all"  # threads: as many as the program, or its BLAS, uses where nobody tells it otherwise


@dataclasses.dataclass(frozen=True)
class Program:
    name: str
    language: str  # "voran" for this library, "python" or "R"
    call: str  # what its worker is asked to run
    package: str = ""  # whose version is told
    threads: str = ALL
    precision: str = "double"


@dataclasses.dataclass(frozen=True)
class Goal:
    """How many times as long the program must take as voran does; below 1, what part of voran's time it may take."""
    program: str
    times: float
    voran: str = "voran"


@dataclasses.dataclass(frozen=True)
class Work:
    name: str
    title: str
    about: typing.Callable  # of the folder: makes the inputs there, and gives what the programs are told
    programs: tuple
    tolerance: dict  # of each key number that is compared; see agreement.py
    goals: tuple = ()
    longest: float = math.inf  # seconds that voran may take
    note: str = ""


def voran(call, threads=ALL):
    name = "voran" if threads == ALL else "voran, 1 thread"
    return Program(name, "voran", call, threads=threads, precision="float")


def python(name, call, package, threads=ALL, precision="double"):
    return Program(name, "python", call, package, threads, precision)


def r(name, call, package, threads="1"):
    return Program(name, "R", call, package, threads)


def one_thread_too(call):
    return voran(call), voran(call, "1")


# Tolerances. A key number is a list; its difference from voran's is the largest between elements, divided by the
# largest magnitude in the list. Float products have 6e-8, and sums of them average that out.

# NIPALS ends when |t - t'|^2 <= 1e-10 |t|^2, with t' the score of the round before. Successive changes fall by 0.36 in
# this data, so the score still is 1e-5 * 0.36 / 0.64 = 6e-6 of its length from its limit, and later components inherit
# that. A single score may be off by more than its share. Explained variation depends on the square of it; what remains
# is scikit-learn, which sums the variances of 20000 rows in float: off by 1e-6, where all others agree to 1e-7.
NIPALS = {"r2x": 3e-6, "largest_loading": 1e-4, "sum_abs_loading": 1e-4, "first_row_scores": 2e-4}
# With several responses the same rule ends the iteration on u. A component that explains 2 % of Y has its weights from
# what the ones before leave of X'Y, so that two of float's seven digits are gone; coefficients divide by small t't.
PLS = {"r2x": 3e-5, "r2y": 1e-5, "sum_abs_coefficients": 1e-3, "first_coefficients": 1e-3, "first_row_abs_scores": 1e-3}
# Ten components of a float matrix, each the float residual of the one before.
PRESS = {"press": 1e-5, "press_by_component": 1e-4}
# Ten components that were fitted in float, with a rule to end of 1e-10 here and 1e-12 in the others.
PREDICTION = {"mean": 1e-4, "first_row": 1e-4, "last_row": 1e-4}
# Float distances of float rows, whose single rounding is 6e-8.
TREE = {"sum_of_heights": 1e-6, "half_sum_of_squares": 1e-6, "highest": 1e-6, "median": 1e-6, "lowest": 1e-6}

# Ward's method here is lazy: a pair that a merge has brought nearer waits until it is the last of its list, so that
# some merges come later than in the others, at heights that differ by little. The growths add up to the total sum of
# squares in any order, and the first merge is not concerned.
WARD = {"sum_of_heights": 1e-3, "half_sum_of_squares": 1e-6, "highest": 1e-3, "lowest": 1e-6}
LAZY_WARD = "voran's order of merges differs a little from the others', by design; its tests hold the tree itself"


def pca(rows, columns, components, goals):
    about = lambda folder: {"inputs": {"x": inputs.pca(folder, rows, columns)}, "components": components,
                            "change": 1e-10}
    programs = [voran("pca"), python("numpy NIPALS", "pca.numpy_nipals", "numpy", precision="float"),
                python("scikit-learn PCA, randomized", "pca.sklearn_randomized", "scikit-learn", precision="float"),
                python("statsmodels PCA, NIPALS", "pca.statsmodels_nipals", "statsmodels"),
                r("pcaMethods NIPALS", "pcamethods_nipals", "pcaMethods")]
    return Work(f"pca_{rows}x{columns}", f"PCA, {rows} x {columns}, {components} components", about, tuple(programs),
                NIPALS, goals)


def pca_gaps(rows, columns):
    about = lambda folder: {"inputs": {"x": inputs.gaps(folder, rows, columns)}, "components": 5, "change": 1e-10,
                            "gaps": True}
    programs = (voran("pca"),
                python("numpy NIPALS with a mask", "pca.numpy_masked_nipals", "numpy", precision="float"),
                python("numpy NIPALS, gaps as 0", "pca.numpy_gaps_as_zeros", "numpy", precision="float"),
                r("pcaMethods NIPALS", "pcamethods_nipals", "pcaMethods"))
    tolerance = {**NIPALS, **{key + "_gaps_as_0": value for key, value in NIPALS.items()}}
    return Work("pca_gaps", f"PCA with 5 % gaps, {rows} x {columns}, 5 components", about, programs, tolerance,
                (Goal("pcaMethods NIPALS", 35), Goal("numpy NIPALS with a mask", 2)),
                note="pcaMethods counts gaps as 0, where the others divide by what is present: it is held against a "
                     "script that does so too")


def pls(rows, columns, responses, components, goals):
    about = lambda folder: {"inputs": {"x": inputs.pca(folder, rows, columns),
                                       "y": inputs.pls_y(folder, rows, columns, responses)},
                            "components": components, "change": 1e-10}
    programs = (voran("pls"), python("numpy kernel PLS", "pls.numpy_kernel", "numpy", precision="float"),
                python("scikit-learn PLSRegression", "pls.sklearn_fit", "scikit-learn"),
                r("R pls, kernelpls", "pls_kernelpls", "pls", ALL), r("R pls, NIPALS", "pls_oscorespls", "pls", ALL))
    title = f"PLS, {rows} x {columns}, {responses} response{'s' if responses > 1 else ''}, {components} components"
    return Work(f"pls_{rows}x{columns}", title, about, programs, PLS, goals)


OWN_CV = ("voran leaves out each component on the residuals of the whole model, the packages leave out whole models: "
          "their PRESS agree with one another, voran's with a script that does as it does, in double")


def cross_validation(name, rows, columns, groups, components, goals):
    about = lambda folder: {"inputs": inputs.cross_validation(folder, rows, columns), "groups": groups,
                            "components": components}
    programs = (voran("pls_cv"), python("numpy, as voran", "pls.numpy_cv_by_component", "numpy"),
                python("numpy from XX'", "pls.numpy_gram_cv", "numpy"),
                python("scikit-learn, a fit a group", "pls.sklearn_cv", "scikit-learn"),
                r("R pls, kernelpls", "pls_cv_kernelpls", "pls", ALL), r("R pls, simpls", "pls_cv_simpls", "pls", ALL))
    title = "one left out at a time" if groups == rows else f"{groups} groups"
    return Work(name, f"Cross-validated PLS, {title}, {rows} x {columns}, {components} components", about, programs,
                PRESS, goals, note=OWN_CV)


def predict(name, rows, columns, components, new_rows, goals):
    about = lambda folder: {"inputs": inputs.prediction(folder, rows, columns, new_rows), "components": components}
    script = "pls.numpy_predict_one" if new_rows == 1 else "pls.numpy_predict"
    programs = [voran("predict"), python("numpy, XB", script, "numpy", precision="float"),
                python("scikit-learn predict", "pls.sklearn_predict", "scikit-learn"),
                r("R pls predict", "pls_predict", "pls", ALL)]
    if new_rows > 1:
        everything = Program("voran, with scores and residuals", "voran", "predict_all", precision="float")
        programs.insert(1, everything)
    return Work(name, f"Prediction of {new_rows} x {columns}, {components} components, 3 responses", about,
                tuple(programs), PREDICTION, goals)


def clustering(name, rows, method, tolerance, goals, note=""):
    title = {"single": "Single linkage", "ward": "Ward's method"}[method]
    about = lambda folder: {"inputs": {"x": inputs.groups(folder, rows)}, "method": method}
    call = {"single": "single_linkage", "ward": "ward"}[method]
    programs = (*one_thread_too(call), python("SciPy linkage", "clustering.scipy_linkage", "scipy", "1"),
                python("fastcluster linkage", "clustering.fastcluster_linkage", "fastcluster", "1"),
                python("fastcluster linkage_vector", "clustering.fastcluster_vector", "fastcluster", "1"),
                r("R hclust", "stats_hclust", "stats"))
    return Work(name, f"{title}, {rows} x 20", about, programs, tolerance, goals, note=note)


def spectrum(count, segment):
    about = lambda folder: {"inputs": {"x": inputs.series(folder, count)}, "segment": segment}
    programs = (*one_thread_too("spectrum"), python("SciPy welch", "signal.scipy_welch", "scipy", "1", "float"),
                python("SciPy transforms in blocks", "signal.scipy_blocks", "scipy", "1", "float"))
    # Powers of the strongest wave dominate the list; each is a float sum over the segments.
    return Work("spectrum", f"Power spectrum, {count} samples, segment {segment}", about, programs, {"powers": 1e-5},
                (Goal("SciPy welch", 1, "voran, 1 thread"),),
                note="SciPy is given voran's window and its last segment, so that the numbers can be compared")


def autocorrelation(count, lags):
    about = lambda folder: {"inputs": {"x": inputs.series(folder, count)}, "lags": lags}
    programs = (*one_thread_too("autocorrelation"),
                python("SciPy transforms", "signal.scipy_autocorrelation", "scipy", "1", "float"),
                python("statsmodels acf", "signal.statsmodels_acf", "statsmodels", "1"),
                r("R acf", "stats_acf", "stats"))
    # Float transforms of 2^21 numbers there and back.
    return Work("autocorrelation", f"Autocorrelation, {count} samples, {lags} lags", about, programs,
                {"correlations": 2e-6},
                (Goal("SciPy transforms", 0.5, "voran, 1 thread"), Goal("R acf", 10, "voran, 1 thread")))


def wavelets(rows, count, taps):
    about = lambda folder: {"inputs": {"x": inputs.peaks(folder, rows, count, 112)}, "taps": taps}
    programs = (*one_thread_too("wavelets"), python("PyWavelets", "signal.pywavelets", "pywavelets", "1", "float"),
                python("PyWavelets, rows shared out", "signal.pywavelets_on_threads", "pywavelets", ALL, "float"))
    return Work(f"wavelets_{taps}", f"Wavelets, {rows} x {count}, {taps} taps", about, programs,
                {"energies": 1e-6, "trends": 1e-5},  # up to twelve float levels, one upon the other
                (Goal("PyWavelets", 2, "voran, 1 thread"), Goal("PyWavelets, rows shared out", 2)))


def smoothing(rows, count, window):
    about = lambda folder: {"inputs": {"x": inputs.peaks(folder, rows, count, 113)}, "window": window}
    programs = (*one_thread_too("smoothing"),
                python("SciPy savgol_filter", "signal.scipy_savgol", "scipy", "1", "float"))
    # Slopes are differences: their rounding is that of the values.
    return Work("smoothing", f"Smoothing and slope, {rows} x {count}, window {window}", about, programs,
                {"first_smoothed": 1e-6, "first_slopes": 1e-5, "sum_of_squares": 1e-6},
                (Goal("SciPy savgol_filter", 4),))


TABLES = (
    ("3x3, n 30", 200000, [[3, 5, 2], [7, 1, 4], [2, 4, 2]]),
    ("3x3, n 150", 200000, [[20, 10, 5], [8, 25, 12], [6, 14, 50]]),
    ("3x4, n 60", 200000, [[8, 3, 6, 2], [4, 9, 3, 5], [2, 5, 6, 7]]),
    ("4x4, n 80", 200000, [[9, 4, 3, 5], [3, 8, 5, 2], [4, 3, 9, 6], [5, 2, 4, 8]]),
    ("4x5, n 100", 2000000, [[8, 4, 5, 3, 6], [3, 9, 4, 5, 2], [6, 3, 8, 4, 5], [4, 5, 3, 9, 4]]),
    ("5x5, n 100", 20000000, [[7, 3, 4, 2, 5], [2, 6, 3, 5, 3], [4, 3, 7, 3, 2], [3, 5, 2, 6, 4], [5, 2, 4, 3, 7]]),
    ("5x6, n 120", 200000000,
     [[6, 3, 4, 2, 5, 4], [2, 7, 3, 5, 3, 4], [4, 3, 7, 3, 2, 5], [3, 5, 2, 6, 4, 4], [5, 2, 4, 3, 7, 3]]),
)


def fisher(title, workspace, table):
    about = lambda folder: {"inputs": {}, "table": table, "workspace": workspace}
    programs = (Program("voran", "voran", "fisher", threads="1"), r("R fisher.test", "stats_fisher", "stats"))
    name = "fisher_" + title.replace(", n ", "_")
    # Tables that are as probable as the given one count as such within 1e-7, in both.
    return Work(name, f"Fisher's exact test, {title}", about, programs, {"p": 1e-6}, (Goal("R fisher.test", 0.5),))


def edges_like_voran(x):
    """Bins as wide as the range over the root of the number of values, rounded down to a digit or a digit and a half,
    from a whole number on."""
    low, high = math.floor(x.min()), float(x.max())
    raw = (high - low) / math.sqrt(len(x))
    unit = 10.0 ** math.floor(math.log10(raw))
    width = unit * math.floor(2 * raw / unit) / 2
    return [low + k * width for k in range(math.ceil((high - low) / width) + 1)]


def histogram(count):
    def about(folder):
        name = inputs.readings(folder, count)
        x = np.fromfile(folder.file(name, "bin"), "<f4")
        return {"inputs": {"x": name}, "edges": edges_like_voran(x)}
    programs = (voran("histogram"), python("numpy histogram", "statistics.numpy_histogram", "numpy", "1"),
                r("R hist", "graphics_hist", "graphics"))
    return Work("histogram", f"Histogram of {count} values", about, programs,
                {"counts": 0.0, "centres": 1e-6},  # the same bins, and float centres
                (Goal("numpy histogram", 1), Goal("R hist", 1)),
                note="voran also lists the members of each bin; the others are given its bins")


def chart(count):
    about = lambda folder: {"inputs": {"x": inputs.readings(folder, count)}, "subgroup": 5,
                            "factors": [0.577, 0.0, 2.114]}
    programs = (voran("chart"), python("numpy", "statistics.numpy_chart", "numpy", "1", "float"),
                r("R", "stats_chart", "stats"))
    return Work("chart", f"Mean and range chart of {count} values", about, programs,
                {"means": 1e-6, "ranges": 1e-6},  # float means of float means
                (Goal("numpy", 1), Goal("R", 1)))


def csv(rows, columns):
    about = lambda folder: {"inputs": {"table": inputs.table(folder, rows, columns)}}
    bare = Program("a bare fast_float loop", "voran", "read_csv_bare", precision="float")
    programs = (voran("read_csv"), voran("read_csv", "1"), bare,
                dataclasses.replace(bare, name="a bare fast_float loop, 1 thread", threads="1"),
                python("pandas read_csv", "tables.pandas_read", "pandas", "1", "float"),
                r("data.table fread", "data_table_fread", "data.table", ALL),
                python("voran describe, the whole program", "processes.voran_describe", ""))
    return Work("csv", f"CSV, {rows} x {columns}, 2 % of the cells empty", about, programs,
                # Text to float is exact; the sum is that of a thousand means, about zero, of values of a few units.
                {"size": 0.0, "sum_of_column_means": 1e-5, "last_cells": 1e-7},
                (Goal("pandas read_csv", 10), Goal("data.table fread", 1), Goal("a bare fast_float loop", 1 / 1.5)))


def start():
    programs = (Program("voran", "python", "processes.voran_version"),
                Program("python3 with numpy", "python", "processes.python_with_numpy", "numpy"),
                Program("Rscript", "python", "processes.r_start"))
    return Work("start", "Start of voran --version", lambda folder: {"inputs": {}}, programs, {"prints": 0.0},
                longest=0.010)


def every(work_programs, times=1.0):
    return tuple(Goal(name, times) for name in work_programs)


PCA_PACKAGES = ("numpy NIPALS", "scikit-learn PCA, randomized", "statsmodels PCA, NIPALS", "pcaMethods NIPALS")
PLS_PACKAGES = ("numpy kernel PLS", "scikit-learn PLSRegression", "R pls, kernelpls", "R pls, NIPALS")
PREDICT_PACKAGES = ("numpy, XB", "scikit-learn predict", "R pls predict")


def all_works(small):
    """In the order of the table; with `small`, works of the same kind that take no time."""
    def s(full, reduced):
        return reduced if small else full

    long, wide = s((20000, 1000), (600, 40)), s((500, 20000), (60, 400))
    grouped, singly = s((200, 2000), (40, 120)), s((200, 700), (30, 60))
    rows, count = s((1000, 2000), (30, 40)), s(4096, 512)
    return [
        pca(*long, 5, (Goal("statsmodels PCA, NIPALS", 10), Goal("pcaMethods NIPALS", 80),
                       Goal("scikit-learn PCA, randomized", 1), Goal("numpy NIPALS", 1.3))),
        pca(*wide, 5, (Goal("pcaMethods NIPALS", 100), Goal("numpy NIPALS", 1.3))),
        pca(100, 50, 5, (Goal("statsmodels PCA, NIPALS", 10), Goal("numpy NIPALS", 3),
                         *every(PCA_PACKAGES[1:2] + PCA_PACKAGES[3:]))),
        pca(10, 5, 2, every(PCA_PACKAGES)),
        pca_gaps(*s((5000, 500), (200, 30))),
        pls(*long, 3, 5, (Goal("scikit-learn PLSRegression", 5), Goal("R pls, kernelpls", 3),
                          Goal("numpy kernel PLS", 1 / 6))),
        pls(100, 50, 1, 5, every(PLS_PACKAGES)),
        pls(10, 5, 1, 2, every(PLS_PACKAGES)),
        cross_validation("pls_cv", *grouped, 7, s(10, 4), (
            Goal("scikit-learn, a fit a group", 4), Goal("R pls, kernelpls", 8), Goal("R pls, simpls", 8),
            Goal("numpy from XX'", 1))),
        cross_validation("leave_one_out", *singly, singly[0], s(10, 4), (Goal("R pls, kernelpls", 5),)),
        predict("predict", 2000, 500, 10, s(200000, 500), (
            Goal("scikit-learn predict", 10), Goal("R pls predict", 2), Goal("numpy, XB", 0.5))),
        predict("predict_one", 2000, 500, 10, 1, every(PREDICT_PACKAGES)),
        clustering("single_linkage", s(10000, 300), "single", TREE,
                   (Goal("SciPy linkage", 1), Goal("fastcluster linkage_vector", 1))),
        clustering("ward", s(5000, 200), "ward", WARD, (Goal("SciPy linkage", 0.2),), LAZY_WARD),
        spectrum(s(1 << 22, 1 << 16), count),
        autocorrelation(s(1 << 20, 1 << 14), s(1000, 100)),
        wavelets(rows[0], count, 4),
        wavelets(rows[0], count, 20),
        smoothing(rows[1], count, 21),
        *(fisher(*table) for table in (TABLES[:3] if small else TABLES)),
        histogram(1000),
        chart(1000),
        csv(*s((20000, 1000), (500, 30))),
        start(),
    ]
