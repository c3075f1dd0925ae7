"""Writes src/tables/foxpro/general_weights.cpp: sort weights of the collating sequence GENERAL.

Usage: python3 tools/make_general_weights.py > src/tables/foxpro/general_weights.cpp

Code page 1252 comes from general-1252.tsv beside this tool: the weights on which two independent
public tables agree in all 256 values. No such source is known for the other pages, so they are
derived character by character:

1. A character that 1252 has, weighs what it weighs there. Head 16 is the weight of the controls;
   1252 gives it also to the euro sign and to Z with caron, which are younger than its table, so
   these two follow the rules below.
2. A Latin letter with a mark has its base letter's head and the mark's tail (TAILS).
3. A Latin letter without a base letter stands where OWN_HEADS puts it.
4. Cyrillic and Greek letters follow the Latin ones in the order of CYRILLIC and GREEK, capital and
   small letter alike.
5. Every other sign follows all letters, in code point order.
6. A letter without a mark has tail 0 when the page holds the same letter with a mark. A tail of 0
   changes no key, because keys are compared as if filled up with zeros.
"""

import pathlib
import sys
import unicodedata

PAGES = (437, 850, 1250, 1251, 1252)
NO_TAIL = 0xFF
CONTROL_HEAD = 16
EXPANSIONS = ("OE", "AE", "TH", "SS")  # kExpansions of general_weights.h, in its order
FIRST_OTHER_HEAD = 130  # behind O with stroke, the last of 1252

TAILS = {
    "\u0301": 1,  # acute
    "\u0300": 2,  # grave
    "\u0302": 3,  # circumflex
    "\u0308": 4,  # diaeresis
    "\u0303": 5,  # tilde
    "\u030a": 6,  # ring
    "\u0327": 7,  # cedilla
    "\u030c": 8,  # caron
    "\u0328": 9,  # ogonek
    "\u0306": 10,  # breve
    "\u030b": 11,  # double acute
    "\u0307": 12,  # dot above
}
DOTLESS_TAIL = 13

# D with stroke shares the head of Eth behind D, L with stroke has the free one behind L.
OWN_HEADS = {"\u0110": (101, NO_TAIL), "\u0141": (110, NO_TAIL), "\u0131": (106, DOTLESS_TAIL)}

CYRILLIC = "АБВГҐЃДЂЕЄЖЗЅИІЇЙЈКЌЛЉМНЊОПРСТЋУЎФХЦЧЏШЩЪЫЬЭЮЯ"
GREEK = "ΓΔΕΘΠΣΤΦΩΑ"
# A letter that only differs from another by a mark, in a script whose other marked letters stand
# alone.
MARKED = {"Ё": ("Е", 4)}


def decode(page: int, byte: int) -> str:
    """The character of a byte; a byte without one is the C1 control of the same value."""
    try:
        return bytes([byte]).decode(f"cp{page}")
    except UnicodeDecodeError:
        return chr(byte)


def read_1252() -> dict[str, tuple]:
    """Character -> (head, tail) or (expansion,)."""
    weights = {}
    path = pathlib.Path(__file__).parent / "general-1252.tsv"
    for line in path.read_text(encoding="ascii").splitlines():
        if line.startswith("#"):
            continue
        byte, head, tail, expansion = line.split("\t")
        character = decode(1252, int(byte, 16))
        if expansion != "-":
            weights[character] = (expansion,)
        else:
            weights[character] = (int(head), NO_TAIL if tail == "-" else int(tail))
    return weights


def known_weight(character: str, base: dict[str, tuple]) -> tuple | None:
    """Rules 1 to 3; none for a character that has to be placed behind the letters."""
    young = character in "\u20ac\u017d\u017e"
    if character in base and not young:
        return base[character]
    upper = character.upper() if len(character.upper()) == 1 else character
    for form in (character, upper):
        if form in OWN_HEADS:
            return OWN_HEADS[form]
    decomposed = unicodedata.normalize("NFD", upper)
    if len(decomposed) == 2 and decomposed[0] in base and decomposed[1] in TAILS:
        return (base[decomposed[0]][0], TAILS[decomposed[1]])
    if unicodedata.category(character) == "Cc":
        return (CONTROL_HEAD, NO_TAIL)
    return None


def page_weights(page: int, base: dict[str, tuple]) -> list[tuple]:
    """The weights of the 256 bytes of a page."""
    characters = [decode(page, byte) for byte in range(256)]
    if page == 1252:
        return [base[character] for character in characters]
    weights = {character: known_weight(character, base) for character in characters}
    head = FIRST_OTHER_HEAD
    for letter in CYRILLIC + GREEK:
        forms = [c for c in characters if weights[c] is None and c.upper() == letter]
        for form in forms:
            weights[form] = (head, NO_TAIL)
        head += 1 if forms else 0
    for letter, (plain, tail) in MARKED.items():
        for form in (letter, letter.lower()):
            if form in weights:
                weights[form] = (weights[plain][0], tail)
    for character in sorted(c for c in characters if weights[c] is None):
        weights[character] = (head, NO_TAIL)
        head += 1
    assert head <= 255, "255 is kept for characters that the page lacks"
    marked = {w[0] for w in weights.values() if len(w) == 2 and 0 < w[1] < NO_TAIL}
    letters = {c for c in characters if unicodedata.category(c).startswith("L")}
    return [
        (weights[c][0], 0)
        if c in letters and weights[c] == (weights[c][0], NO_TAIL) and weights[c][0] in marked
        else weights[c]
        for c in characters
    ]


def cell(weight: tuple) -> str:
    """One initialiser."""
    if len(weight) == 1:
        return f"{{0, {EXPANSIONS.index(weight[0])}}}"
    return f"{{{weight[0]}, {weight[1]}}}"


def main() -> None:
    base = read_1252()
    out = sys.stdout
    out.write("// Made by tools/make_general_weights.py, which says where the weights come from.\n")
    out.write('#include "tables/foxpro/general_weights.h"\n\n')
    out.write("namespace tdefault::tables::foxpro {\nnamespace {\n\n// clang-format off\n")
    for page in PAGES:
        out.write(f"constexpr GeneralWeights kWeights{page} = {{{{\n")
        weights = page_weights(page, base)
        for row in range(0, 256, 8):
            out.write("    " + ", ".join(cell(w) for w in weights[row : row + 8]) + ",\n")
        out.write("}};\n\n")
    out.write("// clang-format on\n\n}  // namespace\n\n")
    out.write("const GeneralWeights* FindGeneralWeights(std::uint32_t page) noexcept {\n")
    out.write("  switch (page) {\n")
    for page in PAGES:
        out.write(f"    case {page}:\n      return &kWeights{page};\n")
    out.write("    default:\n      return nullptr;\n  }\n}\n\n}  // namespace tdefault::tables::foxpro\n")


if __name__ == "__main__":
    main()
