"""The embedded engine's changes beside python3-dbf's: change_python.py PROGRAM FOLDER.

PROGRAM is the built change_table; FOLDER is scratch. Prints each measurement with its ratio to a plain
loop over the same rows, or to python3-dbf appending the same number of rows to a table without index.
"""

from __future__ import annotations

import datetime
import subprocess
import sys
import time
from pathlib import Path

import dbf

COLUMNS = "car_id I; part_id I; hw_part_id C(10); need L; changed D; changedby I; changstat N(2,0)"
BEFORE = 100_000


def append_seconds(folder: Path, rows: int) -> float:
    table = dbf.Table(str(folder / "python.dbf"), COLUMNS, dbf_type="vfp")
    table.open(dbf.READ_WRITE)
    row = (1, 1, "HW1", True, datetime.date(2001, 3, 7), -121, 1)
    table.append(row, multiple=BEFORE)
    start = time.perf_counter()
    for _ in range(rows):
        table.append(row)
    spent = time.perf_counter() - start
    table.close()
    return spent


def main() -> None:
    program, folder = sys.argv[1], Path(sys.argv[2])
    output = subprocess.run([program, folder], check=True, stdout=subprocess.PIPE, text=True).stdout
    print(f"{'measurement':38}{'rows':>9}{'seconds':>10}{'rows/s':>11}{'ratio':>8}  to")
    for line in output.splitlines():
        name, rows, seconds, plain = line.split("\t")
        count, spent, beside = int(rows), float(seconds), float(plain)
        if not spent:
            print(f"{name:38}{rows:>9}")
            continue
        other = "a plain loop that rewrites every row"
        if not beside and count < BEFORE:
            beside, other = append_seconds(folder, count), "python3-dbf appending without index"
        ratio = f"{spent / beside:8.1f}  {other}" if beside else ""
        print(f"{name:38}{rows:>9}{spent:>10.4f}{count / spent:>11,.0f}{ratio}")


if __name__ == "__main__":
    main()
