"""Style rules that no compiler checks. Prints each breach as file:line: text and exits 1.

Checked: who includes whom, pragma once and own header first, header and line lengths, functions of
70 lines, words and names that must not appear, paths that differ by case only, sources and tests
that no CMakeLists.txt names, links in the documentation that lead nowhere.
"""

from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# Folder -> folders whose headers it may include, besides its own and base/. "headers" of a folder
# are the files directly in it.
PLATFORM = ["platform"]
TABLES = ["tables"]
RULE: dict[str, list[str]] = {
    "base": [],
    "platform": [],
    "platform/simulation": PLATFORM,
    "platform/win32": PLATFORM,
    "tables": PLATFORM + ["tables/foxpro"],  # the choice between the kinds of table access
    "tables/foxpro": PLATFORM + TABLES + ["tables/sql"],
    "tables/sql": PLATFORM + TABLES,
    "automation": [],
    "tables/ado": ["automation"] + TABLES,
    "support": PLATFORM + TABLES,
    "records": [],
    "reports": ["records", "support"] + PLATFORM + TABLES,
    "search": PLATFORM + ["support"],
    "search/window": PLATFORM + ["search"],
    "catalogue": ["records", "reports", "search", "support"] + PLATFORM + TABLES,
    "interface": ["*"],
}
# Only these see the operating system's headers.
WINDOWS_FOLDERS = {"automation", "platform/win32", "tables/ado", "search/window", "interface"}
WINDOWS_HEADERS = re.compile(
    r"^(windows|winbase|winnt|winuser|ole2|oleauto|objbase|oaidl|ocidl|olectl|commctrl|unknwn|shlwapi|"
    r"secext|security|winver|process)\.h$"
)
# The core reaches the outside only through ports.
BANNED_IN_CORE = {
    "<filesystem>": "files go through platform::Files",
    "<fstream>": "files go through platform::Files",
    "<cstdio>": "files go through platform::Files",
    "<ctime>": "time goes through platform::Clock",
    "<chrono>": "time goes through platform::Clock",
    "<random>": "identifiers come from platform::GuidSource",
    "<locale>": "results must not depend on the locale",
    "<cstdlib>": "the environment goes through platform::Session",
    "<thread>": "the core runs on its caller's thread",
}
HEADER_LINES = 300
LINE_COLUMNS = 100
FUNCTION_LINES = 70
WORDS = re.compile(r"\b[Ss]pecification\b|\bspec\.md\b|\bthe spec\b|\bPart [1-6]\.[0-9]|\.\./shared")

breaches: list[str] = []


def breach(path: Path, line: int, text: str) -> None:
    breaches.append(f"{path.relative_to(ROOT)}:{line}: {text}")


def tracked_files() -> list[Path]:
    names = subprocess.run(
        ["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True, capture_output=True, text=True
    ).stdout.splitlines()
    return [ROOT / name for name in names if (ROOT / name).is_file()]


def folder_of(path: Path) -> str:
    """The layer folder of a source file, "" outside src."""
    try:
        parent = path.relative_to(ROOT / "src").parent.as_posix()
    except ValueError:
        return ""
    return "" if parent == "." else parent


def check_includes(path: Path, lines: list[str]) -> None:
    folder = folder_of(path)
    if not folder:
        return
    if folder not in RULE:
        breach(path, 1, f"folder src/{folder} is not in the include rule")
        return
    windows_allowed = folder in WINDOWS_FOLDERS
    first_own = None
    for number, line in enumerate(lines, 1):
        found = re.match(r'\s*#\s*include\s+(<[^>]+>|"[^"]+")', line)
        if not found:
            continue
        name = found.group(1)
        if first_own is None:
            first_own = name
        if name.startswith("<"):
            if WINDOWS_HEADERS.match(name[1:-1].lower()) and not windows_allowed:
                breach(path, number, f"{name}: operating-system headers stay in {sorted(WINDOWS_FOLDERS)}")
            if not windows_allowed and name in BANNED_IN_CORE:
                breach(path, number, f"{name}: {BANNED_IN_CORE[name]}")
            continue
        target = name.strip('"')
        if Path(target).suffix != ".h":
            breach(path, number, f"{name}: only headers are included")
        target_folder = Path(target).parent.as_posix()
        if target_folder == ".":  # generated: version.h, the type library's header
            if (path.parent / target).exists():
                breach(path, number, f"{name}: include by the path from src/")
            continue
        allowed = RULE[folder]
        if target_folder in (folder, "base") or target_folder in allowed or "*" in allowed:
            continue
        breach(path, number, f"src/{folder} may not include {name}")
    if path.suffix == ".cpp":
        own = path.with_suffix(".h")
        if own.exists() and first_own != f'"{own.relative_to(ROOT / "src").as_posix()}"':
            breach(path, 1, "include the file's own header first")


def check_header(path: Path, lines: list[str]) -> None:
    if "#pragma once" not in lines:
        breach(path, 1, "a header starts with #pragma once")
    if len(lines) > HEADER_LINES:
        breach(path, len(lines), f"{len(lines)} lines; a header has at most {HEADER_LINES}")


def check_using(path: Path, lines: list[str]) -> None:
    """A using-declaration of a source that the source never needs."""
    text = "\n".join(lines)
    for number, line in enumerate(lines, 1):
        found = re.match(r"using [\w:]+::(\w+);$", line)
        if found and len(re.findall(rf"\b{found.group(1)}\b", text)) == 1:
            breach(path, number, f"nothing uses {found.group(1)}")


def check_functions(path: Path, lines: list[str]) -> None:
    """A function starts at a line that opens a brace at column 0 level and ends at the closing one."""
    start = None
    for number, line in enumerate(lines, 1):
        opens_function = re.match(r"^(  )?[A-Za-z_].*\)[^;]*\{$", line) or re.match(r"^(  )?    \S.*\)[^;]*\{$", line)
        is_scope = re.match(r"^\s*(namespace|struct|class|enum|union|extern|if|for|while|switch|else|do|return)\b", line)
        if start is None and opens_function and not is_scope:
            indent = len(line) - len(line.lstrip())
            # A wrapped signature: the indentation of the closing brace is that of its first line.
            back = number
            while indent and indent != 2 and back > 0:
                back -= 1
                indent = len(lines[back - 1]) - len(lines[back - 1].lstrip())
            start = (number, indent)
        elif start is not None and line.rstrip() in (" " * start[1] + "}", " " * start[1] + "};"):
            length = number - start[0] + 1
            if length > FUNCTION_LINES:
                breach(path, start[0], f"function of {length} lines; at most {FUNCTION_LINES}")
            start = None


def check_text(path: Path, lines: list[str]) -> None:
    for number, line in enumerate(lines, 1):
        if WORDS.search(line) and path != Path(__file__).resolve():
            breach(path, number, "this text refers to material that is not part of the project")
        if path.suffix in (".cpp", ".h") and len(line) > LINE_COLUMNS and "http" not in line and "R\"(" not in line:
            breach(path, number, f"{len(line)} columns; at most {LINE_COLUMNS}")
        if path.suffix in (".cpp", ".h") and re.search(r"catch \(\.\.\.\)", line) and path.name not in CATCH_ALL_FILES:
            breach(path, number, "catch (...) belongs to the guard only")


# The edge translates everything once, the window procedure carries errors past the system's frames;
# the fuzz and test programs end their process.
CATCH_ALL_FILES = {"guard.h", "guard.cpp", "search_dialog.cpp"}


def check_built(files: list[Path]) -> None:
    """Every source file is named by the CMakeLists.txt beside or above it."""
    for path in files:
        if path.suffix != ".cpp":
            continue
        folder = path.parent
        while folder != ROOT.parent:
            cmake = folder / "CMakeLists.txt"
            if cmake.exists() and path.relative_to(folder).as_posix() in cmake.read_text():
                break
            folder = folder.parent
        else:
            breach(path, 1, "no CMakeLists.txt names this file")


def check_case(files: list[Path]) -> None:
    seen: dict[str, Path] = {}
    for path in files:
        lower = path.relative_to(ROOT).as_posix().lower()
        if lower in seen:
            breach(path, 1, f"differs only by case from {seen[lower].relative_to(ROOT)}")
        seen[lower] = path


def check_links(path: Path, lines: list[str]) -> None:
    for number, line in enumerate(lines, 1):
        for target in re.findall(r"\]\(([^)#]+)(?:#[^)]*)?\)", line):
            if "://" not in target and not (path.parent / target).exists():
                breach(path, number, f"link to {target}, which does not exist")


def test_names(files: list[Path]) -> set[str]:
    """The names of all test cases, also those that scripts and CMake files give."""
    names: set[str] = set()
    for path in files:
        if "tests" not in path.relative_to(ROOT).parts:
            continue
        text = path.read_text(encoding="utf-8", errors="replace")
        # A long name may stand as several literals in a row.
        for literals in re.findall(r'TEST_CASE(?:_TEMPLATE|_FIXTURE)?\(\s*(?:\w+,\s*)?((?:"(?:[^"\\]|\\.)*"\s*)+)', text):
            names.add("".join(re.findall(r'"((?:[^"\\]|\\.)*)"', literals)).replace('\\"', '"'))
        for name in re.findall(r'NAME "([^"]+)"', text):
            names.add(name)
        for name in re.findall(r"^(?:case|test|--|#) *:? *(.+)$", text, re.MULTILINE):
            names.add(name.strip())
        if path.suffix == ".test":
            names.update(re.findall(r"^(?:rows|columns|change|error|recordset) (.+)$", text, re.MULTILINE))
    return names


def check_testing_page(files: list[Path]) -> None:
    """Every test that docs/testing.md names exists."""
    page = ROOT / "docs" / "testing.md"
    if not page.exists():
        return
    names = test_names(files)
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        cells = [cell.strip() for cell in line.strip().strip("|").split(" | ")]
        if not line.startswith("|") or len(cells) != 3 or cells[0] in ("edge case", "---") or "---" in line:
            continue
        for name in cells[1].split("; "):
            if not name.startswith("all of ") and name not in names:
                breach(page, number, f"no test is named: {name}")


def main() -> int:
    files = tracked_files()
    check_testing_page(files)
    check_case(files)
    check_built(files)
    for path in files:
        if path.suffix not in (".cpp", ".h", ".md", ".py", ".sh", ".txt", ".cmake", ".idl", ".vbs", ".js", ".test"):
            continue
        lines = path.read_text(encoding="utf-8", errors="replace").splitlines()
        check_text(path, lines)
        if path.suffix == ".md":
            check_links(path, lines)
        if path.suffix in (".cpp", ".h"):
            check_includes(path, lines)
            check_functions(path, lines)
        if path.suffix == ".cpp":
            check_using(path, lines)
        if path.suffix == ".h":
            check_header(path, lines)
    print("\n".join(breaches) if breaches else f"tidy: {len(files)} files in order")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
