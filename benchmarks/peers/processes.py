"""Whole processes, from their start to their end."""

import json
import os
import resource
import shutil
import subprocess
import sys


class Process:
    """A call that runs a command and returns what it prints."""

    def __init__(self, *command):
        if not shutil.which(command[0]):
            raise FileNotFoundError(f"there is no {command[0]}")
        self.command = command
        self.largest = 0

    def __call__(self):
        # Without close_fds the child is made by vfork, whose cost does not grow with the memory of this process.
        child = subprocess.Popen(self.command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, close_fds=False)
        text = child.stdout.read()
        _, status, usage = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
        child.stdout.close()
        if child.returncode != 0:
            raise RuntimeError(f"{' '.join(self.command)} ended with {child.returncode}")
        self.largest = max(self.largest, 1024 * usage.ru_maxrss)
        return text

    def peak(self):
        """None where it cannot be told: the system counts what this process had when it made the child."""
        own = 1024 * resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
        return self.largest if self.largest > own else None


def program():
    return os.environ["VORAN_PROGRAM"]


def voran_describe(task):
    call = Process(program(), "describe", str(task.path("table", "csv")), "--header", "no", "--json", "--quiet")

    def tell(text):
        about = json.loads(text)
        return {"size": [about["rows"], about["columns"], about["missing"]["cells"]],
                "sum_of_column_means": sum(column["mean"] for column in about["variables"])}
    return call, tell


def voran_version(task):
    return Process(program(), "--version"), lambda text: {"prints": [text.startswith(b"voran")]}


def python_with_numpy(task):
    return Process(sys.executable, "-c", "import numpy; print('voran')"), lambda text: {"prints": [text == b"voran\n"]}


def r_start(task):
    return Process("Rscript", "--vanilla", "-e", "cat('voran')"), lambda text: {"prints": [text == b"voran"]}
