#!/usr/bin/python3
"""Compares docs/errors.md with the numbers of src/base/error.h: check_errors.py [PAGE [HEADER]].

Every number has a row; every row of a table of numbers has a text, a cause and a remedy; decimal and
hexadecimal forms are the same number.
"""

import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
NEEDED = ("cause", "what to do")
# Never raised: what the library's own numbers count from.
BASE = "kObjectError"


def library_numbers(text):
    """{number: name}"""
    found, values = {}, {}
    for name, value in re.findall(r"(k\w+) = ([^;]+);", text):
        value = re.sub(r"static_cast<std::int32_t>\((\w+)\)", r"\1", value)
        total = sum(values[part] if part in values else int(part, 0)
                    for part in value.replace(" ", "").split("+"))
        values[name] = total - (1 << 32) if total >= 1 << 31 else total
        if name != BASE:
            found[values[name]] = name
    return found


def cells_of(line):
    return [cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip().strip("|"))]


def check(page):
    """The numbers that the page has, and what is wrong with its rows."""
    numbers, problems, columns = set(), [], None
    for at, line in enumerate(page.split("\n"), 1):
        if not line.startswith("|"):
            columns = None
            continue
        cells = cells_of(line)
        if columns is None:
            columns = cells if cells[0] == "number" and "cause" in cells else []
        elif columns and set(line) - set("|- "):
            row = dict(zip(columns, cells))
            for name in NEEDED:
                if not row.get(name):
                    problems.append(f"{at}: {row['number']} has no {name!r}")
            problems += [f"{at}: {text}" for text in different_forms(row)]
            numbers |= {int(number) for number in re.findall(r"(?<![\w`])-?\d+", row["number"])}
    return numbers, problems


def different_forms(row):
    decimal = re.match(r"-\d+", row["number"])
    hexadecimal = re.search(r"8[0-9A-F]{7}", row.get("hexadecimal", "") + row["number"])
    if decimal and hexadecimal and int(decimal.group()) & 0xFFFFFFFF != int(hexadecimal.group(), 16):
        yield f"{decimal.group()} is {int(decimal.group()) & 0xFFFFFFFF:08X}, not {hexadecimal.group()}"


def main(page=os.path.join(ROOT, "docs", "errors.md"),
         header=os.path.join(ROOT, "src", "base", "error.h")):
    with open(page, encoding="utf-8") as file:
        numbers, problems = check(file.read())
    with open(header, encoding="utf-8") as file:
        known = library_numbers(file.read())
    problems += [f"no row for {number} ({name})" for number, name in known.items()
                 if number not in numbers]
    print("\n".join(problems) if problems else f"all {len(known)} numbers are described")
    return 1 if problems or not known else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
