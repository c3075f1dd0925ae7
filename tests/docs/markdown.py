"""Reads what a documentation page holds for a test: blocks, links, headings, inline code."""

import dataclasses
import re

FENCE = re.compile(r"^(`{3,}|~{3,})\s*(.*)$")
COMMANDS = (">", "tovocfg", "msiexec")
COMMENT = re.compile(r"<!--\s*(\w+):\s*(.*?)\s*-->")


@dataclasses.dataclass
class Block:
    kind: str      # first word of the fence, "" without one, "indented" for an indented block
    words: list    # the words behind it: a file name, "prelude", "continued"
    lines: list
    line: int      # of its first line
    before: list   # commands that prepare the shop for it, unseen by the reader
    hold: str      # a file that another program holds meanwhile, and "read" when others may read it
    codes: list    # exit codes that are no failure where nothing is shown

    @property
    def text(self):
        return "".join(line + "\n" for line in self.lines)


@dataclasses.dataclass
class Page:
    name: str
    blocks: list
    links: list      # (line, target)
    inline: list     # (line, code)
    headings: list   # (line, level, text)
    settings: dict   # of the whole page

    @property
    def anchors(self):
        """The names that links within the page use, as the usual hosts of repositories make them."""
        anchors, seen = set(), {}
        for _, _, text in self.headings:
            plain = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", text).replace("`", "")
            slug = re.sub(r"[^\w\- ]", "", plain.lower()).replace(" ", "-")
            count = seen.get(slug, 0)
            seen[slug] = count + 1
            anchors.add(f"{slug}-{count}" if count else slug)
        return anchors


def indented_kind(lines):
    """An indented block that is plainly a transcript or a list of commands counts as one."""
    first = lines[0].split()[0]
    if first in COMMANDS:
        return "console"
    if first == "{":
        return "json"
    return "sh" if first.startswith("scripts/") else "indented"


class Reader:
    def __init__(self, name, text):
        self.page = Page(name, [], [], [], [], {})
        self.lines = text.split("\n")
        self.before = []
        self.hold = ""
        self.codes = [0]

    def read(self):
        at, blank = 0, True
        while at < len(self.lines):
            line = self.lines[at]
            fence = FENCE.match(line)
            if fence:
                at = self.fenced(at, fence)
                blank = True
            elif line.startswith("    ") and line.strip() and blank:
                at = self.indented(at)
            else:
                self.prose(at, line)
                blank = not line.strip()
                at += 1
        return self.page

    def add(self, kind, words, lines, line):
        self.page.blocks.append(Block(kind, words, lines, line, self.before, self.hold, self.codes))
        self.before, self.hold, self.codes = [], "", [0]

    def fenced(self, at, fence):
        end = at + 1
        while end < len(self.lines) and self.lines[end].strip() != fence.group(1):
            end += 1
        words = fence.group(2).split()
        self.add(words[0] if words else "", words[1:], self.lines[at + 1:end], at + 2)
        return end + 1

    def indented(self, at):
        end = at
        while end < len(self.lines) and (self.lines[end].startswith("    ") or not self.lines[end]):
            # Commands behind a blank line are an example of their own.
            if end > at and not self.lines[end - 1] and self.lines[end].split()[:1] in ([word] for word in COMMANDS):
                break
            end += 1
        while not self.lines[end - 1]:
            end -= 1
        lines = [line[4:] for line in self.lines[at:end]]
        self.add(indented_kind(lines), [], lines, at + 1)
        return end

    def prose(self, at, line):
        page, number = self.page, at + 1
        for name, value in COMMENT.findall(line):
            if name == "before":
                self.before.append(value)
            elif name == "hold":
                self.hold = value
            elif name == "codes":
                self.codes = [int(word) for word in value.split()]
            else:
                page.settings[name] = value
        heading = re.match(r"^(#{1,6})\s+(.*?)\s*$", line)
        if heading:
            page.headings.append((number, len(heading.group(1)), heading.group(2)))
        page.links += [(number, target) for target in re.findall(r"\]\(([^)\s]+)\)", line)]
        page.inline += [(number, code.strip()) for code in re.findall(r"(?<!`)`([^`]+)`(?!`)", line)]


def read_page(name, text):
    return Reader(name, text).read()
