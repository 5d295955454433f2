"""Spectra, autocorrelations, wavelets, smoothing."""

import os
from concurrent.futures import ThreadPoolExecutor

import numpy as np


def window_like_voran(count):
    """A Hann window that runs over the midpoints: its ends are not quite 0. SciPy's own begins with a 0."""
    return (0.5 - 0.5 * np.cos(2 * np.pi * np.arange(1, count + 1) / (count + 1))).astype(np.float32)


def lengthened_like_voran(x, segment):
    """An even number of half-overlapping segments is averaged; to have them the series goes on in a line back to its
    first value. One more segment in two thousand, in this comparison."""
    half = segment // 2
    pairs = -(-len(x) // half) // 2
    missing = (2 * pairs + 1) * half - len(x)
    return np.concatenate([x, np.linspace(x[-1], x[0], missing, dtype=np.float32)])


def tell_powers(powers):
    return {"powers": powers}


def scipy_welch(task):
    import scipy.signal
    x, window = lengthened_like_voran(task.series("x"), task.segment), window_like_voran(task.segment)

    def call():
        return scipy.signal.welch(x, window=window, nperseg=task.segment, noverlap=task.segment // 2, detrend=False)[1]
    return call, tell_powers


def scipy_blocks(task):
    """What welch computes, without its general machinery: 64 segments at a time."""
    import scipy.fft
    x, window = lengthened_like_voran(task.series("x"), task.segment), window_like_voran(task.segment)

    def call():
        segments = np.lib.stride_tricks.sliding_window_view(x, task.segment)[::task.segment // 2]
        powers = np.zeros(task.segment // 2 + 1)
        for r in range(0, len(segments), 64):
            f = scipy.fft.rfft(segments[r:r + 64] * window, axis=1)
            powers += np.einsum("ij,ij->j", f.real, f.real) + np.einsum("ij,ij->j", f.imag, f.imag)
        powers /= len(segments) * float((window.astype(float) ** 2).sum())
        powers[1:-1] *= 2
        return powers
    return call, tell_powers


def tell_correlations(r):
    return {"correlations": r}


def scipy_autocorrelation(task):
    """One real transform there and back, of the length that suits it best."""
    import scipy.fft
    x = task.series("x")

    def call():
        z = x - np.float32(x.mean(dtype=float))
        length = scipy.fft.next_fast_len(len(z) + task.lags, real=True)
        f = scipy.fft.rfft(z, length)
        r = scipy.fft.irfft(f.real**2 + f.imag**2, length)[:task.lags + 1]
        return r / r[0]
    return call, tell_correlations


def statsmodels_acf(task):
    from statsmodels.tsa.stattools import acf
    x = task.series("x")
    return lambda: acf(x, nlags=task.lags, fft=True), tell_correlations


def wavelet_call(task):
    """The transform of some rows, which have been rolled: PyWavelets centres its filters, this library does not."""
    import pywt
    name, levels = f"db{task.taps // 2}", int(np.log2(task.matrix("x").shape[1]))
    return lambda rows: pywt.wavedec(rows, name, mode="periodization", level=levels, axis=-1)


def rolled(task):
    return np.roll(task.matrix("x"), task.taps // 2 - 1, axis=1)


def tell_wavelets(levels):
    """Energies of the levels, the finest first; the trend of the last level for each series."""
    energies = [np.sum(np.asarray(level, float) ** 2) for level in levels[::-1]]
    return {"energies": energies, "trends": levels[0][:, 0]}


def pywavelets(task):
    transform, x = wavelet_call(task), rolled(task)
    return lambda: transform(x), tell_wavelets


def pywavelets_on_threads(task):
    """A share of the rows on each processor, by threads that last and stay where they are."""
    transform, x = wavelet_call(task), rolled(task)
    processors = sorted(os.sched_getaffinity(0))
    pools = [ThreadPoolExecutor(1, initializer=os.sched_setaffinity, initargs=(0, {p})) for p in processors]
    shares = np.array_split(x, len(processors))

    def call():
        jobs = [pool.submit(transform, share) for pool, share in zip(pools, shares)]
        return [job.result() for job in jobs]
    return call, lambda parts: tell_wavelets([np.concatenate(level) for level in zip(*parts)])


def scipy_savgol(task):
    from scipy.signal import savgol_filter
    x = task.matrix("x")

    def call():
        return savgol_filter(x, task.window, 2), savgol_filter(x, task.window, 2, deriv=1)

    def tell(both):
        return {"first_smoothed": both[0][0], "first_slopes": both[1][0],
                "sum_of_squares": [np.sum(np.asarray(v, float) ** 2) for v in both]}
    return call, tell
