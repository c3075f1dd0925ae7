#!/usr/bin/env python3
"""Makes the seeds of the index fuzz target from the real tables of tests/fixtures.

Usage: make_index_seeds.py TARGET_FOLDER
"""
import pathlib
import struct
import sys

TABLES = pathlib.Path(__file__).resolve().parent.parent / "fixtures" / "vfp-tables"


def main():
    target = pathlib.Path(sys.argv[1])
    target.mkdir(parents=True, exist_ok=True)
    for table in sorted(TABLES.glob("*.dbf")):
        content = table.read_bytes()
        index = table.with_suffix(".CDX").read_bytes()
        (target / table.stem).write_bytes(struct.pack("<H", len(content)) + content + index)


if __name__ == "__main__":
    main()
