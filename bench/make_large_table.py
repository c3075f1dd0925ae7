"""Makes a large table of option definitions: make_large_table.py FOLDER ROWS.

FOLDER/defaults.dbf and defaults.fpt hold the definitions of the sample shop over and over, each with
an identifier, choices and a comment of its own, so no two memo values share their bytes. The same
ROWS give the same files; files of the right size are left alone.
"""

from __future__ import annotations

import struct
import sys
from pathlib import Path

from scale_shop import SAMPLE, Table

BLOCK = 64
FIRST_BLOCK = 8


class Memo:
    """A memo file that grows value by value."""

    def __init__(self, path: Path) -> None:
        self.file = path.open("wb")
        self.file.write(bytes(512))
        self.next = FIRST_BLOCK

    def add(self, value: bytes) -> bytes:
        """The stored pointer of the value."""
        if not value:
            return bytes(4)
        pointer = struct.pack("<I", self.next)
        blocks = -(-(8 + len(value)) // BLOCK)
        self.file.write((struct.pack(">II", 1, len(value)) + value).ljust(blocks * BLOCK, b"\0"))
        self.next += blocks
        return pointer

    def close(self) -> None:
        self.file.seek(0)
        self.file.write(struct.pack(">IHH", self.next, 0, BLOCK))
        self.file.close()


def sample_value(memo: bytes, pointer: bytes) -> bytes:
    start = struct.unpack("<I", pointer)[0] * struct.unpack_from(">H", memo, 6)[0]
    return memo[start + 8 :][: struct.unpack_from(">I", memo, start + 4)[0]] if start else b""


def main() -> None:
    folder, rows = Path(sys.argv[1]), int(sys.argv[2])
    table = Table(SAMPLE / "data" / "defaults.dbf")
    target = folder / "defaults.dbf"
    size = table.header_length + rows * table.record_length + 1
    if target.exists() and target.stat().st_size == size:
        return
    folder.mkdir(parents=True, exist_ok=True)
    sample_memo = (SAMPLE / "data" / "defaults.fpt").read_bytes()
    columns = table.columns
    cuts = [columns["ID"], columns["CHOICES"], columns["COMMENT"]]
    prepared = []
    for record in table.records:
        if record[:1] != b" ":
            continue
        memos = [sample_value(sample_memo, record[columns[name]]) for name in ("CHOICES", "COMMENT")]
        edges = [0] + [edge for cut in cuts for edge in (cut.start, cut.stop)] + [len(record)]
        kept = [record[edges[i] : edges[i + 1]] for i in range(0, len(edges), 2)]
        prepared.append((kept, memos))
    memo = Memo(folder / "defaults.fpt")
    unfinished = folder / "defaults.new"
    with unfinished.open("wb") as file:
        header = bytearray(table.header)
        struct.pack_into("<I", header, 4, rows)
        file.write(header)
        for index in range(rows):
            kept, (choices, comment) = prepared[index % len(prepared)]
            identifier = b"%08X-0000-4000-8000-%012X" % (index, index)
            file.write(kept[0] + identifier + kept[1] + memo.add(choices) + kept[2])
            file.write(memo.add(comment and comment + b" (%d)" % index) + kept[3])
        file.write(b"\x1a")
    memo.close()
    unfinished.replace(target)


if __name__ == "__main__":
    main()
