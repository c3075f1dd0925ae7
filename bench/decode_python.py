"""The embedded engine beside python3-dbfread on one large table: decode_python.py PROGRAM FOLDER [ROWS].

PROGRAM is the built decode_table. The table in FOLDER is made when it is missing; ROWS is 1,000,000
without the argument. Prints a table with rows per second and, for each measurement of the engine,
how many times as fast as python3-dbfread it is.
"""

from __future__ import annotations

import subprocess
import sys
import time
from pathlib import Path

import dbfread

MAKER = Path(__file__).resolve().parent / "make_large_table.py"


def python_seconds(table: Path) -> tuple[int, float]:
    start = time.perf_counter()
    rows = sum(1 for _ in dbfread.DBF(table, load=False))
    return rows, time.perf_counter() - start


def main() -> None:
    program, folder = sys.argv[1], Path(sys.argv[2])
    rows = sys.argv[3] if len(sys.argv) > 3 else "1000000"
    subprocess.run([sys.executable, MAKER, folder, rows], check=True)
    output = subprocess.run([program, folder], check=True, stdout=subprocess.PIPE, text=True).stdout
    count, reference = python_seconds(folder / "defaults.dbf")
    print(f"{'measurement':34}{'rows':>10}{'seconds':>10}{'rows/s':>13}{'x dbfread':>11}")
    for line in output.splitlines():
        name, found, seconds = line.split("\t")
        spent = float(seconds)
        rate = f"{count / spent:,.0f}" if int(found) else "-"
        print(f"{name:34}{found:>10}{spent:>10.3f}{rate:>13}{reference / spent:>11.1f}")
    print(f"{'python3-dbfread, every column':34}{count:>10}{reference:>10.3f}{count / reference:>13,.0f}{1:>11.1f}")


if __name__ == "__main__":
    main()
