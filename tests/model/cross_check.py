"""Lets programs that know nothing of the engine read what it wrote:

    cross_check.py RANDOM_CHANGES STEPS SEED

Runs random changes, keeps the files, and compares them with the model that the changes were made in
as well: every value of the rows and memos as python3-dbf reads them, and the order of every tag as
Perl's XBase reads it. Tables that python3-dbf does not read are left to the other one: those of version
0x32, and those with a nullable column behind one that is not (it takes the flag of another column then).
"""

import contextlib
import io
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "fixtures"))
import dump_tables  # noqa: E402

UNREAD_VERSION = 0x32
OLD_VERSIONS = (0x03, 0xF5)
HEADER = DESCRIPTOR = 32
FLAGS = 18  # in a descriptor
END_OF_COLUMNS = 0x0D
differences: list[str] = []


def differ(subject: str, expected: list[str], found: list[str]) -> None:
    for number, (want, have) in enumerate(zip(expected, found)):
        if want != have:
            differences.append(f"{subject}, line {number + 1}:\n  is      {have}\n  must be {want}")
            return
    if len(expected) != len(found):
        differences.append(f"{subject}: {len(found)} lines, not {len(expected)}")


def is_read(table: bytes) -> bool:
    if table[0] == UNREAD_VERSION:
        return False
    if table[0] in OLD_VERSIONS:
        return True
    columns = []
    offset = HEADER
    while table[offset] != END_OF_COLUMNS:
        system, nullable = table[offset + FLAGS] & 1, table[offset + FLAGS] & 2
        if not system:
            columns.append(bool(nullable))
        offset += DESCRIPTOR
    return columns == sorted(columns, reverse=True)


def compare_rows(table: pathlib.Path) -> bool:
    if not is_read(table.read_bytes()):
        return False
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        dump_tables.dump(table)
    expected = table.with_suffix(".rows").read_text(encoding="ascii").splitlines()
    differ(f"{table.stem} as python3-dbf reads it", expected, printed.getvalue().splitlines())
    return True


def compare_order(table: pathlib.Path) -> int:
    """The number of tags."""
    tags = [line.split() for line in table.with_suffix(".order").read_text().splitlines()]
    for name, *records in tags:
        read = subprocess.run(["perl", str(HERE / "index_order.pl"), str(table.with_suffix(".cdx")), name],
                              check=False, capture_output=True, text=True)
        if read.returncode != 0:
            differences.append(f"{table.stem}, tag {name}: {read.stderr.strip()}")
        else:
            differ(f"{table.stem}, tag {name} as XBase reads it", records, read.stdout.split())
    return len(tags)


def main() -> int:
    program, steps, seed = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([program, steps, "--seed", seed, "--keep", folder], check=True)
        tables = sorted(pathlib.Path(folder).glob("*.dbf"))
        read = sum(compare_rows(table) for table in tables)
        tags = sum(compare_order(table) for table in tables)
    print("\n".join(differences))
    print(f"{read} of {len(tables)} tables read with python3-dbf, {tags} tags with XBase: "
          f"{len(differences)} differences")
    return 1 if differences or not read or not tags else 0


if __name__ == "__main__":
    sys.exit(main())
