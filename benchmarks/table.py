"""Prints the tables of a run from its JSON, and how it stands to the targets.

Usage: table.py bench.json. Ends with status 1 when a result is wrong.
"""
import json
import statistics
import sys
from collections import defaultdict

CONTENDERS = ["Marl", "in a scope", "walk", "C++", "muParser", "muParserX", "KSeExpr", "LuaJIT", "Lua", "stb_perlin", "libnoise"]
TABLES = ["one time", "batch of 1,024", "batch of 16", "batch of 64", "growing", "walk alone"]
S = ["S1", "S2", "S3", "S4", "S5", "S6"]

# Nanoseconds of the first, relative to those of the second: table, rows (their geometric mean), who, to whom, at most.
TARGETS = [
    ("one time", S, "Marl", "muParser", 0.6),
    ("one time", S, "in a scope", "muParser", 0.6),
    ("one time", S, "Marl", "KSeExpr", 0.32),
    ("one time", S, "in a scope", "KSeExpr", 0.32),
    ("one time", ["scene of 2,000, cold"], "Marl", "KSeExpr", 0.5),
    ("batch of 1,024", S, "Marl", "C++", 1.25),
    ("batch of 1,024", S, "Marl", "LuaJIT", 0.4),
    ("batch of 1,024", S, "Marl", "KSeExpr", 1 / 25),
    ("batch of 16", ["S3"], "Marl", "KSeExpr", 1 / 14),
    ("batch of 16", ["S6"], "Marl", "KSeExpr", 1 / 14),
    ("batch of 1,024", ["vector"], "Marl", "C++", 3),
    ("batch of 1,024", ["transform of a vector"], "Marl", "C++", 3),
    ("batch of 1,024", ["8 keys, rising"], "Marl", "C++", 1.5),
    ("batch of 1,024", ["10,000 keys, random"], "Marl", "C++", 0.3),
    ("batch of 1,024", ["noise of a vector"], "Marl", "C++", 0.3),
    ("batch of 64", ["scene of 2,000"], "Marl", "C++", 1.2),
    ("one time", S, "walk", "KSeExpr", 1.5),
]


class Run:
    def __init__(self, path):
        samples = defaultdict(list)
        self.allocations, self.differences, self.wrong = {}, {}, defaultdict(list)
        with open(path) as file:
            report = json.load(file)
        entries = [entry for entry in report["benchmarks"] if entry["run_type"] == "iteration"]
        entries.sort(key=lambda entry: entry["family_index"])  # as written, not as interleaved
        for entry in entries:
            table, row, who, *threads = entry["run_name"].split("/")
            times = samples[table, row, who]
            times.append(entry["real_time" if threads else "cpu_time"] / entry["values"])
            self.allocations[table, row, who] = entry.get("allocs_per_iter")
            self.differences[table, row, who] = entry.get("difference")
            if len(times) == 1 and entry.get("difference", 0) > entry.get("tolerance", 0):
                self.wrong[table, row].append(who)
        self.median = {key: statistics.median(times) for key, times in samples.items()}
        self.spread = {key: spread(times) for key, times in samples.items()}
        self.repetitions = max(map(len, samples.values()))
        self.load, self.processors = report["context"]["load_avg"][0], report["context"]["num_cpus"]

    def rows(self, table):
        return list(dict.fromkeys(row for other, row, _ in self.median if other == table))

    def contenders(self, table):
        return [who for who in CONTENDERS if any((table, who) == (other, its) for other, _, its in self.median)]

    def ratio(self, table, rows, who, to):
        """None where something was not measured."""
        keys = [(table, row, each) for row in rows for each in (who, to)]
        if any(key not in self.median for key in keys):
            return None
        return statistics.geometric_mean(self.median[table, row, who] / self.median[table, row, to] for row in rows)


def spread(times):
    """Half the distance between the quartiles, relative to the median."""
    if len(times) < 4:
        return 0
    low, middle, high = statistics.quantiles(times, n=4)
    return (high - low) / 2 / middle


def number(x):
    return f"{x:,.0f}" if x >= 100 else f"{x:.1f}" if x >= 10 else f"{x:.2f}"


def cell(run, table, row, who):
    if (table, row, who) not in run.median:
        return ""
    text = number(run.median[table, row, who])
    ratio = run.ratio(table, [row], "Marl", who)
    return text if who == "Marl" or ratio is None else f"{text} ({ratio:.2f})"


def agreement(run, table, row):
    if run.wrong[table, row]:
        return "DIFFER: " + ", ".join(run.wrong[table, row])
    difference = ours(run.differences, table, row)
    return "" if difference is None else f"to {difference:.0e}" if difference > 0 else "same bits"


def allocations(run, table, row):
    count = ours(run.allocations, table, row)
    return "" if count is None else f"{count:,.0f}"


def ours(known, table, row):
    return known.get((table, row, "Marl"), known.get((table, row, "walk")))


def print_table(rows):
    widths = [max(map(len, column)) for column in zip(*rows)]
    rows.insert(1, ["-" * widths[0]] + ["-" * (width - 1) + ":" for width in widths[1:]])
    for row in rows:
        first, *others = (text.ljust(width) if i == 0 else text.rjust(width) for i, (text, width) in enumerate(zip(row, widths)))
        print("| " + " | ".join([first, *others]) + " |")
    print()


def print_measured(run, table):
    contenders = run.contenders(table)
    print_table([[table, *contenders, "results", "allocations"]]
                + [[row, *(cell(run, table, row, who) for who in contenders), agreement(run, table, row), allocations(run, table, row)]
                   for row in run.rows(table)])


def print_targets(run):
    lines = [["target", "measured", "at most", "verdict"]]
    for table, rows, who, to, limit in TARGETS:
        row = "S1 to S6" if rows == S else rows[0]
        measured = run.ratio(table, rows, who, to)
        lines.append([f"{table}, {row}: {who} to {to}", "not measured" if measured is None else f"{measured:.3g}", f"{limit:.3g}",
                      "" if measured is None else "met" if measured <= limit else "not met"])
    print_table(lines)


def main():
    run = Run(sys.argv[1])
    for table in TABLES:
        if run.rows(table):
            print_measured(run, table)
    print(f"Nanoseconds a value, medians of {run.repetitions} interleaved repetitions; in brackets Marl's time as a multiple of that one's.")
    print(f"Processor time, but elapsed time in the rows with threads: those mean nothing on a busy machine."
          f" The load was {run.load:.1f} on {run.processors} processors at the start.")
    worst = max(run.spread, key=run.spread.get)
    print(f"Spread (half the distance of the quartiles): {statistics.median(run.spread.values()):.1%} in the median"
          f" cell, {run.spread[worst]:.1%} in the worst, {'/'.join(worst)}.\n")
    print_targets(run)
    return 1 if any(run.wrong.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
