"""Compares what a page shows with what came back."""

import re


def line_matches(shown, line):
    """"..." within a line that is shown stands for any text, the end of the line included."""
    parts = [re.escape(part) for part in shown.rstrip().split("...")]
    return re.fullmatch(".*".join(parts), line.rstrip()) is not None


def matches(shown, lines):
    """A line of "..." alone stands for any number of lines."""
    if not shown:
        return not lines
    if shown[0].strip() == "...":
        return any(matches(shown[1:], lines[skipped:]) for skipped in range(len(lines) + 1))
    return bool(lines) and line_matches(shown[0], lines[0]) and matches(shown[1:], lines[1:])


def trimmed(lines):
    """Without blank lines at both ends."""
    lines = [line.rstrip() for line in lines]
    while lines and not lines[0]:
        lines = lines[1:]
    while lines and not lines[-1]:
        lines = lines[:-1]
    return lines


def difference(shown, lines):
    """None when they agree, else both for the reader of the test's output."""
    shown, lines = trimmed(shown), trimmed(lines)
    if matches(shown, lines):
        return None
    return "\n".join(["the page shows:", *("  | " + line for line in shown), "it gave:",
                      *("  | " + line for line in lines)])


def transcript_steps(lines):
    """[(command, lines shown or None)] of a block of commands.

    With prompts ("> COMMAND") the lines below a command are all that it prints; without any, every
    line is a command of which nothing is shown.
    """
    if not any(line.startswith("> ") for line in lines):
        return [(line.strip(), None) for line in lines if line.strip()]
    steps = []
    for line in lines:
        if line.startswith("> "):
            steps.append((line[2:].strip(), []))
        elif steps and steps[-1][1] is not None:
            steps[-1][1].append(line)
        elif line.strip():
            steps.append((line.strip(), None))
    return steps


def results_in(lines):
    """What comments of the kind "-> TEXT" say that a script prints."""
    found = [re.search(r"(?:'|//) -> ?(.*)$", line) for line in lines]
    return [match.group(1).rstrip() for match in found if match]
