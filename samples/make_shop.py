#!/usr/bin/python3
"""Writes the sample shop: its tables, its two INI files and nothing else.

    samples/make_shop.py [FOLDER]        FOLDER is samples/shop unless given

The same bytes come out on every run. Tables are written with python3-dbf (Debian package) and then
completed to what Visual FoxPro 6 puts on disk, which that library leaves out here and there.
"""

import datetime
import os
import random
import struct
import sys
import uuid

import dbf

import shop_options
import shop_pictures

MADE_ON = datetime.date(2003, 9, 12)
SITES = {3: "Harbour Road", 5: "Airport Plaza"}
WORKSTATION_SITE = 3

TABLE_HAS_MEMO = 0x02
FIELD_IS_BINARY = 0x04
MEMO_BLOCK = 64


def columns_of(data):
    """(descriptor offset, type, offset in the record, length) of each column."""
    at = 32
    while data[at] != 0x0D:
        yield at, chr(data[at + 11]), struct.unpack_from("<I", data, at + 12)[0], data[at + 16]
        at += 32


def as_visual_foxpro(file_name):
    """Completes a table: fixed date of change, memo flag, column flags, end-of-file mark."""
    with open(file_name, "rb") as table:
        data = bytearray(table.read())
    records, header_length, record_length = struct.unpack_from("<IHH", data, 4)
    data[1:4] = bytes((MADE_ON.year % 100, MADE_ON.month, MADE_ON.day))
    memo_columns = []
    for at, kind, displacement, _ in columns_of(data):
        if kind == "M":
            memo_columns.append(displacement)
        if kind in "IYBT":
            data[at + 18] |= FIELD_IS_BINARY
    del data[header_length + records * record_length:]
    if memo_columns:
        data[28] = TABLE_HAS_MEMO
        rebuild_memos(file_name[:-4] + ".fpt", data, memo_columns)
    data += b"\x1a"
    with open(file_name, "wb") as table:
        table.write(data)


def rebuild_memos(file_name, data, columns):
    """Writes the memo file anew without blocks for empty memos, and the table's pointers into it."""
    with open(file_name, "rb") as file:
        old = file.read()
    records, header_length, record_length = struct.unpack_from("<IHH", data, 4)
    blocks = bytearray()
    for record in range(records):
        for column in columns:
            at = header_length + record * record_length + column
            block = struct.unpack_from("<I", data, at)[0]
            kind, length = struct.unpack_from(">II", old, block * MEMO_BLOCK) if block else (0, 0)
            value = old[block * MEMO_BLOCK + 8:block * MEMO_BLOCK + 8 + length]
            next_block = (512 + len(blocks)) // MEMO_BLOCK
            struct.pack_into("<I", data, at, next_block if value else 0)
            if value:
                blocks += struct.pack(">II", kind, length) + value
                blocks += bytes(-len(blocks) % MEMO_BLOCK)
    header = struct.pack(">IHH", (512 + len(blocks)) // MEMO_BLOCK, 0, MEMO_BLOCK)
    with open(file_name, "wb") as file:
        file.write(header.ljust(512, b"\0") + blocks)


def write_table(folder, name, columns, rows, deleted=()):
    """A free Visual FoxPro table in code page 1252; `deleted` holds indexes into rows."""
    file_name = os.path.join(folder, name + ".dbf")
    for ending in (".dbf", ".fpt"):
        if os.path.exists(os.path.join(folder, name + ending)):
            os.remove(os.path.join(folder, name + ending))
    table = dbf.Table(file_name, columns, dbf_type="vfp", codepage="cp1252", memo_size=MEMO_BLOCK)
    table.open(dbf.READ_WRITE)
    for row in rows:
        table.append(row)
    for index in deleted:
        dbf.delete(table[index])
    # The header's record count is only right once the table is closed.
    table.close()
    as_visual_foxpro(file_name)


class Identifiers:
    """GUIDs that look like the real thing and are the same on every run."""

    def __init__(self, seed):
        self.random = random.Random(seed)

    def next(self):
        return str(uuid.UUID(int=self.random.getrandbits(128), version=4)).upper()


def definition_row(identifier, section, local, option):
    return (identifier, local, section, option.type, option.key, option.link,
            "\r\n".join(option.choices), option.minimum, option.maximum, option.decimals,
            option.default, option.comment, "")


def write_definitions(folder):
    identifiers = Identifiers(20030912)
    rows = [definition_row(identifiers.next(), section.name, section.local, option)
            for section in shop_options.SECTIONS for option in section.options]
    deleted = []
    for section, local, option in shop_options.DELETED:
        # In the middle of the table, where a definition taken out of use stands.
        position = len(rows) // (2 + len(deleted))
        deleted = [index + 1 if index >= position else index for index in deleted] + [position]
        rows.insert(position, definition_row(identifiers.next(), section, local, option))
    write_table(folder, "defaults",
                "ID C(36); LOCALINI L; INISECTION C(30); TYPE N(2,0); KEY C(30); LINKFIELD C(30); "
                "CHOICES M; MINIMUM N(6,0); MAXIMUM N(6,0); DECIMALS N(2,0); DEFAULT C(30); "
                "COMMENT M; ADDTNLPROC C(60)", rows, deleted)


def write_reports(folder):
    rows = [
        ("Standard", "One page, parts and labour in one list.", shop_pictures.standard(), "INV1"),
        ("Detailed", "Parts and labour apart, with the vehicle's particulars.\r\nUsed by the glass "
         "department.", shop_pictures.detailed(), "INV2"),
        ("Tear-off stub", "The lower third is torn off and kept by the customer.",
         shop_pictures.tear_off(), "INVSTUB"),
        ("Counter receipt", "Forty columns, for the receipt printer.", shop_pictures.narrow(),
         "RCPT40"),
    ]
    write_table(folder, "reports",
                "NAME C(30); DESCIPT M; PICTURE M BINARY; REPORTNAME C(8)", rows)


def write_lists(folder):
    """Headers are rows of type 0; an entry's type is the number of its header."""
    lists = [
        (3, 3, "Customer Business Type", 30, ["Retail", "Dealer", "Fleet", "Body shop",
                                              "Insurance company", "Employee", "École / garderie"]),
        (3, 4, "Vehicle Colour", 60, ["Black", "Blue", "Green", "Grey", "Red", "Silver", "White"]),
        (3, 5, "Payment Terms", 80, ["Cash on delivery", "Net 10", "Net 30", "Prepaid"]),
        (5, 8, "CUSTOMER BUSINESS TYPE", 130, ["Retail", "Rental agency", "Airline", "Insurance "
                                               "company", "Taxi owner"]),
        (5, 9, "PAYMENT TERMS", 160, ["Cash on delivery", "Net 30"]),
        (5, 11, "REASON FOR CANCELLATION", 170, ["Customer's wish", "Part not available", "Weather"]),
    ]
    rows, deleted = [], []
    for site, header, name, _, _ in lists:
        rows.append((header, 0, name, site))
    for site, header, _, first, entries in lists:
        for offset, entry in enumerate(entries):
            rows.append((first + offset, header, entry, site))
    # Lists are read in the order of their numbers, not of their rows.
    rows[6], rows[9] = rows[9], rows[6]
    deleted.append(len(rows))
    rows.append((37, 3, "Mail order", 3))
    write_table(folder, "options", "IDNUMBER I; TYPE I; TEXT C(40); LOCATION I", rows, deleted)


def write_kit_parts(folder):
    """The hardware each part needs in each car; the universal kit, HWAH00448, where nothing fits."""
    chance = random.Random(448)
    hardware = ("HWAH00112", "hwah00113", "HWMT02001", "HWWR00770", "HWAN00031")
    rows = []
    for car in range(1010, 1022):
        for part in ("NVK-CD410", "NVK-AMP2"):
            needed = [code for code in hardware if chance.random() < 0.4]
            if car % 3 == 0 or not needed:
                needed.append("HWAH00448")
            for code in needed:
                day = MADE_ON - datetime.timedelta(days=chance.randrange(10, 900))
                rows.append((chance.random() < 0.5, day, chance.choice((2, 7, 11)),
                             chance.choice((0, 1)), code, car, part))
    write_table(folder, "need", "NEED L; CHANGED D; CHANGEDBY N(6,0); CHANGSTAT N(2,0); "
                "HW_PART_ID C(12); CAR_ID N(8,0); PART_ID C(12)", rows, [17])


def write_numbers(folder):
    counters = {3: (("workorder", 20417), ("invoice", 20388), ("quote", 5120), ("purchase", 3307),
                    ("deposit", 914)),
                5: (("workorder", 50233), ("invoice", 50233), ("quote", 881), ("purchase", 402))}
    rows = []
    for site, names in counters.items():
        for offset, (name, value) in enumerate(names):
            rows.append((site, name, value, MADE_ON - datetime.timedelta(days=3 * offset + site), 7, 0))
    write_table(folder, "numbers", "LOCATION N(3,0); NAME C(20); NUMBER I; CHANGED D; "
                "CHANGEDBY N(6,0); CHANGSTAT N(2,0)", rows)


def ini_text(title, sections):
    lines = [f"; {line}" for line in title]
    for section in sections:
        lines += ["", f"[{section.name}]"]
        if section.note:
            lines.append(f"; {section.note}")
        for option in section.options:
            if option.value is shop_options.ABSENT:
                continue
            if option.type == shop_options.CHOICE and option.choices[0].startswith("0|"):
                lines.append(f"; {option.choices[0].replace('|', ' = ')}, "
                             f"{option.choices[-1].replace('|', ' = ')}")
            lines.append(f"{ini_key(option)}={option.value}")
            lines += FURTHER_KEYS.get(option.key, [])
    return "\r\n".join(lines) + "\r\n"


def ini_key(option):
    per_site = option.type == shop_options.PRINTER and option.key != "ReportDevice"
    return f"{option.key}{WORKSTATION_SITE}" if per_site else option.key


# A font and an invoice style are spread over several keys; the option itself names the first.
FURTHER_KEYS = {
    "ReportFont": ["ReportFontSize=9", "ReportFontItalic=0", "ReportFontUnderline=0",
                   "ReportFontStrikeThru=0", "ReportFontBold=0", "ReportFontColor=0"],
    "InvoiceStyle": ["DedInvoiceStyle=INV2D", "FaxReport=INV2"],
    "Invoice": [r"Invoice5=\\AIRPORT1\Front Laser"],
}


def write_ini_files(data, workstation):
    local = ini_text(["TOVO.INI - settings of this workstation (front desk 2, Harbour Road)",
                      "Change them with the configuration editor; it keeps the previous file "
                      "as TOVO.old."], shop_options.LOCAL_SECTIONS)
    local += ("\r\n[Recent]\r\n; kept by the programs themselves\r\nLastCustomer=10482\r\n"
              "LastWorkOrder=20417\r\n")
    shared = ini_text(["TOVOGBL.INI - settings shared by every workstation",
                       "The configuration editor keeps the previous file as TOVOGBL.old."],
                      shop_options.GLOBAL_SECTIONS)
    for folder, name, text in ((workstation, "TOVO.INI", local), (data, "TOVOGBL.INI", shared)):
        with open(os.path.join(folder, name), "wb") as file:
            file.write(text.encode("cp1252"))


def make_shop(folder):
    data, workstation = os.path.join(folder, "data"), os.path.join(folder, "workstation")
    os.makedirs(data, exist_ok=True)
    os.makedirs(workstation, exist_ok=True)
    write_definitions(data)
    write_reports(data)
    write_lists(data)
    write_kit_parts(data)
    write_numbers(data)
    write_ini_files(data, workstation)


if __name__ == "__main__":
    here = os.path.dirname(os.path.abspath(__file__))
    make_shop(sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "shop"))
