#!/usr/bin/env python3
"""Reads what the benchmark programs wrote as JSON, one file a program in a folder.

report.py table RESULTS            one Markdown table: each operation of comparisons.txt beside its limit or peer
report.py compare BEFORE AFTER     what became slower or faster between two folders; status 1 if anything is slower
"""
import argparse
import json
import pathlib
import sys

TABLE = pathlib.Path(__file__).with_name("comparisons.txt")


def read_results(folder):
    """The least processor time of each benchmark, with the rates that go with it, under "program: name"."""
    results = {}
    for path in sorted(pathlib.Path(folder).glob("*.json")):
        try:
            benchmarks = json.loads(path.read_text())["benchmarks"]
        except (OSError, ValueError, KeyError) as error:
            sys.exit(f"{path}: not the result of a benchmark program ({error})")
        for run in benchmarks:
            if run.get("run_type", "iteration") != "iteration" or run.get("error_occurred"):
                continue
            # What several threads do is measured by the clock on the wall.
            clock = "real_time" if run["name"].endswith("/real_time") else "cpu_time"
            time = run[clock] * {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1}[run["time_unit"]]
            name = f'{path.stem.removeprefix("bench_")}: {run["name"]}'
            if name not in results or time < results[name]["time"]:
                results[name] = {"time": time} | {
                    rate: run[rate] for rate in ("bytes_per_second", "items_per_second") if rate in run}
    if not results:
        sys.exit(f"{folder}: no results; run ./build.sh bench first")
    return results


def read_table():
    for number, line in enumerate(TABLE.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        fields = [field.strip() for field in line.split("|")]
        if len(fields) != 4:
            sys.exit(f"{TABLE}:{number}: not four fields")
        yield fields


def with_unit(value, units):
    for factor, unit in units:
        if value >= factor:
            break
    return f"{value / factor:.3g} {unit}"


def measured(result):
    time = with_unit(result["time"], [(1, "s"), (1e-3, "ms"), (1e-6, "us"), (1e-9, "ns")])
    if "bytes_per_second" in result:
        return f'{time}, {result["bytes_per_second"] / 1e9:.3g} GB/s'
    return time


def ratio(result, other):
    """How many times as fast as the other."""
    for rate in ("bytes_per_second", "items_per_second"):
        if rate in result and rate in other:
            return result[rate] / other[rate]
    return other["time"] / result["time"]


def print_table(results):
    print("| operation | measured | beside | measured | ratio |")
    print("|---|---|---|---|---|")
    missing = []
    for operation, name, beside, other in read_table():
        absent = [each for each in (name, other) if each not in results]
        if absent:
            missing += absent
            continue
        result, reference = results[name], results[other]
        print(f"| {operation} | {measured(result)} | {beside} | {measured(reference)} "
              f"| {ratio(result, reference):.2f} |")
    if missing:
        names = "\n  ".join(dict.fromkeys(missing))
        print(f"not measured, or not here:\n  {names}", file=sys.stderr)


def compare(before, after, tolerance):
    slower = 0
    for name in sorted(before.keys() & after.keys()):
        factor = after[name]["time"] / before[name]["time"]
        if 1 / tolerance <= factor <= tolerance:
            continue
        slower += factor > 1
        print(f'{"slower" if factor > 1 else "faster"} {factor:6.2f}  {name}')
    for name in sorted(before.keys() - after.keys()):
        print(f"gone           {name}")
    print(f"{slower} of {len(before.keys() & after.keys())} slower by more than {tolerance - 1:.0%}")
    return 1 if slower else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(dest="command", required=True)
    table = commands.add_parser("table")
    table.add_argument("results")
    comparison = commands.add_parser("compare")
    comparison.add_argument("before")
    comparison.add_argument("after")
    comparison.add_argument("--tolerance", type=float, default=1.15, help="times that still count as equal (1.15)")
    arguments = parser.parse_args()
    if arguments.command == "table":
        print_table(read_results(arguments.results))
        return 0
    return compare(read_results(arguments.before), read_results(arguments.after), arguments.tolerance)


if __name__ == "__main__":
    sys.exit(main())
