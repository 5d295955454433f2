"""The table, as Markdown."""

import dataclasses
import statistics

COLUMNS = ("Work", "Program", "Median", "Least to most", "/voran", "Memory: peak (before)", "Agreement", "Goal")


@dataclasses.dataclass
class Row:
    """What came of one program on one work."""
    program: object
    version: str = ""
    seconds: list = dataclasses.field(default_factory=list)
    loaded: float = None
    peak: float = None
    trouble: str = ""  # why there is nothing: absent, or failed
    failed: bool = False
    agreement: object = None

    def median(self):
        return statistics.median(self.seconds)


def time_text(seconds):
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= size:
            return f"{seconds / size:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def memory_text(row):
    if row.peak is None:
        return ""
    before = f" ({row.loaded / 2**20:.0f})" if row.loaded is not None else ""
    return f"{row.peak / 2**20:.0f} MiB{before}"


def program_text(row):
    program = row.program
    words = [f"{program.name} {row.version}".strip(), program.precision]
    if program.threads != "all" and "thread" not in program.name:
        words.append(f"{program.threads} thread")
    return ", ".join(words)


def agreement_text(row):
    found = row.agreement
    if found is None:
        return ""
    against = "" if found.reference.startswith("voran") else f", with {found.reference}"
    return f"{'' if found.within else '**no**: '}{found.difference:.1g} ({found.key}{against})"


def goal_texts(work, rows):
    """What is asked of each program's time beside voran's, and whether it is so."""
    texts = {}
    for goal in work.goals:
        theirs, ours = rows.get(goal.program), rows.get(goal.voran)
        if not theirs or not ours or not theirs.seconds or not ours.seconds:
            continue
        ratio = theirs.median() / ours.median()
        wanted = f"{goal.times:.3g}" + ("" if goal.voran == "voran" else f" of {goal.voran}")
        texts[goal.program] = f"{wanted}: {'met' if ratio >= goal.times else '**missed**'}, {ratio:.3g}"
    return texts


def work_lines(work, rows):
    """The table's lines of one work; `rows` by the program's name."""
    lines = []
    ours = next((row for row in rows.values() if row.program.name == "voran" and row.seconds), None)
    goals = goal_texts(work, rows)
    if work.longest < float("inf") and ours:
        met = "met" if ours.median() < work.longest else "**missed**"
        goals["voran"] = f"under {time_text(work.longest)}: {met}"
    for place, row in enumerate(rows.values()):
        cells = [work.title if place == 0 else "", program_text(row)]
        if row.seconds:
            ratio = f"{row.median() / ours.median():.3g}" if ours else ""
            cells += [time_text(row.median()), f"{time_text(min(row.seconds))} to {time_text(max(row.seconds))}", ratio,
                      memory_text(row), agreement_text(row), goals.get(row.program.name, "")]
        else:
            cells += [("failed: " if row.failed else "absent: ") + row.trouble, "", "", "", "", ""]
        lines.append("| " + " | ".join(cell.replace("|", "/").replace("\n", " ") for cell in cells) + " |")
    return lines


def table_head():
    return ["| " + " | ".join(COLUMNS) + " |", "|" + "---|" * len(COLUMNS)]


def head(machine, settings, runs, small, others):
    words = "" if not small else "\n**Small inputs, which only try the run: the times mean nothing.**\n"
    busy = "unknown" if not others else f"{max(others):.2f} at most during a work"
    variables = ", ".join(f"`{key}={value}`" for key, value in settings.items())
    return f"""# Side by side
{words}
{machine}. Median of {runs} rounds in which the programs ran in turn. All programs had
{variables}.

`/voran` is a program's time over voran's. Memory is the largest resident during the calls, and that before them with
the input loaded. Agreement is the largest difference of a key number from voran's, as a share of the largest magnitude
in its list; **no** where it exceeds the tolerance. A goal is how many times as long as voran the program shall take.
Processors that other programs took: {busy}.
"""
