#!/usr/bin/python3
"""Plays hosts/windows-check/windows-check.vbs under Wine, where the library is registered.

    windows_check.py EMULATOR

It has to run to its summary with every promise kept, to tell of each check what it saw or why it
could not look, to leave neither its copy nor a trace in the sample shop, to fail where a promise is
broken, and to refuse anything but the sample shop.
"""

import collections
import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAM = os.path.join(ROOT, "hosts", "windows-check", "windows-check.vbs")
SHOP = os.path.join(ROOT, "samples", "shop")
# scripts/wine.sh or scripts/wine32.sh, each with a prefix of its own.
EMULATOR = sys.argv[1]
SUFFIX = "32" if os.path.basename(EMULATOR) == "wine32.sh" else ""
PREFIX = (os.environ.get("TDEFAULT_WINEPREFIX" + SUFFIX)
          or os.path.join(ROOT, "build", "wineprefix" + SUFFIX))
TIMEOUT_SECONDS = 900

LINE = re.compile(r"(\d+)\.(\d+) (.*) \[(ok|FAILED|seen|not here)\]$")
SUMMARY = re.compile(r"Summary: (\d+) ok, (\d+) FAILED, (\d+) seen, (\d+) not available here\.$")

# What Wine or its script host cannot show, by check. Nothing else may be passed over.
NOT_HERE = {
    4: ["event sinks of the script host"],
    10: ["permissions of files that are replaced"],
    11: ["a data folder without the right to write"],
    13: ["files held so that nobody else may open it"],
    14: ["bytes locked by another process", "records locked by another process", "a row that the FoxPro provider edits"],
    15: ["a path of the network", "a substituted drive"],
    18: ["embedded engine and provider compared"],
    19: ["handles of a script host", "the library in the list of modules"],
}
if os.geteuid() == 0:
    # Wine lets root write files marked read-only.
    NOT_HERE[11] = ["files marked read-only", *NOT_HERE[11]]
# How many promises each check looks at, so that none ends early unnoticed. Those of 11 and 17 depend on
# the user and on whether there is a 32-bit Wine.
PROMISES = {2: 6, 3: 13, 5: 10, 6: 2, 7: 3, 8: 5, 9: 8, 10: 11, 12: 8, 13: 6, 15: 3, 16: 4, 18: 2, 20: 6}
VARYING = {11, 17}

problems = []


def expect(holds, text):
    if not holds:
        problems.append(text)


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def run(*arguments):
    """Exit code and lines of the program."""
    # Into a file: a session's first program starts others that keep its output open.
    with tempfile.TemporaryFile() as out:
        done = subprocess.run([EMULATOR, "cscript", "//nologo", windows_path(PROGRAM), *arguments],
                              stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.DEVNULL,
                              timeout=TIMEOUT_SECONDS, check=False)
        out.seek(0)
        return done.returncode, out.read().decode("cp437").replace("\r", "").splitlines()


def copies():
    found = []
    for folder, names, _ in os.walk(os.path.join(PREFIX, "drive_c", "users")):
        found += [os.path.join(folder, name) for name in names if name.startswith("windows-check-")]
    return found


def files_of(folder):
    found = {}
    for path, _, names in os.walk(folder):
        for name in names:
            with open(os.path.join(path, name), "rb") as file:
                found[os.path.join(path, name)] = file.read()
    return found


def tally(lines):
    """The lines by verdict, as (check, tried and seen)."""
    found = {"ok": [], "FAILED": [], "seen": [], "not here": []}
    for line in lines:
        match = LINE.match(line)
        if match:
            found[match[4]].append((int(match[1]), match[3]))
    return found


def check_whole_run(scratch):
    report = os.path.join(scratch, "report.txt")
    before = files_of(SHOP)
    code, lines = run("/report:" + windows_path(report))
    print("\n".join(lines))
    expect(code == 0, f"the whole run ends with {code}")
    found = tally(lines)
    summary = SUMMARY.match(lines[-1]) if lines else None
    expect(summary is not None, "the last line is no summary")
    if summary:
        counts = tuple(len(found[verdict]) for verdict in ("ok", "FAILED", "seen", "not here"))
        expect(tuple(map(int, summary.groups())) == counts, f"the summary is not that of the lines: {counts}")
    expect(not found["FAILED"], f"failed: {found['FAILED']}")
    promises = collections.Counter(number for number, _ in found["ok"] if number not in VARYING)
    expect(promises == PROMISES, f"promises looked at: {dict(promises)}")
    expect(any(number == 17 for number, _ in found["ok"]), "check 17 looked at nothing")
    absent = {}
    for number, text in found["not here"]:
        absent.setdefault(number, []).append(text.split(":")[0])
    absent.pop(17, None)
    expect(absent == NOT_HERE, f"not available here: {absent}")
    for number in range(1, 21):
        expect(any(line.startswith(f"-- {number} ") for line in lines), f"check {number} is missing")
    with open(report, "rb") as file:
        written = file.read().decode("utf-16").replace("\r", "").splitlines()
    expect([ascii_of(line) for line in written] == [ascii_of(line) for line in lines],
           "the report differs from what was printed")
    expect(files_of(SHOP) == before, "the sample shop was changed")


def ascii_of(text):
    """Without what the console's code page lacks."""
    return re.sub(r"[^ -~]+", "?", text)


def check_broken_promise(scratch):
    """A shop with one definition less is not what the checks of the catalogue expect."""
    shop = os.path.join(scratch, "shop")
    shutil.copytree(SHOP, shop)
    with open(os.path.join(shop, "data", "defaults.dbf"), "r+b") as table:
        table.seek(8)
        first, length = (int.from_bytes(table.read(2), "little") for _ in range(2))
        table.seek(first + 20 * length)
        table.write(b"*")
    code, lines = run("/shop:" + windows_path(shop), "/only:3,17")
    found = tally(lines)
    expect(code == 1, f"a broken promise ends with {code}")
    expect({number for number, _ in found["FAILED"]} == {3, 17}, f"failed: {found['FAILED']}")
    numbers = {number for entries in found.values() for number, _ in entries}
    expect(numbers == {3, 17}, f"/only:3,17 gave {numbers}")


def check_kit_program():
    """Registered for the length of one check only, and only when asked for."""
    code, lines = run("/only:21")
    found = tally(lines)
    expect(code == 0 and len(found["not here"]) == 1 and not found["ok"], f"/only:21 tells {lines}")
    code, lines = run("/kit", "/only:21")
    found = tally(lines)
    expect(code == 0 and len(found["ok"]) == 4, f"/kit ends with {code}: {lines}")
    code, lines = run("/kit", "/only:21")
    expect(code == 0, f"/kit ends with {code} the second time, as if its registration stood: {lines}")


def check_refusals(scratch):
    for arguments, wanted, text in (
            (["/only:0"], 2, "/only: takes numbers"), (["/only:"], 2, "needs a value"),
            (["/every"], 2, "There is no option /every"), (["/?"], 0, "/report:FILE"),
            (["/shop:" + windows_path(scratch)], 2, "is not the sample shop"),
            (["/report:Z:\\no\\folder\\x.txt"], 2, "cannot be written"),
            (["/child:dump", "/file:x", "/out:x"], 2, "for the program's own use")):
        code, lines = run(*arguments)
        expect(code == wanted, f"{arguments} ends with {code}")
        expect(any(text in line for line in lines), f"{arguments} tells {lines}")


def main():
    scratch = tempfile.mkdtemp()
    copies_before = copies()
    try:
        check_whole_run(scratch)
        check_broken_promise(scratch)
        check_kit_program()
        check_refusals(scratch)
        expect(copies() == copies_before, f"left behind: {copies()}")
    finally:
        shutil.rmtree(scratch, ignore_errors=True)
    for problem in problems:
        print("FAIL", problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
