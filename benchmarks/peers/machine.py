"""The machine: what it is, the settings under which the programs are as fast as they honestly get, who else is busy."""

import os
import pathlib
import platform


def processors():
    return len(os.sched_getaffinity(0))


def cpu_lines(key):
    try:
        lines = pathlib.Path("/proc/cpuinfo").read_text().splitlines()
    except OSError:
        return []
    return [line.split(":", 1)[1].strip() for line in lines if line.split(":", 1)[0].strip() == key]


def openblas_core():
    """A processor that Debian's OpenBLAS knows, with the vector instructions of this one: an unknown processor is given
    kernels of twenty years ago."""
    flags = set((cpu_lines("flags") or [""])[0].split())
    if {"avx512f", "avx512vl"} <= flags:
        return "SKYLAKEX"
    return "HASWELL" if "avx2" in flags else None


def settings():
    """Variables for all programs alike; what the user has set stays."""
    threads = str(processors())
    # Freed memory stays in the process, and in large pages: where a host takes freed pages back, finding fresh ones
    # takes seconds for a gigabyte, longer than most works here.
    malloc = {"hugetlb": 1, "mmap_threshold": 8 << 30, "trim_threshold": 32 << 30, "top_pad": 64 << 20, "arena_max": 1}
    wanted = {"OMP_NUM_THREADS": threads, "OPENBLAS_NUM_THREADS": threads, "OPENBLAS_CORETYPE": openblas_core(),
              "GLIBC_TUNABLES": ":".join(f"glibc.malloc.{key}={value}" for key, value in malloc.items())}
    return {key: os.environ.get(key, value) for key, value in wanted.items() if value is not None}


def description():
    try:
        memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
        system = platform.freedesktop_os_release().get("PRETTY_NAME", "")
    except (OSError, ValueError):
        memory, system = float("nan"), platform.system()
    model = (cpu_lines("model name") or [platform.machine()])[0]
    cache = (cpu_lines("cache size") or ["?"])[0]
    return f"{model}, {processors()} processors, cache {cache}, {memory:.0f} GiB of memory, {system}"


class OthersAtWork:
    """How many processors programs other than these took since it was made."""

    def __init__(self, processes):
        self.processes = processes
        self.before = self.sample()

    def sample(self):
        tick = os.sysconf("SC_CLK_TCK")
        busy = own = 0.0
        try:
            fields = [int(v) for v in pathlib.Path("/proc/stat").read_text().split("\n", 1)[0].split()[1:]]
            total, busy = sum(fields[:8]) / tick, (sum(fields[:3]) + sum(fields[5:8])) / tick
            for process in [os.getpid(), *self.processes]:
                after_name = pathlib.Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
                own += sum(int(v) for v in after_name[11:15]) / tick
        except OSError:
            return None
        return total, busy, own

    def processors(self):
        now = self.sample()
        if now is None or self.before is None:
            return None
        total, busy, own = (b - a for a, b in zip(self.before, now))
        wall = total / (os.cpu_count() or 1)
        return max(0.0, busy - own) / wall if wall > 0 else 0.0
