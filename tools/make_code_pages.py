"""Prints the character tables of src/base/code_page.cpp from Python's codecs.

A byte that a page leaves undefined maps to the C1 control of the same value, as Windows does.
"""

PAGES = (437, 850, 1250, 1251, 1252)


def upper_half(page: int) -> list[int]:
    """The characters of bytes 0x80 to 0xFF."""
    result = []
    for byte in range(0x80, 0x100):
        try:
            result.append(ord(bytes([byte]).decode(f"cp{page}")))
        except UnicodeDecodeError:
            result.append(byte)
    return result


for page in PAGES:
    characters = upper_half(page)
    print(f"    CodePage::Table{{{page},")
    for row in range(0, 128, 8):
        cells = ", ".join(f"0x{code:04X}" for code in characters[row : row + 8])
        opening = "{{" if row == 0 else "  "
        closing = "}}}," if row == 120 else ","
        print(f"                    {opening}{cells}{closing}")
