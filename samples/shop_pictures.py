"""Miniatures of the sample shop's invoice layouts, drawn as Windows bitmaps of 16 colours."""

import struct

WIDTH, HEIGHT = 88, 114
WHITE, BLACK, GREY, PALE, BLUE, RED = range(6)
PALETTE = [(255, 255, 255), (0, 0, 0), (128, 128, 128), (221, 221, 221), (0, 64, 128), (176, 0, 32)]


class Page:
    """A white sheet to draw boxes and lines of text on; (0, 0) is its upper left corner."""

    def __init__(self):
        self.rows = [[WHITE] * WIDTH for _ in range(HEIGHT)]
        self.frame(0, 0, WIDTH, HEIGHT, GREY)

    def fill(self, x, y, width, height, colour):
        for row in self.rows[y:y + height]:
            row[x:x + width] = [colour] * width

    def frame(self, x, y, width, height, colour):
        self.fill(x, y, width, 1, colour)
        self.fill(x, y + height - 1, width, 1, colour)
        self.fill(x, y, 1, height, colour)
        self.fill(x + width - 1, y, 1, height, colour)

    def words(self, x, y, width, colour=GREY):
        """A line of text as it looks from far away: words of changing length."""
        lengths, position = (7, 4, 9, 3, 6), 0
        index = (x + 3 * y) % len(lengths)
        while position + 2 < width:
            length = min(lengths[index % len(lengths)], width - position)
            self.fill(x + position, y, length, 2, colour)
            position += length + 2
            index += 1

    def table(self, y, height, columns, colour):
        self.frame(5, y, WIDTH - 10, height, colour)
        self.fill(5, y, WIDTH - 10, 5, colour)
        for x in columns:
            self.fill(x, y, 1, height, colour)

    def bitmap(self):
        """The sheet as the bytes of a BMP file, 4 bits a pixel, last row first."""
        palette = b"".join(bytes((b, g, r, 0)) for r, g, b in PALETTE) + bytes(4 * (16 - len(PALETTE)))
        stride = (WIDTH // 2 + 3) // 4 * 4
        pixels = b"".join(
            bytes(row[x] << 4 | row[x + 1] for x in range(0, WIDTH, 2)).ljust(stride, b"\0")
            for row in reversed(self.rows))
        offset = 14 + 40 + len(palette)
        return (struct.pack("<2sIHHI", b"BM", offset + len(pixels), 0, 0, offset)
                + struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, 4, 0, len(pixels), 2835, 2835, 16, 0)
                + palette + pixels)


def standard():
    page = Page()
    page.fill(5, 5, 20, 12, BLUE)
    page.words(30, 6, 50, BLACK)
    page.words(30, 11, 36)
    page.table(30, 54, (45, 58, 70), BLUE)
    for y in range(39, 78, 5):
        page.words(8, y, 34)
        page.words(72, y, 8)
    page.words(50, 90, 30, BLACK)
    page.words(50, 95, 30)
    page.words(5, 105, 60)
    return page.bitmap()


def detailed():
    page = Page()
    page.fill(5, 5, WIDTH - 10, 9, GREY)
    page.frame(5, 17, 37, 17, BLACK)
    page.frame(46, 17, 37, 17, BLACK)
    for y in (20, 25, 29):
        page.words(8, y, 30)
        page.words(49, y, 30)
    page.table(38, 30, (30, 50, 66), GREY)
    page.table(70, 22, (60,), PALE)
    for y in list(range(46, 65, 4)) + list(range(77, 89, 4)):
        page.words(8, y, 20)
        page.words(68, y, 12)
    page.words(46, 97, 36, BLACK)
    page.words(5, 105, 70)
    return page.bitmap()


def tear_off():
    page = Page()
    page.words(25, 6, 38, BLACK)
    page.words(30, 11, 28)
    page.table(20, 46, (62,), BLACK)
    for y in range(29, 62, 4):
        page.words(8, y, 46)
        page.words(65, y, 14)
    for x in range(3, WIDTH - 3, 4):
        page.fill(x, 78, 2, 1, GREY)
    page.frame(5, 83, WIDTH - 10, 25, RED)
    page.words(9, 88, 40, RED)
    page.words(9, 94, 60)
    page.words(9, 100, 52)
    return page.bitmap()


def narrow():
    page = Page()
    page.fill(22, 3, 44, HEIGHT - 6, PALE)
    page.fill(24, 5, 40, HEIGHT - 10, WHITE)
    page.words(30, 9, 28, BLACK)
    page.words(28, 14, 32)
    for y in range(26, 74, 6):
        page.words(27, y, 20)
        page.words(54, y, 8)
    page.fill(27, 78, 34, 1, BLACK)
    page.words(44, 82, 18, BLACK)
    for index, x in enumerate(range(30, 58, 2)):
        page.fill(x, 94, 1 + index % 3 % 2, 9, BLACK)
    return page.bitmap()
