"""One program that is written in Python, on one work: python3 -m peers.worker MODULE.FUNCTION PACKAGE FOLDER NAME

The function is given the work and returns the call to be timed and a function that tells the key numbers of its result.
The lines that go in and out are those of benchmarks/side_by_side.cpp.
"""

import importlib
import importlib.metadata
import json
import math
import pathlib
import sys
import time
import warnings

import numpy as np

SHORTEST = 0.005  # seconds that a measurement takes at least, by repetition, so that the clock can tell them
LONG = 0.5  # seconds from which on a call is not made once untimed before it is timed


class Task:
    """A work as the file NAME.json tells it."""

    def __init__(self, folder, name):
        self.folder = pathlib.Path(folder)
        self.about = json.loads((self.folder / f"{name}.json").read_text())

    def __getattr__(self, key):
        return self.about[key]

    def path(self, role, extension):
        return self.folder / f"{self.about['inputs'][role]}.{extension}"

    def matrix(self, role, dtype=np.float32):
        about = json.loads(self.path(role, "json").read_text())
        x = np.fromfile(self.path(role, "bin"), "<f4").reshape(about["rows"], about["columns"])
        return x.astype(dtype, copy=False)

    def series(self, role, dtype=np.float32):
        return self.matrix(role, dtype)[0]


def memory(key):
    """A line of /proc/self/status, in bytes."""
    try:
        for line in pathlib.Path("/proc/self/status").read_text().splitlines():
            if line.startswith(key + ":"):
                return 1024 * int(line.split()[1])
    except OSError:
        pass
    return None


def forget_peak_memory():
    try:
        pathlib.Path("/proc/self/clear_refs").write_text("5")
    except OSError:
        pass


def numbers(value):
    return [float(v) for v in np.ravel(np.asarray(value, dtype=float))]


class Worker:
    def __init__(self, call, tell):
        self.call, self.tell = call, tell
        self.loops, self.seconds, self.last = 1, 0.0, None

    def measure(self):
        start = time.perf_counter()
        for _ in range(self.loops):
            self.last = self.call()
        self.seconds = (time.perf_counter() - start) / self.loops
        return self.seconds

    def warm_up(self):
        self.measure()
        self.measure_untimed()

    def measure_untimed(self):
        """What a call finds in the caches, and which threads are awake, is to be its own doing and not that of the
        programs that ran before it."""
        if self.seconds < LONG:
            self.loops = math.ceil(max(1.0, SHORTEST / max(self.measure(), 1e-8)))

    def run(self):
        self.measure_untimed()
        return {"seconds": self.measure()}

    def result(self):
        peak = getattr(self.call, "peak", lambda: memory("VmHWM"))()
        return {"peak": peak, "result": {key: numbers(v) for key, v in self.tell(self.last).items()}}


def say(answer):
    print(json.dumps(answer), flush=True)


def main():
    call, package, folder, name = sys.argv[1:]
    warnings.simplefilter("ignore")
    module, function = call.split(".")
    try:
        version = importlib.metadata.version(package) if package else ""
        start = getattr(importlib.import_module("." + module, __package__), function)
        worker = Worker(*start(Task(folder, name)))
    except (ImportError, FileNotFoundError) as error:
        say({"absent": str(error)})
        return
    loaded = None if hasattr(worker.call, "peak") else memory("VmRSS")  # whose memory is another's
    forget_peak_memory()
    worker.warm_up()
    say({"ready": True, "version": version, "loaded": loaded})
    for line in sys.stdin:
        say(getattr(worker, line.strip())())


main()
