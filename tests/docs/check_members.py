#!/usr/bin/python3
"""Compares docs/object-model.md with the type library: check_members.py [PAGE [LIBRARY]].

Every member of every class, its kind, type and parameters have to stand there, and nothing else. The
page gives a member a heading of the third level, with its kind in italics on the next line, or a row
of a table; both below the heading of its class.
"""

import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
KIND = r"(?:read and write|write only|read|method(?:, hidden)?|event)(?:: \w+)?"


def library_members(text):
    """{(class, member): (kind, type, [parameters])} and {constant: value} of a listing."""
    members, constants, interface = {}, {}, None
    for line in text.split("\n"):
        header = re.match(r"dispinterface (_+)(\w+) ", line)
        if header or not line:
            interface = header and header.group(2)
            event = header and header.group(1) == "__"
            continue
        constant = re.match(r"  (\w+) = (\d+) of type", line)
        if constant:
            constants[constant.group(1)] = constant.group(2)
        member = re.match(r"  (?:slot \d+ )?id \w+ (get|let|method) (\w+) returns (\S+) flags (\S+)",
                          line)
        if member and interface:
            kind, name, kind_of_result, flags = member.groups()
            add_member(members, (interface, name), kind, kind_of_result, flags, event)
            # The value that is written is no parameter.
            parameters = [] if kind == "let" else members[(interface, name)][2]
        elif re.match(r"    \w+ ", line) and interface:
            word, optional = line.split()[0], "optional" in line
            parameters.append(f"[{word}]" if optional else word)
    return members, constants


def add_member(members, key, kind, result, flags, event):
    result = "" if result == "void" else result.strip("*_")
    if kind == "method":
        kind = "event" if event else "method, hidden" if "hidden" in flags else "method"
        members[key] = (kind, result, [])
        return
    known = members.get(key)
    kind = {"get": "read", "let": "write only"}[kind]
    if known and known[0] != kind:
        kind, result = "read and write", result or known[1]
    members[key] = (kind, result or "String", [])


def split_kind(text):
    kind, _, result = text.partition(": ")
    return kind, result


def split_name(text):
    name, _, parameters = text.rstrip(")").partition("(")
    return name, [word.strip() for word in parameters.split(",") if word.strip()]


def page_members(text):
    """The same of the page."""
    members, constants, class_name = {}, {}, None
    lines = text.split("\n")
    for at, line in enumerate(lines):
        heading = re.match(r"## (\w+)$", line)
        if line.startswith("## "):
            class_name = heading.group(1) if heading else None
        section = re.match(r"### `(.+)`$", line)
        if section:
            following = " ".join(lines[at + 1:at + 3]).strip()
            kind = re.match(rf"\*(?:Property, )?({KIND})\.\*", following, re.IGNORECASE)
            found = split_kind(re.sub("^[A-Z]", lambda m: m.group().lower(), kind.group(1))
                               if kind else "no kind")
            name, parameters = split_name(section.group(1))
            members[(class_name, name)] = (*found, parameters)
        row = re.match(rf"\| `([^`]+)` \| ({KIND}|\d+) \|", line)
        if row and row.group(2).isdigit():
            constants[row.group(1)] = row.group(2)
        elif row:
            name, parameters = split_name(row.group(1))
            members[(class_name, name)] = (*split_kind(row.group(2)), parameters)
    return members, constants


def differences(page, library):
    for key in sorted({*page, *library}, key=str):
        name = ".".join(map(str, key)) if isinstance(key, tuple) else key
        if key not in page:
            yield f"{name} is not described: {library[key]}"
        elif key not in library:
            yield f"{name} is described, but the library has no such member"
        elif page[key] != library[key]:
            yield f"{name} is described as {page[key]}, but the library has {library[key]}"


def main(page=os.path.join(ROOT, "docs", "object-model.md"),
         library=os.path.join(ROOT, "tests", "typelib", "expected.txt")):
    with open(page, encoding="utf-8") as file:
        described, values = page_members(file.read())
    with open(library, encoding="utf-8") as file:
        members, constants = library_members(file.read())
    found = [*differences(described, members), *differences(values, constants)]
    print("\n".join(found) if found else f"{len(members)} members, {len(constants)} constants")
    return 1 if found or not members else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
