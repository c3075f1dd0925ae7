#!/usr/bin/env python3
"""Marks type descriptions of a compiled type library as non-extensible, and takes out when it was compiled.

    typelib_flags.py INPUT.tlb OUTPUT.tlb NAME...

A dispinterface may be non-extensible, but the IDL compiler refuses the attribute there, so the flag
is set in the compiled library. The compiler writes the time into the library's custom data; without it, the same source
gives the same library. The file format ("MSFT") as far as it is touched here, all numbers
little endian:

    OFFSET  SIZE      DESCRIPTION
    0       4         "MSFT"
    0x14    4         varflags; bit 0x100: four more bytes follow the header
    0x20    4         number of type descriptions, n
    0x54    4 * n     offset of each type description in the type segment
    then    15 * 16   segment directory: offset and length, then 8 bytes; segment 0 holds the type
                      descriptions, segment 5 the identifiers, segment 7 the names, segment 11
                      values of custom data, segment 12 which they are

    type description
    0x30    4         type flags; 0x80: non-extensible
    0x34    4         offset of the name in the name segment

    name
    0x08    1         length
    0x0C    length    characters

    custom data, 12 bytes each
    0x00    4         offset of its identifier in the segment of identifiers
    0x04    4         offset of its value in the segment of values: two bytes type (8: text, 19: number), then
                      the number, or the length of the text in four bytes and the text

"""

import re
import struct
import sys
import uuid

NON_EXTENSIBLE = 0x80
TYPE_SEGMENT = 0
IDENTIFIER_SEGMENT = 5
NAME_SEGMENT = 7
CUSTOM_VALUE_SEGMENT = 11
CUSTOM_SEGMENT = 12

# What the compiler calls itself and when it ran; the same time as a number.
COMPILER = uuid.UUID("DE77BA65-517C-11D1-A2DA-0000F8773CE9").bytes_le
COMPILED = uuid.UUID("DE77BA63-517C-11D1-A2DA-0000F8773CE9").bytes_le


def u32(data, offset):
    return struct.unpack_from("<I", data, offset)[0]


def layout(data):
    """The offset of the type descriptions' offsets, and how to find where a segment begins and its length."""
    if data[:4] != b"MSFT":
        raise ValueError("not a compiled type library")
    offsets = 0x54 + (4 if u32(data, 0x14) & 0x100 else 0)
    directory = offsets + 4 * u32(data, 0x20)
    return offsets, lambda segment: struct.unpack_from("<II", data, directory + 16 * segment)


def type_descriptions(data):
    """The offset in the file of each type description, by name."""
    offsets, segment = layout(data)
    count = u32(data, 0x20)
    types = segment(TYPE_SEGMENT)[0]
    names = segment(NAME_SEGMENT)[0]
    found = {}
    for index in range(count):
        description = types + u32(data, offsets + 4 * index)
        entry = names + u32(data, description + 0x34)
        name = data[entry + 0xC : entry + 0xC + data[entry + 8]].decode("ascii")
        found[name] = description
    return found


def remove_time(data):
    """Puts 1970 in the places that tell when the library was compiled."""
    _, segment = layout(data)
    identifiers, values = segment(IDENTIFIER_SEGMENT)[0], segment(CUSTOM_VALUE_SEGMENT)[0]
    start, length = segment(CUSTOM_SEGMENT)
    for entry in range(start, start + length, 12):
        identifier = identifiers + u32(data, entry)
        value = values + u32(data, entry + 4)
        identifier = bytes(data[identifier : identifier + 16])
        if identifier == COMPILED:
            struct.pack_into("<I", data, value + 2, 0)
        elif identifier == COMPILER:
            end = value + 6 + u32(data, value + 2)
            text = re.sub(rb"\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}", b"Thu Jan  1 00:00:00 1970", data[value:end])
            data[value:end] = text


def main(arguments):
    if len(arguments) < 3:
        sys.exit(__doc__)
    source, target, names = arguments[0], arguments[1], arguments[2:]
    with open(source, "rb") as file:
        data = bytearray(file.read())
    descriptions = type_descriptions(data)
    for name in names:
        if name not in descriptions:
            sys.exit(f"{source}: no type description named {name}")
        flags = u32(data, descriptions[name] + 0x30)
        struct.pack_into("<I", data, descriptions[name] + 0x30, flags | NON_EXTENSIBLE)
    remove_time(data)
    with open(target, "wb") as file:
        file.write(data)


main(sys.argv[1:])
