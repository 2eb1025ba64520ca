"""Prints the table of a run from its JSON, and how it stands to the targets.

Usage: table.py bench.json. Ends with status 1 when a result is wrong.
"""
import json
import math
import statistics
import sys
from collections import defaultdict

CONTENDERS = ["Marl", "C++", "muParser", "muParserX", "KSeExpr", "LuaJIT", "Lua", "stb_perlin", "libnoise"]
S = ["S1", "S2", "S3", "S4", "S5", "S6"]


class Run:
    def __init__(self, path):
        samples = defaultdict(list)
        self.allocations, self.differences, self.tolerances = {}, {}, {}
        with open(path) as file:
            report = json.load(file)
        entries = report["benchmarks"]
        entries.sort(key=lambda entry: entry["family_index"])  # as written, not as interleaved
        for entry in entries:
            if entry["run_type"] != "iteration":
                continue
            what, who, *measured = entry["run_name"].split("/")
            samples[what, who].append(entry["real_time" if measured else "cpu_time"])
            self.allocations[what, who] = entry.get("allocs_per_iter")
            self.differences[what, who] = entry.get("difference")
            self.tolerances[what] = max(entry["tolerance"], self.tolerances.get(what, 0))
        self.median = {key: statistics.median(times) for key, times in samples.items()}
        self.spread = {key: spread(times) for key, times in samples.items()}
        self.repetitions = max(map(len, samples.values()))
        self.load, self.processors = report["context"]["load_avg"][0], report["context"]["num_cpus"]
        self.rows = list(dict.fromkeys(what for what, _ in samples))

    def ns(self, what, who="Marl"):
        return self.median[what, who]

    def mean(self, whats, who="Marl"):
        return math.exp(statistics.fmean(math.log(self.ns(what, who)) for what in whats))

    def wrong(self, what):
        return [who for who in CONTENDERS if (self.differences.get((what, who)) or 0) > self.tolerances[what]]


# What, measured, at most.
TARGETS = [
    ("S1 to S6, geometric mean, to KSeExpr", lambda r: r.mean(S) / r.mean(S, "KSeExpr"), 0.85),
    ("S1 to S6, geometric mean, to muParserX", lambda r: r.mean(S) / r.mean(S, "muParserX"), 1 / 8),
    ("scene of 2,000, cold, to KSeExpr",
     lambda r: r.ns("scene of 2,000, cold") / r.ns("scene of 2,000, cold", "KSeExpr"), 0.65),
    ("vector, to KSeExpr", lambda r: r.ns("vector") / r.ns("vector", "KSeExpr"), 2),
    ("8 keys, rising, to a search in C++", lambda r: r.ns("8 keys, rising") / r.ns("8 keys, rising", "C++"), 3),
    ("8 keys, rising, to KSeExpr", lambda r: r.ns("8 keys, rising") / r.ns("8 keys, rising", "KSeExpr"), 1 / 4),
    ("10,000 keys to 8 keys, rising", lambda r: r.ns("10,000 keys, rising") / r.ns("8 keys, rising"), 2),
    ("10,000 keys to 8 keys, random", lambda r: r.ns("10,000 keys, random") / r.ns("8 keys, random"), 4),
    ("10,000 keys unresolved, rising, ns a key", lambda r: r.ns("10,000 keys unresolved, rising") / 10_000, 5),
    ("10,000 keys moving, rising, ns a key", lambda r: r.ns("10,000 keys moving, rising") / 10_000, 5),
    # A walk that is not linear would be far off; memory is slower for more keys.
    ("10,000 keys moving to 8 keys moving, rising, per key",
     lambda r: r.ns("10,000 keys moving, rising") / 10_000 / (r.ns("8 keys moving, rising") / 8), 2),
    ("noise call, to KSeExpr", lambda r: r.ns("noise call") / r.ns("noise call", "KSeExpr"), 0.8),
    ("noise call, to stb_perlin", lambda r: r.ns("noise call") / r.ns("noise call", "stb_perlin"), 0.8),
    ("noise call, to the plain form in C++", lambda r: r.ns("noise call") / r.ns("noise call", "C++"), 0.5),
    ("two threads to one, S3", lambda r: r.ns("2 threads, S3") / r.ns("1 thread, S3"), 1 / 1.8),
    ("list of 1,000 numbers, allocations an item", lambda r: r.allocations["list of 1,000 numbers", "Marl"] / 1000, 0.01),
]


def spread(times):
    """Half the distance between the quartiles, relative to the median."""
    if len(times) < 4:
        return 0
    low, middle, high = statistics.quantiles(times, n=4)
    return (high - low) / 2 / middle


def number(x):
    return f"{x:,.0f}" if x >= 100 else f"{x:.1f}" if x >= 10 else f"{x:.2f}"


def cell(run, what, who):
    if (what, who) not in run.median:
        return ""
    text = number(run.ns(what, who))
    return text if who == "Marl" or (what, "Marl") not in run.median else f"{text} ({run.ns(what) / run.ns(what, who):.2f})"


def agreement(run, what):
    if run.wrong(what):
        return "DIFFER: " + ", ".join(run.wrong(what))
    known = [d for (row, _), d in run.differences.items() if row == what and d is not None]
    if not known:
        return ""
    return f"to {max(known):.0e}" if max(known) > 0 else "same bits"


def print_table(rows):
    widths = [max(map(len, column)) for column in zip(*rows)]
    rows.insert(1, ["-" * widths[0]] + ["-" * (width - 1) + ":" for width in widths[1:]])
    for row in rows:
        first, *others = (text.ljust(width) if i == 0 else text.rjust(width) for i, (text, width) in enumerate(zip(row, widths)))
        print("| " + " | ".join([first, *others]) + " |")
    print()


def main():
    run = Run(sys.argv[1])
    contenders = [who for who in CONTENDERS if any(who == other for _, other in run.median)]
    table = [["", *contenders, "results", "allocations"]]
    for what in run.rows:
        allocations = run.allocations.get((what, "Marl"))
        table.append([what, *(cell(run, what, who) for who in contenders), agreement(run, what),
                      "" if allocations is None else f"{allocations:.0f}"])
    print_table(table)
    print(f"Nanoseconds, medians of {run.repetitions} interleaved repetitions; in brackets Marl's time as a multiple of that one's.")
    print(f"Processor time, but elapsed time in the rows with threads: those mean nothing on a busy machine."
          f" The load was {run.load:.1f} on {run.processors} processors at the start.")
    worst = max(run.spread, key=run.spread.get)
    print(f"Spread (half the distance of the quartiles): {statistics.median(run.spread.values()):.1%} in the median"
          f" cell, {run.spread[worst]:.1%} in the worst, {' of '.join(reversed(worst))}.\n")

    targets = [["Target", "at most", "measured", "verdict"]]
    for what, measure, limit in TARGETS:
        try:
            measured = measure(run)
        except (KeyError, statistics.StatisticsError):
            targets.append([what, f"{limit:.3g}", "not measured", ""])
        else:
            targets.append([what, f"{limit:.3g}", f"{measured:.3g}", "met" if measured <= limit else "not met"])
    print_table(targets)
    return 1 if any(run.wrong(what) for what in run.rows) else 0


if __name__ == "__main__":
    sys.exit(main())
