"""Makes the seeds of table_fuzz and index_fuzz from the fixtures (writes corpus/table, corpus/index).

The forms of the seeds are those of table_fuzz.cpp and index_fuzz.cpp. Long tables without an index are
cut to their first records, so that seeds stay small; tables of a database container are made free ones.
"""

import pathlib
import struct

HERE = pathlib.Path(__file__).resolve().parent
FIXTURES = HERE.parent / "fixtures"
RECORDS = 3
BACKLINK = 263
INDEXED = ("calls", "setup", "types")  # in the order of index_fuzz.cpp


def shortened(table: bytes) -> bytes:
    count, header_length, record_length = struct.unpack_from("<IHH", table, 4)
    count = min(count, RECORDS)
    end = header_length + count * record_length
    return table[:4] + struct.pack("<I", count) + table[8:28] + b"\x00" + table[29:end] + b"\x1a"


def freed(table: bytes) -> bytes:
    header_length = struct.unpack_from("<H", table, 8)[0]
    return table[:header_length - BACKLINK] + bytes(BACKLINK) + table[header_length:]


def beside(path: pathlib.Path, ending: str) -> bytes:
    found = (path.with_suffix(e) for e in (ending, ending.upper()))
    return next((m.read_bytes() for m in found if m.exists()), b"")


def main() -> None:
    for number, path in enumerate(sorted(FIXTURES.glob("*/*.dbf"))):
        index = beside(path, ".cdx") if path.stem in INDEXED else b""
        table = path.read_bytes()
        if table[0] in (0x30, 0x31, 0x32):
            table = freed(table)
        if not index:
            table = shortened(table)
        memo = beside(path, ".fpt")[:2048]
        lengths = struct.pack("<HH", len(table), len(memo))
        settings = bytes([number % 20])
        (HERE / "corpus" / "table" / path.stem).write_bytes(settings + lengths + table + memo + index)
    (HERE / "corpus" / "index").mkdir(exist_ok=True)
    for number, stem in enumerate(INDEXED):
        index = beside(FIXTURES / "vfp-tables" / f"{stem}.dbf", ".cdx")
        (HERE / "corpus" / "index" / stem).write_bytes(bytes([number]) + index)


if __name__ == "__main__":
    main()
