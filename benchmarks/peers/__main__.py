"""The run: python3 -m peers, as benchmarks/compare starts it.

One process for each program of a work, all alive at once; they are asked for one call each, in turn, round after round,
so that what else the machine does strikes all of them.
"""

import argparse
import dataclasses
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

from . import inputs, machine, report
from .agreement import compare
from .works import all_works

HERE = pathlib.Path(__file__).parent
# A BLAS and OpenMP let their threads spin for a while after a call, to the cost of whoever comes next.
SETTLE = 0.05


class Failed(Exception):
    """The program cannot be measured; `absent` if it is not there."""

    def __init__(self, why, absent=False):
        super().__init__(why)
        self.absent = absent


def task_name(work):
    """Of the file that tells the programs what to do; beside it stand the inputs."""
    return f"work_{work.name}"


class Worker:
    def __init__(self, program, work, folder, settings, build):
        self.errors = tempfile.TemporaryFile("w+")
        environment = {**os.environ, **settings, "PYTHONPATH": str(HERE.parent), "PYTHONDONTWRITEBYTECODE": "1",
                       "VORAN_PROGRAM": str(build / "tools/voran/voran")}
        try:
            self.process = subprocess.Popen(self.command(program, work, folder, build), stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=self.errors, text=True, env=environment)
        except FileNotFoundError as error:
            raise Failed(f"there is no {error.filename}", absent=True) from error

    @staticmethod
    def command(program, work, folder, build):
        place = [str(folder.path), task_name(work)]
        if program.language == "voran":
            threads = [] if program.threads == "all" else [program.threads]
            return [str(build / "benchmarks/side_by_side"), program.call, *place, *threads]
        if program.language == "R":
            return ["Rscript", "--vanilla", str(HERE / "peers.R"), program.call, program.package, *place]
        return [sys.executable, "-m", "peers.worker", program.call, program.package, *place]

    def answer(self):
        """The next line that is one of ours: a package may print too."""
        for line in self.process.stdout:
            if line.startswith("{"):
                return json.loads(line)
        self.process.wait()
        self.errors.seek(0)
        last = self.errors.read().strip().splitlines() or [f"it ended with {self.process.returncode}"]
        raise Failed(last[-1])

    def start(self):
        answer = self.answer()
        if "absent" in answer:
            raise Failed(answer["absent"], absent=True)
        return answer

    def ask(self, request):
        try:
            self.process.stdin.write(request + "\n")
            self.process.stdin.flush()
        except BrokenPipeError:
            pass  # answer() tells why it ended
        return self.answer()

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()


class Run:
    def __init__(self, options):
        self.runs, self.build = options.runs, options.build
        self.folder = inputs.Folder(options.inputs / ("small" if options.small else "full"))
        self.settings = machine.settings()
        self.others = []
        self.log = open(options.out.with_suffix(".jsonl"), "w")

    def note(self, **facts):
        self.log.write(json.dumps(facts) + "\n")
        self.log.flush()

    def start_workers(self, work, rows):
        workers = {}
        for program in work.programs:
            rows[program.name] = report.Row(program)
            try:
                workers[program.name] = Worker(program, work, self.folder, self.settings, self.build)
            except Failed as error:
                self.drop(rows[program.name], error)
        for name in list(workers):
            try:
                ready = workers[name].start()
                rows[name].version, rows[name].loaded = ready["version"], ready["loaded"]
            except Failed as error:
                self.drop(rows[name], error)
                workers.pop(name).end()
        return workers

    @staticmethod
    def drop(row, error):
        row.trouble, row.failed, row.seconds = str(error), not error.absent, []

    def measure(self, work):
        """Rows by the program's name."""
        about = work.about(self.folder)
        self.folder.file(task_name(work), "json").write_text(json.dumps(about) + "\n")
        rows, results = {}, {}
        workers = self.start_workers(work, rows)

        def of_all(do):
            for name in list(workers):
                try:
                    do(name, workers[name])
                except Failed as error:
                    self.drop(rows[name], error)
                    workers.pop(name).end()

        def one_round(name, worker):
            time.sleep(SETTLE)
            seconds = worker.ask("run")["seconds"]
            rows[name].seconds.append(seconds)
            self.note(work=work.name, program=name, seconds=seconds)

        def take_result(name, worker):
            answer = worker.ask("result")
            rows[name].peak, results[name] = answer["peak"], answer["result"]
        others = machine.OthersAtWork([worker.process.pid for worker in workers.values()])
        for _ in range(self.runs):
            of_all(one_round)
        busy = others.processors()
        if busy is not None:
            self.others.append(busy)
        of_all(take_result)
        for name, agreement in compare(work, results).items():
            rows[name].agreement = agreement
        for worker in workers.values():
            worker.end()
        for row in rows.values():
            self.note(work=work.name, others=busy, **summary(row), result=results.get(row.program.name))
        return rows


def summary(row):
    facts = dataclasses.asdict(row)
    facts["program"] = row.program.name
    return facts


def is_wrong(row):
    return row.failed or (row.agreement is not None and not row.agreement.within)


def chosen(works, names):
    unknown = [name for name in names if not any(work.name.startswith(name) for work in works)]
    if unknown:
        sys.exit(f"compare: there is no work {unknown[0]}; --list names them")
    return [work for work in works if not names or any(work.name.startswith(name) for name in names)]


def parse():
    parser = argparse.ArgumentParser(prog="benchmarks/compare", description="voran and other programs, side by side")
    parser.add_argument("works", nargs="*", metavar="WORK", help="a work, or how its name begins; all without")
    parser.add_argument("--small", action="store_true", help="small inputs, to try the run itself")
    parser.add_argument("--runs", type=int, default=7, metavar="N", help="rounds, at least 5 (default 7)")
    parser.add_argument("--list", action="store_true", help="name the works")
    parser.add_argument("--out", type=pathlib.Path, metavar="FILE", help="the table (default build/bench/compare.md)")
    parser.add_argument("--build", type=pathlib.Path, default=pathlib.Path("build/bench"), help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.runs < 5:
        parser.error("a median needs 5 rounds at least")
    options.build = options.build.absolute()
    options.inputs = options.build / "compare-inputs"
    options.out = options.out or options.build / "compare.md"
    return options


def main():
    options = parse()
    works = chosen(all_works(options.small), options.works)
    if options.list:
        for work in works:
            print(f"{work.name:16} {work.title}")
        return 0
    run = Run(options)
    lines, notes, wrong = report.table_head(), [], []
    for work in works:
        print(f"== {work.name}", file=sys.stderr, flush=True)
        rows = run.measure(work)
        lines += report.work_lines(work, rows)
        notes += [f"- {work.title}: {work.note}."] if work.note else []
        wrong += [f"{work.name}: {name}" for name, row in rows.items() if is_wrong(row)]
    head = report.head(machine.description(), run.settings, options.runs, options.small, run.others)
    text = "\n".join([head, *lines, "", *notes]) + "\n"
    options.out.write_text(text)
    print(text)
    for name in wrong:
        print(f"compare: failed or not in agreement: {name}", file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
