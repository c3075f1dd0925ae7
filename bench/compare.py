"""The embedded engine beside plain loops and Python's libraries: compare.py FOLDER [BUILD...].

FOLDER is scratch; large tables stay there for the next run. BUILD is `native-release` or `win64`, both
without the argument; they must have been built. Every measurement is a process of its own, so the memory
shown is its own. Prints each one with the ratio of its time to that of something done in the same run.
"""

from __future__ import annotations

import datetime
import math
import subprocess
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

import dbf
import dbfread

ROOT = Path(__file__).resolve().parent.parent
ROWS, FEWER_ROWS = 1_000_000, 100_000
NEED_ROWS = (1_000, 10_000, 100_000)
NEED = "car_id I; part_id I; hw_part_id C(10); need L; changed D; changedby I; changstat N(2,0)"
FILLED_ROWS, NEW_ROWS = 100_000, 1_000
SEEKS = 10_000
WINE_STEP = 0.01  # seconds, in which Wine tells processor time


@dataclass
class Cost:
    """Seconds by the clock and of processor time; the most memory in MB of the process."""

    wall: float
    processor: float
    memory: float | None = None
    rows: int = 0

    def __add__(self, other: Cost) -> Cost:
        known = [part for part in (self.processor, other.processor) if not math.isnan(part)]
        return Cost(self.wall + other.wall, sum(known) if known else math.nan, self.memory, self.rows)

    def per_row(self) -> Cost:
        return Cost(self.wall / self.rows, self.processor / self.rows)


def cost_of(measured: Callable[[], int]) -> Cost:
    wall, processor = time.perf_counter(), time.process_time()
    rows = measured()
    return Cost(time.perf_counter() - wall, time.process_time() - processor, None, rows)


def least(costs: list[Cost]) -> Cost:
    return Cost(min(cost.wall for cost in costs), min(cost.processor for cost in costs), None, costs[0].rows)


class Programs:
    """The measuring programs of one build."""

    def __init__(self, build: str) -> None:
        self.folder = ROOT / "build" / build / "bench"
        self.wine = build.startswith("win")
        self.title = "under Wine" if self.wine else "native"

    def run(self, program: str, folder: Path, measurement: str, count: int) -> dict[str, Cost]:
        path, command = str(folder.resolve()), [str(self.folder / program)]
        if self.wine:
            path = "Z:" + path.replace("/", "\\")
            command = [str(ROOT / "scripts" / "wine.sh"), command[0] + ".exe"]
        output = subprocess.run(
            [*command, path, measurement, str(count)],
            check=True,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        ).stdout
        costs, memory = {}, 0.0
        for line in output.splitlines():
            name, rows, wall, processor = line.split("\t")
            if name == "peak":
                memory = float(wall)
            else:
                known = not self.wine or float(processor) >= 10 * WINE_STEP
                costs[name] = Cost(float(wall), float(processor) if known else math.nan, None, int(rows))
        for cost in costs.values():
            cost.memory = memory
        return costs


class Report:
    """The table, line by line."""

    def head(self, title: str) -> None:
        print(f"\n== {title}")
        print(f"{'measurement':39}{'rows':>9}{'seconds':>10}{'cpu':>10}{'MB':>6}{'ratio':>9}{'by cpu':>9}{'limit':>7}  to")

    def line(
        self, name: str, cost: Cost, other: Cost | None = None, limit: float | None = None, to: str = ""
    ) -> None:
        text = f"{name:39}{cost.rows or '':>9}{cost.wall:>10.4f}{figure(cost.processor, 10)}"
        text += f"{cost.memory:>6.0f}" if cost.memory else f"{'':6}"
        if other:
            ratio = cost.wall / other.wall
            by_processor = cost.processor / other.processor
            text += figure(ratio, 9) + figure(by_processor, 9) + verdict(ratio, by_processor, limit) + to
        print(text, flush=True)

    def ratio(self, name: str, wall: float, processor: float, limit: float, to: str) -> None:
        figures = figure(wall, 9) + figure(processor, 9)
        print(f"{name:39}{'':35}{figures}{verdict(wall, processor, limit)}{to}", flush=True)


def figure(number: float, width: int) -> str:
    return " " * width if math.isnan(number) else f"{number:>{width}.4f}"


def verdict(ratio: float, by_processor: float, limit: float | None) -> str:
    if limit is None:
        return f"{'':7}  "
    mark = "  " if ratio <= limit else " ~" if by_processor <= limit else " !"
    return f"{limit:>7.3f}{mark}"


def make_definitions(folder: Path) -> tuple[Path, Path]:
    places = folder / "large", folder / "smaller"
    for place, rows in zip(places, (ROWS, FEWER_ROWS)):
        subprocess.run([sys.executable, ROOT / "bench" / "make_large_table.py", place, str(rows)], check=True)
    return places


def read_all(table: Path) -> int:
    return sum(1 for _ in dbfread.DBF(table, load=False))


def compare_reading(report: Report, programs: Programs, places: tuple[Path, Path], python: Cost) -> None:
    report.head(f"Reading {ROWS:,} definitions ({programs.title})")
    large, smaller = places
    plain = programs.run("read_table", large, "plain", 3)["plain"]
    report.line("plain read of the table", plain)
    found = programs.run("read_table", large, "filter", 3)["filter"]
    report.line("SELECT, filter on two columns", found, python, 1 / 40, "python3-dbfread on the same file")
    report.line("", found, plain, 5, "the plain read")
    fewer = programs.run("read_table", smaller, "filter", 3)["filter"]
    report.line("the same, a tenth of the table", fewer)
    report.ratio("memory, whole table", found.memory / fewer.memory, math.nan, 1.25, "the memory for a tenth of it")
    for name, measurement in (("decode every column", "decode"), ("SELECT *, every value", "select")):
        every = programs.run("read_table", large, measurement, 1)[measurement]
        report.line(name, every, python, None, "python3-dbfread on the same file")
        fewer = programs.run("read_table", smaller, measurement, 1)[measurement]
        report.ratio("memory, whole table", every.memory / fewer.memory, math.nan, 1.25, "the memory for a tenth of it")


def compare_updates(report: Report, programs: Programs, folder: Path) -> None:
    report.head(f"UPDATE of the kit rows with its subselect ({programs.title})")
    before: Cost | None = None
    for rows in NEED_ROWS:
        loop = programs.run("change_table", folder, "plain", rows)
        update = programs.run("change_table", folder, "update", rows)
        report.line("plain loop that rewrites every row", loop["loop"])
        report.line("  bringing it to the disk", loop["flush"])
        report.line("UPDATE", update["statement"], loop["loop"], None, "the plain loop")
        report.line("  bringing it to the disk", update["flush"])
        whole, plain = update["statement"] + update["flush"], loop["loop"] + loop["flush"]
        limit = 20 if rows == NEED_ROWS[-1] else None
        report.line("UPDATE, both", whole, plain, limit, "the plain loop, both")
        if before:
            growth = rows * math.log(rows) / (before.rows * math.log(before.rows))
            wall, processor = whole.wall / before.wall, whole.processor / before.processor
            report.ratio(f"growth from {before.rows:,} rows", wall / growth, processor / growth, 1, "n log n")
        before = whole


def append_costs(folder: Path) -> Cost:
    folder.mkdir(parents=True, exist_ok=True)
    table = dbf.Table(str(folder / "python.dbf"), NEED, dbf_type="vfp")
    table.open(dbf.READ_WRITE)
    row = (1, 1, "HW1", True, datetime.date(2001, 3, 7), -121, 1)
    table.append(row, multiple=FILLED_ROWS)

    def append() -> int:
        for _ in range(NEW_ROWS):
            table.append(row)
        return NEW_ROWS

    cost = least([cost_of(append) for _ in range(5)])
    table.close()
    return cost


def compare_keys(report: Report, programs: Programs, folder: Path, python: Cost) -> None:
    report.head(f"Rows and keys of a table with {FILLED_ROWS:,} rows and three tags ({programs.title})")
    insert = programs.run("change_table", folder, "insert", NEW_ROWS)
    whole = insert["statements"] + insert["flush"]
    report.line("python3-dbf appending, no index", python)
    calls = programs.run("change_table", folder, "calls", NEW_ROWS)["calls"]
    report.line("the file calls of as many INSERTs", calls)
    report.line("INSERT statements", insert["statements"], calls, None, "the file calls alone")
    report.line("  bringing them to the disk", insert["flush"])
    report.line("INSERT statements, both", whole, python, 1, "python3-dbf")
    scan = programs.run("change_table", folder, "scan", 5)["scan"]
    report.line("SELECT of every row", scan)
    key = programs.run("change_table", folder, "key", 5)["key"]
    report.line("SELECT by key, which scans", key, scan, None, "SELECT of every row")
    seek = programs.run("change_table", folder, "seek", SEEKS)["seek"]
    report.line("seeking keys in the index", seek)
    one = seek.per_row()
    report.ratio("one key", one.wall / scan.wall, one.processor / scan.processor, 0.01, "SELECT of every row")


def main() -> None:
    folder = Path(sys.argv[1])
    builds = sys.argv[2:] or ["native-release", "win64"]
    places = make_definitions(folder)
    report = Report()
    report.head("Python, one process for both builds")
    reading = cost_of(lambda: read_all(places[0] / "defaults.dbf"))
    report.line("python3-dbfread, every row", reading)
    changed = folder / "changed"
    appending = append_costs(changed)
    report.line("python3-dbf appending, no index", appending)
    native = Programs("native-release")
    fill = native.run("change_table", changed, "fill", FILLED_ROWS)["fill"]
    report.line("engine, rows into an empty table", fill)
    one, python = fill.per_row(), appending.per_row()
    report.ratio("one row", one.wall / python.wall, one.processor / python.processor, 1, "python3-dbf, one row")
    for build in builds:
        programs = Programs(build)
        compare_reading(report, programs, places, reading)
        compare_updates(report, programs, changed)
        compare_keys(report, programs, changed, appending)
    print(
        """
seconds   the least of several rounds by the clock; cpu: the least of processor time of the process, under
          Wine in steps of 0.01 and without the part of Wine's server, which locks files
MB        the most memory of the process that did the measurement and nothing else
ratio     seconds beside the seconds of what stands under `to`, in the same run; by cpu: likewise
limit     ! the ratio is above it; ~ it is above it by the clock and within it by processor time, as happens
          while the machine does other things

Python runs outside Wine, and python3-dbf locks nothing. An INSERT asks Wine's server six times to lock or unlock,
which is most of its time there; the line of the file calls alone shows what remains for the statement itself."""
    )


if __name__ == "__main__":
    main()
