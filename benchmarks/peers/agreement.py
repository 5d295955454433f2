"""Whether the results of programs agree.

A key number is a list. The difference of two is the largest between their elements, divided by the largest magnitude in
the list: 1e-5 means that they agree to five digits of what is large in it.
"""

import dataclasses
import math


@dataclasses.dataclass
class Agreement:
    key: str  # whose difference is the largest part of what it may be
    difference: float
    within: bool
    reference: str  # the program that the result was held against


def difference(ours, theirs):
    """Infinite for lists of different lengths and for what is no number, which the workers may also write as null."""
    if len(ours) != len(theirs) or not all(isinstance(v, (int, float)) and math.isfinite(v) for v in ours + theirs):
        return math.inf
    largest = max(abs(v) for v in ours)
    gap = max(abs(a - b) for a, b in zip(ours, theirs))
    return gap / largest if largest > 0 else (0.0 if gap == 0 else math.inf)


def compare(work, results):
    """The agreement of each program with the first in the work's order that gives the same key numbers: voran, where
    that does; none for a program that comes first in all. A program none of whose numbers can be held against a
    tolerance does not agree."""
    agreements = {}
    first = {}
    for program in work.programs:
        if program.name not in results:
            continue
        result = results[program.name]
        known = [key for key in work.tolerance if key in result]
        checked = [Agreement(key, difference(results[first[key]][key], result[key]), True, first[key])
                   for key in known if key in first]
        for one in checked:
            one.within = one.difference <= work.tolerance[one.key]
        for key in known:
            first.setdefault(key, program.name)
        if checked:
            agreements[program.name] = max(checked, key=lambda one: relative(one, work.tolerance))
        elif not known:
            agreements[program.name] = Agreement("no key number", math.inf, False, "any")
    return agreements


def relative(agreement, tolerance):
    """How much of the tolerance a difference takes; of none at all, any takes more than there is."""
    if agreement.difference == 0:
        return 0.0
    allowed = tolerance[agreement.key]
    return agreement.difference / allowed if allowed > 0 else math.inf
