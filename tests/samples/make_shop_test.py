#!/usr/bin/python3
"""The sample shop in the repository is what its generator writes, and reads back as described."""

import filecmp
import os
import sys
import tempfile
import unittest

import dbf

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SHOP = os.path.join(ROOT, "samples", "shop")
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(ROOT, "samples"))

import make_shop  # noqa: E402
import shop_options  # noqa: E402


def rows(name):
    """The rows of a table that are not deleted, as dictionaries."""
    table = dbf.Table(os.path.join(SHOP, "data", name + ".dbf"), codepage="cp1252")
    table.open(dbf.READ_ONLY)
    try:
        return [{field.lower(): row[field] for field in table.field_names}
                for row in table if not dbf.is_deleted(row)]
    finally:
        table.close()


def ini_keys(folder, name):
    """{section: {key: value}} of an INI file."""
    found, section = {}, None
    with open(os.path.join(SHOP, folder, name), encoding="cp1252", newline="") as file:
        for line in file.read().split("\r\n"):
            if line.startswith("["):
                section = found.setdefault(line[1:-1], {})
            elif line and not line.startswith(";"):
                key, _, value = line.partition("=")
                section[key] = value
    return found


class SampleShop(unittest.TestCase):
    def test_the_generator_writes_the_same_bytes_as_the_files_in_the_repository(self):
        with tempfile.TemporaryDirectory() as folder:
            make_shop.make_shop(folder)
            for part in ("data", "workstation"):
                made = sorted(os.listdir(os.path.join(folder, part)))
                self.assertEqual(made, sorted(os.listdir(os.path.join(SHOP, part))))
                _, different, missing = filecmp.cmpfiles(
                    os.path.join(folder, part), os.path.join(SHOP, part), made, shallow=False)
                self.assertEqual((different, missing), ([], []))

    def test_every_definition_reads_back_as_it_was_given(self):
        given = [(section.local, section.name, option) for section in shop_options.SECTIONS
                 for option in section.options]
        found = rows("defaults")
        self.assertEqual(len(found), len(given))
        for row, (local, section, option) in zip(found, given):
            self.assertEqual(
                (row["localini"], row["inisection"].strip(), row["type"], row["key"].strip(),
                 row["choices"], row["minimum"], row["maximum"], row["decimals"],
                 row["default"].strip(), row["comment"]),
                (local, section, option.type, option.key, "\r\n".join(option.choices),
                 option.minimum, option.maximum, option.decimals, option.default, option.comment))

    def test_every_kind_of_value_is_there(self):
        self.assertEqual({row["type"] for row in rows("defaults")}, set(range(9)))

    def test_identifiers_are_unique_guids(self):
        identifiers = [row["id"] for row in rows("defaults")]
        self.assertEqual(len({text.upper() for text in identifiers}), len(identifiers))
        for text in identifiers:
            self.assertRegex(text, "^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")

    def test_the_ini_files_hold_every_value_but_the_absent_ones(self):
        files = {True: ini_keys("workstation", "TOVO.INI"), False: ini_keys("data", "TOVOGBL.INI")}
        absent = 0
        for section in shop_options.SECTIONS:
            for option in section.options:
                value = files[section.local][section.name].get(make_shop.ini_key(option))
                self.assertEqual(value, option.value, f"{section.name}/{option.key}")
                absent += value is None
        self.assertEqual(absent, 8)

    def test_numbers_choices_and_business_types_have_values_their_definitions_allow(self):
        types = {row["idnumber"] for row in rows("options") if row["type"] == 3 and row["location"] == 3}
        for section in shop_options.SECTIONS:
            for option in section.options:
                if option.value is None:
                    continue
                name = f"{section.name}/{option.key}"
                if option.type == shop_options.NUMBER:
                    self.assertTrue(option.minimum <= float(option.value) <= option.maximum, name)
                    self.assertLessEqual(len(option.value.partition(".")[2]), option.decimals, name)
                elif option.type == shop_options.CHOICE:
                    self.assertIn(option.value, [c.partition("|")[0] for c in option.choices], name)
                elif option.type == shop_options.BUSINESS:
                    self.assertIn(int(option.value), types, name)

    def test_each_report_layout_has_a_picture_of_its_own(self):
        reports = rows("reports")
        self.assertEqual([row["reportname"].strip() for row in reports],
                         ["INV1", "INV2", "INVSTUB", "RCPT40"])
        pictures = {bytes(row["picture"]) for row in reports}
        self.assertEqual(len(pictures), 4)
        for picture in pictures:
            self.assertEqual(picture[:2], b"BM")
            self.assertEqual(int.from_bytes(picture[2:6], "little"), len(picture))

    def test_tables_carry_the_marks_of_visual_fox_pro(self):
        for name, memo in (("defaults", 2), ("reports", 2), ("options", 0), ("need", 0), ("numbers", 0)):
            with open(os.path.join(SHOP, "data", name + ".dbf"), "rb") as file:
                data = file.read()
            count, header, record = (int.from_bytes(data[a:b], "little")
                                     for a, b in ((4, 8), (8, 10), (10, 12)))
            self.assertEqual((data[0], data[28], data[29]), (0x30, memo, 3), name)
            self.assertEqual(len(data), header + count * record + 1, name)
            self.assertEqual((data[header - 264], data[-1]), (0x0D, 0x1A), name)

    def test_both_sites_have_business_types_and_counters(self):
        for site, header in ((3, 3), (5, 8)):
            lists = rows("options")
            self.assertTrue(any(row["type"] == 0 and row["idnumber"] == header
                                and row["text"].strip().upper() == "CUSTOMER BUSINESS TYPE"
                                and row["location"] == site for row in lists))
            self.assertGreater(sum(row["type"] == header and row["location"] == site
                                   for row in lists), 3)
            names = {row["name"].strip() for row in rows("numbers") if row["location"] == site}
            self.assertTrue({"workorder", "invoice"} <= names)


if __name__ == "__main__":
    unittest.main()
