#!/usr/bin/env python3
"""Writes voran/signal/wavelet_filters.cpp from wavelet_filters.json beside this script:

    python3 voran/signal/filters/make_wavelet_filters.py > voran/signal/wavelet_filters.cpp
"""
import json
import os
import textwrap

HEAD = """// Made by voran/signal/filters/make_wavelet_filters.py from wavelet_filters.json, which names the sources.

#include "voran/signal/wavelet_filters.h"

inline namespace voran {
namespace detail {
namespace {

// clang-format off"""

MIDDLE = """// clang-format on

}  // namespace

const WaveletFamily kWaveletFamilies[kNumWaveletFamilies] = {
"""

TAIL = """};

}  // namespace detail
}  // namespace voran
"""


def as_float(number):
    """Nine significant digits name one float."""
    text = "%.9g" % number
    return text + ("f" if "." in text or "e" in text else ".0f")


def array(declaration, elements):
    body = textwrap.fill(", ".join(elements), 116, initial_indent="    ", subsequent_indent="    ")
    return "constexpr %s[] = {\n%s};" % (declaration, body)


def family_lines(family):
    """The arrays of one family, and its entry in the table of families."""
    lines, roles = [], {}
    for k, order in enumerate(family["orders"], 1):
        for role in [key for key in order if key != "origin"]:
            # The transform takes decomposition filters from their last tap to their first.
            numbers = order[role][::-1] if role == "decomposition" else order[role]
            name = "k%s%s%d" % (family["name"], role.title().replace("_", ""), k)
            lines.append(array("float " + name, map(as_float, [0.0] + numbers)))
            roles.setdefault(role, ["nullptr"]).append(name)
    lengths = [0] + [len(next(v for key, v in order.items() if key != "origin")) for order in family["orders"]]
    prefix = "k" + family["name"]
    lines.append("constexpr int %sLengths[] = {%s};" % (prefix, ", ".join(map(str, lengths))))
    tables = ["%s%sFilters" % (prefix, role.title().replace("_", "")) for role in roles]
    for table, names in zip(tables, roles.values()):
        lines.append(array("const float* " + table, names))
    entry = "    {%s, %sLengths, %d}," % (", ".join(tables + ["nullptr"] * (2 - len(tables))), prefix, len(lengths) - 1)
    return lines, entry


def main():
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "wavelet_filters.json")) as file:
        families = json.load(file)["families"]
    made = [family_lines(family) for family in families]
    print(HEAD)
    print("\n".join(line for lines, _ in made for line in lines))
    print(MIDDLE + "\n".join(entry for _, entry in made))
    print(TAIL, end="")


if __name__ == "__main__":
    main()
