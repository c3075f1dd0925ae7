"""Makes data folders of any size from the sample shop: scale_shop.py FOLDER COUNT...

Each COUNT becomes FOLDER/COUNT with that many definitions: the sample's own, repeated with other
identifiers and keys, its memo file, its other tables, and both INI files with an entry for every
definition that the sample's files have one for. The bytes depend on the sample and COUNT only.
"""

from __future__ import annotations

import shutil
import struct
import sys
from pathlib import Path

SAMPLE = Path(__file__).resolve().parent.parent / "samples" / "shop"
ENCODING = "cp1252"


class Table:
    """A table file as bytes: enough of the format to repeat records."""

    def __init__(self, path: Path) -> None:
        data = path.read_bytes()
        count, self.header_length, self.record_length = struct.unpack_from("<IHH", data, 4)
        self.header = bytearray(data[: self.header_length])
        self.records = [
            data[self.header_length + i * self.record_length :][: self.record_length] for i in range(count)
        ]
        self.columns: dict[str, slice] = {}
        offset = 1
        for at in range(32, self.header_length - 1, 32):
            if data[at] == 0x0D:
                break
            name = data[at : at + 11].split(b"\0")[0].decode("ascii")
            self.columns[name] = slice(offset, offset + data[at + 16])
            offset += data[at + 16]

    def with_records(self, records: list[bytes]) -> bytes:
        header = bytearray(self.header)
        struct.pack_into("<I", header, 4, len(records))
        return bytes(header) + b"".join(records) + b"\x1a"


def text(record: bytes, column: slice) -> str:
    return record[column].decode(ENCODING).strip()


def replaced(record: bytes, column: slice, value: str) -> bytes:
    width = column.stop - column.start
    return record[: column.start] + value.encode(ENCODING)[:width].ljust(width) + record[column.stop :]


def repeated_key(key: str, turn: int) -> str:
    return key if turn == 0 else f"{key[:24]}_{turn}"


def read_entries(path: Path) -> dict[str, dict[str, str]]:
    sections: dict[str, dict[str, str]] = {}
    current: dict[str, str] = {}
    for line in path.read_bytes().decode(ENCODING).splitlines():
        if line.startswith("["):
            current = sections.setdefault(line[1 : line.index("]")].lower(), {})
        elif "=" in line and not line.startswith(";"):
            key, value = line.split("=", 1)
            current[key.strip().lower()] = value.strip()
    return sections


def make_ini(sample: Path, wanted: list[tuple[str, str, str]]) -> bytes:
    """The sample's file with an entry added for every (section, key, key in the sample) wanted."""
    entries = read_entries(sample)
    result: dict[str, list[str]] = {}
    for section, key, origin in wanted:
        value = entries.get(section.lower(), {}).get(origin.lower())
        if value is not None:
            result.setdefault(section, []).append(f"{key}={value}")
    known = {section.lower() for section in result}
    lines = []
    for section, values in entries.items():
        if section not in known:
            lines += [f"[{section}]"] + [f"{key}={value}" for key, value in values.items()] + [""]
    for section, pairs in result.items():
        lines += [f"[{section}]", *pairs]
        have = {pair.split("=")[0].lower() for pair in pairs}
        more = entries.get(section.lower(), {}).items()
        lines += [f"{key}={value}" for key, value in more if key not in have] + [""]
    return "\r\n".join(lines).encode(ENCODING) + b"\r\n"


def make_shop(folder: Path, count: int) -> None:
    folder.mkdir(parents=True, exist_ok=True)
    for path in (SAMPLE / "data").iterdir():
        if path.suffix.lower() in (".dbf", ".fpt"):
            shutil.copyfile(path, folder / path.name)
    table = Table(SAMPLE / "data" / "defaults.dbf")
    live = [record for record in table.records if record[:1] == b" "]
    columns = table.columns
    records, wanted = [], {True: [], False: []}
    for index in range(count):
        turn, position = divmod(index, len(live))
        record = live[position]
        key = text(record, columns["KEY"])
        local = record[columns["LOCALINI"]] in (b"T", b"t", b"Y", b"y")
        new_key = repeated_key(key, turn)
        record = replaced(record, columns["ID"], f"{index:08X}-0000-4000-8000-{position:012X}")
        record = replaced(record, columns["KEY"], new_key)
        records.append(record)
        wanted[local].append((text(record, columns["INISECTION"]), new_key, key))
    (folder / "defaults.dbf").write_bytes(table.with_records(records))
    (folder / "TOVO.INI").write_bytes(make_ini(SAMPLE / "workstation" / "TOVO.INI", wanted[True]))
    (folder / "TOVOGBL.INI").write_bytes(make_ini(SAMPLE / "data" / "TOVOGBL.INI", wanted[False]))


def main() -> None:
    for count in sys.argv[2:]:
        make_shop(Path(sys.argv[1]) / count, int(count))


if __name__ == "__main__":
    main()
