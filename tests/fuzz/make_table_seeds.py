"""Makes the seeds of table_fuzz from the fixtures: make_table_seeds.py (writes corpus/table).

The form of a seed is table_fuzz.cpp's. Long tables are cut to their first records, so that seeds
stay small.
"""

import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
FIXTURES = HERE.parent / "fixtures"
RECORDS = 3


def shortened(table: bytes) -> bytes:
    count, header_length, record_length = struct.unpack_from("<IHH", table, 4)
    count = min(count, RECORDS)
    end = header_length + count * record_length
    return table[:4] + struct.pack("<I", count) + table[8:end] + b"\x1a"


def main() -> None:
    folder = HERE / "corpus" / "table"
    for number, path in enumerate(sorted(FIXTURES.glob("*/*.dbf"))):
        table = shortened(path.read_bytes())
        memos = [path.with_suffix(ending) for ending in (".fpt", ".FPT")]
        memo = next((m.read_bytes() for m in memos if m.exists()), b"")[:2048]
        settings = bytes([number % 20])
        seed = settings + struct.pack("<H", len(table)) + table + memo
        (folder / path.stem).write_bytes(seed)


if __name__ == "__main__":
    main()
