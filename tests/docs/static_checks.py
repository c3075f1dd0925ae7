"""What can be told of a page without running a Windows program."""

import glob
import json
import os
import re
import shlex
import subprocess

KINDS = {"console", "vb", "js", "cpp", "sh", "sql", "output", "text", "ini", "json", "idl"}
FOLDERS = ("src/", "tests/", "docs/", "samples/", "hosts/", "bench/", "cmake/", "packaging/", "tools/",
           "scripts/")
USAGE_SECONDS = 60


def usage_matches(usage, words):
    """Whether arguments fit a line like "usage: scripts/x.sh [quick|win32] [SECONDS [SEED]]": words in
    capitals stand for any text, everything in brackets may be left out."""
    pattern, depth = "", 0
    for token in re.findall(r"\[|\]|[^\s\[\]]+", usage):
        if token == "[":
            pattern += "(?:"
            depth += 1
        elif token == "]":
            pattern += ")?"
            depth -= 1
        else:
            repeated = token.endswith("...")
            choices = [r"\S+" if re.fullmatch(r"[A-Z][A-Z-]*", word) else re.escape(word)
                       for word in token.removesuffix("...").split("|")]
            each = " (?:" + "|".join(choices) + ")"
            pattern += f"(?:{each})+" if repeated else each
    return depth == 0 and re.fullmatch(pattern, "".join(" " + word for word in words)) is not None


class Checks:
    def __init__(self, root, load):
        self.root = root
        self.load = load
        self.usages = {}

    def problems(self, page):
        found = [*self.block_problems(page), *self.link_problems(page), *self.inline_problems(page)]
        return [f"{page.name}:{line}: {text}" for line, text in sorted(found)]

    def exists(self, path):
        return bool(glob.glob(os.path.join(self.root, path)))

    def block_problems(self, page):
        for block in page.blocks:
            if block.kind not in KINDS:
                yield block.line, (f"a block of the kind {block.kind or '(none)'!r}, which nothing "
                                   f"runs; known are {', '.join(sorted(KINDS))}")
            if "windows" in block.words:
                for name in re.findall(r"[\w-]+\.(?:vbs|js)\b", block.text):
                    if not any(self.exists(folder + pattern + name) for folder in FOLDERS
                               for pattern in ("", "*/", "*/*/")):
                        yield block.line, f"there is no {name}"
            if block.kind == "sh":
                for line in block.lines:
                    for problem in self.command_problems(line):
                        yield block.line, problem

    def link_problems(self, page):
        for line, target in page.links:
            if "://" in target:
                continue
            path, _, anchor = target.partition("#")
            name = os.path.normpath(os.path.join(os.path.dirname(page.name), path)) if path else page.name
            if path and not os.path.exists(os.path.join(self.root, name)):
                yield line, f"a link to {target}, which does not exist"
            elif anchor and name.endswith(".md"):
                if anchor not in (page if name == page.name else self.load(name)).anchors:
                    yield line, f"a link to {target}; {name} has no such heading"

    def inline_problems(self, page):
        for line, code in page.inline:
            if not code.startswith(FOLDERS) or re.search(r"[A-Z]{3}|[{}<>%]", code.split()[0]):
                continue
            if code.startswith("scripts/") and code.split()[0].endswith(".sh"):
                for problem in self.command_problems(code):
                    yield line, problem
            elif not self.exists(code.split()[0]):
                yield line, f"there is no {code.split()[0]}"

    def command_problems(self, line):
        words = shlex.split(line, comments=True)
        while words and re.fullmatch(r"[A-Z_]+=.*", words[0]):
            words = words[1:]
        if not words:
            return
        program, arguments = words[0], words[1:]
        if program.startswith("scripts/") or program.startswith("tools/"):
            yield from self.script_problems(program, arguments)
        elif program in ("ctest", "cmake"):
            yield from self.preset_problems(program, arguments)
        elif program.startswith("build/"):
            folder = os.path.dirname("/".join(program.split("/")[2:]))
            if not self.builds(os.path.join(self.root, folder, "CMakeLists.txt"), program):
                yield f"nothing builds {program}"
        elif "w64-mingw32-g++" not in program and program not in ("git", "cd"):
            yield f"it is not known how to check the command {program}"

    def builds(self, cmake, program):
        if not os.path.exists(cmake):
            return False
        with open(cmake, encoding="utf-8") as file:
            return os.path.basename(program) in file.read()

    def script_problems(self, program, arguments):
        path = os.path.join(self.root, program)
        if not os.path.exists(path):
            yield f"there is no {program}"
            return
        if not os.access(path, os.X_OK) and not program.endswith(".py"):
            yield f"{program} cannot be started"
            return
        if not arguments:
            return
        usage = self.usage(program)
        if usage is None:
            yield f"{program} --help tells no usage, so {' '.join(arguments)} cannot be checked"
        elif not usage_matches(usage, arguments):
            yield f"{program} does not take {' '.join(arguments)}; its usage is: {usage}"

    def usage(self, program):
        """What stands behind the program's name in what --help tells."""
        if program not in self.usages:
            with open(os.path.join(self.root, program), encoding="utf-8") as file:
                if "--help" not in file.read():  # it would do its work
                    return None
            done = subprocess.run([os.path.join(self.root, program), "--help"], text=True, check=False,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, timeout=USAGE_SECONDS)
            match = re.search(rf"^usage: {re.escape(program)}(.*)$", done.stdout, re.MULTILINE)
            self.usages[program] = match.group(1) if match and done.returncode == 0 else None
        return self.usages[program]

    def preset_problems(self, program, arguments):
        with open(os.path.join(self.root, "CMakePresets.json"), encoding="utf-8") as file:
            presets = json.load(file)
        for option, name in zip(arguments, arguments[1:]):
            if option != "--preset":
                continue
            kind = "testPresets" if program == "ctest" else (
                "buildPresets" if "--build" in arguments else "configurePresets")
            if name not in [preset["name"] for preset in presets.get(kind, [])]:
                yield f"there is no {kind[:-1]} {name}"
