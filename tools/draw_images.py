"""Draws the images of the list of the data-folder search: hard drive, network drive and folder.

Usage: python3 tools/draw_images.py             writes src/search/window/images/*.ico
       python3 tools/draw_images.py --check     fails when a file there is not what would be written

Every image is drawn anew for its size. The drawings stand on a grid of 64; at() brings an edge to a
whole pixel, so that straight edges stay sharp at every size. Details that a small image has no room
for are left out. Three kinds of each image are made:

* 32 bits: smooth edges, colours not multiplied by alpha;
* 8 bits: the same colours, brought down to a palette of the image's own, edges cut at half;
* 4 bits: the flat colours that the drawing names, always the 16 standard ones, no smoothing.

The mask hides every pixel that is clear by half or more, for systems that do not know alpha.

A curve is made of Bezier arcs with plain arithmetic only, so that every machine draws the same.
"""

from __future__ import annotations

import pathlib
import struct
import sys
import zlib
from collections.abc import Callable

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "src/search/window/images"
SIZES = (16, 20, 24, 32, 40, 48, 64)
LARGE = 256  # 32 bits only, packed
GRID = 64
SUB_ROWS = 16  # samples per pixel row; along a row the coverage is exact
ARC = 0.5523  # handle of the Bezier arc that is nearest to a quarter circle

# The standard palette. In drawings the entries go by these names.
STANDARD = (
    (0, 0, 0), (128, 0, 0), (0, 128, 0), (128, 128, 0), (0, 0, 128), (128, 0, 128), (0, 128, 128),
    (192, 192, 192), (128, 128, 128), (255, 0, 0), (0, 255, 0), (255, 255, 0), (0, 0, 255),
    (255, 0, 255), (0, 255, 255), (255, 255, 255),
)  # fmt: skip
GREEN, OLIVE, TEAL, SILVER, GREY, LIME, YELLOW, AQUA, WHITE = 2, 3, 6, 7, 8, 10, 11, 14, 15

Point = tuple[float, float]
Rgba = tuple[float, float, float, float]  # 0 to 255, alpha 0 to 1
Paint = Callable[[float, float], Rgba]


# Paints and shapes


def hexed(colour: str, alpha: float = 1.0) -> Rgba:
    return (int(colour[0:2], 16), int(colour[2:4], 16), int(colour[4:6], 16), alpha)


def plain(colour: str, alpha: float = 1.0) -> Paint:
    value = hexed(colour, alpha)
    return lambda x, y: value


def blend(position: float, first: Rgba, last: Rgba) -> Rgba:
    position = min(1.0, max(0.0, position))
    return tuple(a + (b - a) * position for a, b in zip(first, last))


def downward(top: float, bottom: float, first: str, last: str) -> Paint:
    start, end = hexed(first), hexed(last)
    return lambda x, y: blend((y - top) / (bottom - top), start, end)


def around(centre: Point, radius: float, first: Rgba, last: Rgba) -> Paint:
    def paint(x: float, y: float) -> Rgba:
        distance = ((x - centre[0]) ** 2 + (y - centre[1]) ** 2) ** 0.5
        return blend(distance / radius, first, last)

    return paint


def bezier(a: Point, b: Point, c: Point, d: Point, steps: int) -> list[Point]:
    """The points of the curve behind a, up to d."""
    points = []
    for step in range(1, steps + 1):
        t = step / steps
        u = 1 - t
        weights = (u * u * u, 3 * u * u * t, 3 * u * t * t, t * t * t)
        points.append(tuple(sum(w * p[axis] for w, p in zip(weights, (a, b, c, d))) for axis in (0, 1)))
    return points


def rounded(corners: list[tuple[float, float, float]]) -> list[Point]:
    """A polygon from corners (x, y, radius)."""
    points: list[Point] = []
    for index, (x, y, radius) in enumerate(corners):
        if radius <= 0:
            points.append((x, y))
            continue
        cuts = []
        for other in (corners[index - 1], corners[(index + 1) % len(corners)]):
            length = ((other[0] - x) ** 2 + (other[1] - y) ** 2) ** 0.5
            share = min(radius, length / 2) / length
            cuts.append((x + (other[0] - x) * share, y + (other[1] - y) * share))
        handles = [(cut[0] + (x - cut[0]) * ARC, cut[1] + (y - cut[1]) * ARC) for cut in cuts]
        points.append(cuts[0])
        points += bezier(cuts[0], handles[0], handles[1], cuts[1], 8)
    return points


def box(left: float, top: float, right: float, bottom: float, radius: float = 0) -> list[Point]:
    return rounded([(left, top, radius), (right, top, radius), (right, bottom, radius), (left, bottom, radius)])


def ellipse(x: float, y: float, across: float, down: float) -> list[Point]:
    points: list[Point] = []
    ends = ((1, 0), (0, 1), (-1, 0), (0, -1))
    for (ax, ay), (bx, by) in zip(ends, ends[1:] + ends[:1]):
        unit = ((ax, ay), (ax + bx * ARC, ay + by * ARC), (bx + ax * ARC, by + ay * ARC), (bx, by))
        points += bezier(*[(x + px * across, y + py * down) for px, py in unit], 16)
    return points


# Canvas


def row_coverage(outlines: list[list[Point]], row: int, width: int) -> list[float]:
    """How much of each pixel of a row lies inside the outlines, which cut holes into each other."""
    part = [0.0] * (width + 1)
    whole = [0.0] * (width + 2)
    edges = [
        (a, b)
        for outline in outlines
        for a, b in zip(outline, outline[1:] + outline[:1])
        if min(a[1], b[1]) < row + 1 and max(a[1], b[1]) > row
    ]
    for sub in range(SUB_ROWS if edges else 0):
        y = row + (sub + 0.5) / SUB_ROWS
        crossings = sorted(
            a[0] + (b[0] - a[0]) * (y - a[1]) / (b[1] - a[1]) for a, b in edges if (a[1] <= y) != (b[1] <= y)
        )
        for start, end in zip(crossings[0::2], crossings[1::2]):
            start, end = min(max(start, 0.0), width), min(max(end, 0.0), width)
            first, last = int(start), int(end)
            if first == last:
                part[first] += end - start
                continue
            part[first] += first + 1 - start
            part[last] += end - last
            whole[first + 1] += 1
            whole[last] -= 1
    inside = 0.0
    covered = []
    for x in range(width):
        inside += whole[x]
        covered.append((part[x] + inside) / SUB_ROWS)
    return covered


class Canvas:
    """A square of pixels, painted from the back to the front."""

    def __init__(self, size: int, flat: bool) -> None:
        self.size = size
        self.flat = flat  # 16 colours: no smooth edge, the flat colour of each shape
        self.line = max(1, self.at(1.3))  # width of an outline
        self.pixels = [[(0.0, 0.0, 0.0, 0.0)] * size for _ in range(size)]  # multiplied by alpha
        self.entries = [[-1] * size for _ in range(size)]  # flat: the palette entry, -1 is clear

    def at(self, position: float) -> int:
        """The whole pixel nearest to a position on the grid."""
        return int(position * self.size / GRID + 0.5)

    def fill(self, outlines: list[list[Point]], paint: Paint, *flat: int) -> None:
        """flat is the entry for 16 colours, two that alternate, or none: not in these images."""
        if self.flat and not flat:
            return
        heights = [point[1] for outline in outlines for point in outline]
        for y in range(max(0, int(min(heights))), min(self.size, int(max(heights)) + 1)):
            for x, share in enumerate(row_coverage(outlines, y, self.size)):
                if share <= 0.001:
                    continue
                if self.flat:
                    if share >= 0.5:
                        self.entries[y][x] = flat[(x + y) % len(flat)]
                    continue
                red, green, blue, alpha = paint(x + 0.5, y + 0.5)
                alpha *= min(1.0, share)
                under = self.pixels[y][x]
                over = (red * alpha, green * alpha, blue * alpha, alpha)
                self.pixels[y][x] = tuple(o + u * (1 - alpha) for o, u in zip(over, under))

    def straight(self) -> list[list[tuple[int, int, int, int]]]:
        """Red, green, blue and alpha in whole numbers, a clear pixel black."""

        def pixel(value: Rgba) -> tuple[int, int, int, int]:
            alpha = int(value[3] * 255 + 0.5)
            if alpha == 0:
                return (0, 0, 0, 0)
            return (*(min(255, int(part / value[3] + 0.5)) for part in value[:3]), alpha)

        return [[pixel(value) for value in row] for row in self.pixels]


# Drawings


def draw_shadow(canvas: Canvas, left: float, right: float, ground: float) -> None:
    """A soft shadow on the ground, where there is room for one."""
    if canvas.size < 40:
        return
    unit = canvas.size / GRID
    for step in range(6):
        across, down = (right - left) / 2 + (1.6 - step * 0.7) * unit, (2.6 - step * 0.35) * unit
        canvas.fill([ellipse((left + right) / 2, ground, across, down)], plain("1A222B", 0.07))


def draw_light(canvas: Canvas, right: int, top: int, bottom: int) -> None:
    """The status light at the right end of a front face between top and bottom."""
    if canvas.flat or canvas.size < 40:
        width = max(2, canvas.at(6))
        height = max(2, canvas.at(5))
        left = right - canvas.line - max(1, canvas.at(3)) - width
        upper = top + (bottom - top - height) // 2
        canvas.fill([box(left, upper, left + width, upper + height)], plain("1FB84A"), GREEN)
        canvas.fill([box(left, upper, left + width, upper + height - 1)], plain("5CF07A"), LIME)
        return
    unit = canvas.size / GRID
    x, y = right - 8 * unit, (top + bottom) / 2
    glow = around((x, y), 5 * unit, hexed("5CF07A", 0.8), hexed("5CF07A", 0))
    canvas.fill([ellipse(x, y, 5 * unit, 5 * unit)], glow)
    canvas.fill([ellipse(x, y, 3 * unit, 3 * unit)], plain("17803A"))
    bright = around((x - unit, y - unit), 3.6 * unit, hexed("D8FFE0"), hexed("22C552"))
    canvas.fill([ellipse(x, y, 2.2 * unit, 2.2 * unit)], bright)


def draw_drive(canvas: Canvas, top: int, fold: int, bottom: int) -> None:
    """A flat box seen from the front and a little from above; its top face ends at the fold."""
    line, unit = canvas.line, canvas.size / GRID
    left, right = canvas.at(4), canvas.size - canvas.at(4)
    back = max(2, canvas.at(8))  # how far the back edge stands in
    bend = 3 * unit if canvas.size >= 24 else 1
    knee = bend if canvas.size >= 40 else 0
    outer = rounded(
        [(left + back, top, bend), (right - back, top, bend), (right, fold, knee),
         (right, bottom, bend), (left, bottom, bend), (left, fold, knee)]
    )  # fmt: skip
    canvas.fill([outer], downward(top, bottom, "7C8894", "4A545F"), GREY)
    inner = max(0.0, bend - line)
    slant = line * 0.6
    face = rounded(
        [(left + back + slant, top + line, inner), (right - back - slant, top + line, inner),
         (right - line, fold, min(knee, inner)), (right - line, fold + line, 0),
         (left + line, fold + line, 0), (left + line, fold, min(knee, inner))]
    )  # fmt: skip
    canvas.fill([face], downward(top, fold, "FBFCFD", "D3DAE1"), WHITE)
    draw_top_face(canvas, top, fold)
    front = rounded(
        [(left + line, fold, 0), (right - line, fold, 0),
         (right - line, bottom - line, inner), (left + line, bottom - line, inner)]
    )  # fmt: skip
    canvas.fill([front], downward(fold, bottom, "B4BEC8", "8A95A1"), SILVER)
    canvas.fill([box(left + line, fold, right - line, fold + line)], plain("FFFFFF", 0.85))
    inside = (fold + line, bottom - line)
    if canvas.size >= 24:
        height = max(1, canvas.at(2))
        middle = (inside[0] + inside[1] - height + 1) // 2
        slot = (canvas.at(10), middle, canvas.at(30), middle + height)
        canvas.fill([box(*slot, height / 2 if canvas.size >= 64 else 0)], plain("56616D"), GREY)
        if canvas.size >= 48:
            canvas.fill([box(slot[0], slot[3], slot[2], slot[3] + height / 2)], plain("FFFFFF", 0.45))
    draw_light(canvas, right, *inside)


def draw_top_face(canvas: Canvas, top: int, fold: int) -> None:
    """The lid pressed over the disk, on images with room for it."""
    if canvas.size < 40:
        return
    unit = canvas.size / GRID
    x, y = canvas.size / 2, (top + fold) / 2 + 0.6 * unit
    across, down = 17 * unit, (fold - top) * 0.31
    rim = max(1.0, unit)
    ring = [ellipse(x, y, across, down), ellipse(x, y + rim * 0.3, across - rim, down - rim * 0.9)]
    canvas.fill([ellipse(x, y + rim, across, down)], plain("FFFFFF", 0.9))
    canvas.fill([ellipse(x, y, across, down)], downward(y - down, y + down, "C6CED7", "EEF1F4"), SILVER)
    canvas.fill(ring, plain("8F9BA7", 0.8))


def draw_hard_drive(canvas: Canvas) -> None:
    draw_shadow(canvas, canvas.at(5), canvas.size - canvas.at(5), canvas.at(51))
    draw_drive(canvas, canvas.at(13), canvas.at(31), canvas.at(51))


def draw_pipe(canvas: Canvas, left: int, top: int, right: int, bottom: int, radius: float) -> None:
    """A box of the network's colour with an outline, or two rows of colour where it is too thin."""
    line = canvas.line
    if min(right - left, bottom - top) < 3 * line:
        canvas.fill([box(left, top, right, bottom)], plain("0B7F86"), TEAL)
        canvas.fill([box(left, top, right, top + 1)], plain("43CBCB"), AQUA)
        return
    canvas.fill([box(left, top, right, bottom, radius)], downward(top, bottom, "0B7F86", "07565C"), TEAL)
    inner = box(left + line, top + line, right - line, bottom - line, max(0.0, radius - line))
    canvas.fill([inner], downward(top, bottom, "6FE3E1", "149CA3"), AQUA)


def draw_network_drive(canvas: Canvas) -> None:
    middle, size = canvas.size // 2, canvas.size
    bottom = size - canvas.at(3)
    joint = (bottom - 2 * canvas.at(8), bottom)
    cable = max(1, canvas.at(4.6))
    centre = (joint[0] + joint[1]) // 2
    unit = canvas.size / GRID
    draw_shadow(canvas, canvas.at(4), size - canvas.at(4), joint[1] - unit)
    draw_pipe(canvas, middle - cable, canvas.at(32), middle + cable, joint[0] + canvas.line, 0)
    draw_pipe(canvas, canvas.at(4), centre - cable, size - canvas.at(4), centre + cable, 2 * unit)
    draw_pipe(canvas, middle - canvas.at(11), joint[0], middle + canvas.at(11), joint[1], 3 * unit)
    draw_drive(canvas, canvas.at(3), canvas.at(17), canvas.at(35))


def draw_folder(canvas: Canvas) -> None:
    line, unit = canvas.line, canvas.size / GRID
    left, right = canvas.at(4), canvas.size - canvas.at(4)
    tab, back, front, bottom = canvas.at(9), canvas.at(16), canvas.at(24), canvas.at(55)
    step = back - tab  # the tab falls to the back's edge at half a right angle
    end = canvas.at(25)
    bend = 3 * unit if canvas.size >= 24 else 1
    draw_shadow(canvas, left + unit, right - unit, bottom)

    def rear(inset: float, radius: float) -> list[Point]:
        return rounded(
            [(left + inset, tab + inset, radius), (end - inset * 0.4, tab + inset, radius),
             (end + step - inset * 0.4, back + inset, radius / 2), (right - inset, back + inset, radius),
             (right - inset, bottom - inset, radius), (left + inset, bottom - inset, radius)]
        )  # fmt: skip

    canvas.fill([rear(0, bend)], downward(tab, bottom, "BB8C1C", "A87910"), OLIVE)
    inner = max(0.0, bend - line)
    canvas.fill([rear(line, inner)], downward(tab, front + 4 * unit, "F5C94F", "E2AC31"), YELLOW)
    if canvas.size >= 32:  # a sheet looks out
        margin, above = canvas.at(5), front - max(2, canvas.at(4))
        sheet = (left + margin, above, right - margin, front + line)
        canvas.fill([box(*sheet, unit)], plain("FFFFFF"), WHITE)
        if canvas.size >= 48:
            canvas.fill([box(sheet[0], front - 2 * line, sheet[2], front)], plain("B98A2E", 0.22))
    canvas.fill([box(left, front, right, bottom, bend)], downward(front, bottom, "C4931F", "A87910"), OLIVE)
    inside = (left + line, front + line, right - line, bottom - line)
    canvas.fill([box(*inside, inner)], downward(front, bottom, "FFEDA6", "F9C846"), YELLOW, WHITE)
    edge = box(inside[0] + inner / 2, inside[1], inside[2] - inner / 2, inside[1] + line)
    canvas.fill([edge], plain("FFF8DC", 0.9), WHITE)


DRAWINGS: dict[str, Callable[[Canvas], None]] = {
    "hard_drive": draw_hard_drive,
    "network_drive": draw_network_drive,
    "folder": draw_folder,
}


# Palette


def own_palette(colours: list[tuple[int, int, int]], limit: int) -> dict[tuple[int, int, int], tuple[int, int, int]]:
    """Every colour's replacement, at most limit different ones: boxes of colours are halved."""
    counts = {colour: colours.count(colour) for colour in sorted(set(colours))}
    boxes = [list(counts)]
    while len(boxes) < limit:

        def spread(members: list[tuple[int, int, int]], axis: int) -> int:
            values = [colour[axis] for colour in members]
            return max(values) - min(values)

        widest = max(range(len(boxes)), key=lambda i: (max(spread(boxes[i], a) for a in range(3)), -i))
        members = boxes[widest]
        axis = max(range(3), key=lambda a: (spread(members, a), -a))
        if spread(members, axis) == 0:
            break
        members.sort(key=lambda colour: (colour[axis], colour))
        half = len(members) // 2
        boxes[widest : widest + 1] = [members[:half], members[half:]]
    replaced = {}
    for members in boxes:
        total = sum(counts[colour] for colour in members)
        mean = tuple((sum(c[axis] * counts[c] for c in members) + total // 2) // total for axis in range(3))
        replaced.update({colour: mean for colour in members})
    return replaced


def paletted(pixels: list[list[tuple[int, int, int, int]]]) -> tuple[list, list[list[int]]]:
    """A palette of 256 that begins with black, and the entries; -1 where the image is clear."""
    seen = [pixel[:3] for row in pixels for pixel in row if pixel[3] >= 128]
    replaced = own_palette(seen, 255)
    palette = [(0, 0, 0), *sorted(set(replaced.values()))]
    index = {colour: entry for entry, colour in list(enumerate(palette))[1:]}
    entries = [[index[replaced[p[:3]]] if p[3] >= 128 else -1 for p in row] for row in pixels]
    return palette + [(0, 0, 0)] * (256 - len(palette)), entries


# Files


def padded(row: bytes) -> bytes:
    return row + bytes(-len(row) % 4)


def bits(values: list[int], width: int) -> bytes:
    """Values of width bits, the first one highest."""
    per_byte = 8 // width
    values = values + [0] * (-len(values) % per_byte)
    joined = bytearray()
    for start in range(0, len(values), per_byte):
        byte = 0
        for value in values[start : start + per_byte]:
            byte = byte << width | value
        joined.append(byte)
    return bytes(joined)


def bitmap(size: int, depth: int, palette: list, rows: list[bytes], clear: list[list[bool]]) -> bytes:
    """An image as icon files hold it: header, palette, colours and mask, both from the last row up."""
    colours = b"".join(padded(row) for row in reversed(rows))
    mask = b"".join(padded(bits([int(c) for c in row], 1)) for row in reversed(clear))
    header = struct.pack(
        "<IiiHHIIiiII", 40, size, 2 * size, 1, depth, 0, len(colours) + len(mask), 0, 0, len(palette), 0
    )
    table = b"".join(bytes((blue, green, red, 0)) for red, green, blue in palette)
    return header + table + colours + mask


def paletted_bitmap(size: int, depth: int, palette: list, entries: list[list[int]]) -> bytes:
    rows = [bits([max(0, entry) for entry in row], depth) for row in entries]
    return bitmap(size, depth, palette, rows, [[entry < 0 for entry in row] for row in entries])


def png(pixels: list[list[tuple]]) -> bytes:
    """Rows of pixels of 3 or 4 bytes; each row is kept as its difference from the row above."""

    def chunk(kind: bytes, body: bytes) -> bytes:
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))

    parts = len(pixels[0][0])
    above = bytes(len(pixels[0]) * parts)
    body = bytearray()
    for row in pixels:
        line = bytes(part for pixel in row for part in pixel)
        body.append(2)
        body += bytes((now - before) & 255 for now, before in zip(line, above))
        above = line
    header = struct.pack(">IIBBBBB", len(pixels[0]), len(pixels), 8, 6 if parts == 4 else 2, 0, 0, 0)
    packed = zlib.compress(bytes(body), 9)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", packed) + chunk(b"IEND", b"")


def drawn(draw: Callable[[Canvas], None], size: int, flat: bool) -> Canvas:
    canvas = Canvas(size, flat)
    draw(canvas)
    return canvas


def icon(draw: Callable[[Canvas], None]) -> bytes:
    """The icon file of a drawing."""
    images: list[tuple[int, int, bytes]] = []
    smooth = {size: drawn(draw, size, False).straight() for size in (*SIZES, LARGE)}
    for size in SIZES:
        entries = drawn(draw, size, True).entries
        images.append((size, 4, paletted_bitmap(size, 4, list(STANDARD), entries)))
    for size in SIZES:
        images.append((size, 8, paletted_bitmap(size, 8, *paletted(smooth[size]))))
    for size in SIZES:
        rows = [b"".join(bytes((b, g, r, a)) for r, g, b, a in row) for row in smooth[size]]
        clear = [[pixel[3] < 128 for pixel in row] for row in smooth[size]]
        images.append((size, 32, bitmap(size, 32, [], rows, clear)))
    images.append((LARGE, 32, png(smooth[LARGE])))
    head = struct.pack("<HHH", 0, 1, len(images))
    offset = len(head) + 16 * len(images)
    for size, depth, body in images:
        colours = 16 if depth == 4 else 0
        head += struct.pack("<BBBBHHII", size % 256, size % 256, colours, 0, 1, depth, len(body), offset)
        offset += len(body)
    return head + b"".join(body for _, _, body in images)


def main() -> int:
    files = {name: icon(draw) for name, draw in DRAWINGS.items()}
    failed = 0
    for name, content in files.items():
        path = FOLDER / f"{name}.ico"
        if sys.argv[1:] != ["--check"]:
            path.write_bytes(content)
        elif not path.exists() or path.read_bytes() != content:
            print(f"{path}: not what tools/draw_images.py draws; run it without --check", file=sys.stderr)
            failed = 1
    return failed


if __name__ == "__main__":
    sys.exit(main())
