#!/usr/bin/env python3
"""Writes the medians of a run of `costs` as a Markdown table, each beside its floor.

    bench/table.py costs.json
"""

import json
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def medians(report):
    """{(what, "measured" or "floor"): the benchmark's medians}"""
    result = {}
    for row in report["benchmarks"]:
        if row.get("aggregate_name") == "median":
            what, kind = row["run_name"].split("/")[:2]
            result[what, kind] = row
    return result


def shown_time(nanoseconds):
    for unit in ("ns", "us", "ms"):
        if nanoseconds < 1000 or unit == "ms":
            return f"{nanoseconds:,.3g} {unit}" if nanoseconds < 100 else f"{nanoseconds:,.0f} {unit}"
        nanoseconds /= 1000
    raise AssertionError


def times(measured, floor, clock):
    a, b = (row[clock] * NANOSECONDS[row["time_unit"]] for row in (measured, floor))
    return [shown_time(a), shown_time(b), f"{a / b:.2f}"]


def counted(row, counter, unit=""):
    return f"{row[counter]:,.0f}{unit}" if counter in row else ""


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        rows = medians(json.load(file))
    print("| | takes | floor | ratio | processor | floor | ratio | allocations | left allocated |")
    print("|---|---|---|---|---|---|---|---|---|")
    ordered = sorted(rows.items(), key=lambda row: row[1]["family_index"])
    for (what, kind), measured in ordered:
        if kind == "measured":
            floor = rows[what, "floor"]
            cells = [what, *times(measured, floor, "real_time"), *times(measured, floor, "cpu_time")]
            cells += [counted(measured, "allocations"), counted(measured, "held", " B")]
            print("| " + " | ".join(cells) + " |")


main()
