#!/usr/bin/env python3
"""Marks type descriptions of a compiled type library as non-extensible.

    typelib_flags.py INPUT.tlb OUTPUT.tlb NAME...

A dispinterface may be non-extensible, but the IDL compiler refuses the attribute there, so the flag
is set in the compiled library. The file format ("MSFT") as far as it is touched here, all numbers
little endian:

    OFFSET  SIZE      DESCRIPTION
    0       4         "MSFT"
    0x14    4         varflags; bit 0x100: four more bytes follow the header
    0x20    4         number of type descriptions, n
    0x54    4 * n     offset of each type description in the type segment
    then    15 * 16   segment directory: offset and length, then 8 bytes; segment 0 holds the type
                      descriptions, segment 7 the names

    type description
    0x30    4         type flags; 0x80: non-extensible
    0x34    4         offset of the name in the name segment

    name
    0x08    1         length
    0x0C    length    characters
"""

import struct
import sys

NON_EXTENSIBLE = 0x80
TYPE_SEGMENT = 0
NAME_SEGMENT = 7


def u32(data, offset):
    return struct.unpack_from("<I", data, offset)[0]


def type_descriptions(data):
    """The offset in the file of each type description, by name."""
    if data[:4] != b"MSFT":
        raise ValueError("not a compiled type library")
    count = u32(data, 0x20)
    offsets = 0x54 + (4 if u32(data, 0x14) & 0x100 else 0)
    directory = offsets + 4 * count
    types = u32(data, directory + 16 * TYPE_SEGMENT)
    names = u32(data, directory + 16 * NAME_SEGMENT)
    found = {}
    for index in range(count):
        description = types + u32(data, offsets + 4 * index)
        entry = names + u32(data, description + 0x34)
        name = data[entry + 0xC : entry + 0xC + data[entry + 8]].decode("ascii")
        found[name] = description
    return found


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
    with open(target, "wb") as file:
        file.write(data)


main(sys.argv[1:])
