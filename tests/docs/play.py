"""Plays the examples of one page on a machine with the sample shop."""

import os
import re
import shlex
import shutil
import subprocess

import compare
from shop import ROOT

SCRIPTS = {"vb": ("vbs", 'WScript.Echo "{}"\n'), "js": ("js", 'WScript.Echo("{}");\n')}
# Printed behind a script: the script host ends with 0 whatever happens to a script.
END_OF_SCRIPT = "(end of the example)"
COMPILER = "w64-mingw32-g++"
PLAYED = ("console", "vb", "js", "cpp", "sql")
COMPILE_SECONDS = 300


def has_examples(page):
    return any(block.kind in PLAYED and "windows" not in block.words for block in page.blocks)


def inline_commands(page):
    """The commands of tovocfg that the prose names: {(command, option...): line}."""
    found = {}
    for line, code in page.inline:
        words = code.split()
        if words[0] == "tovocfg" and len(words) > 1:
            # A value behind an option, and what a command is given, may be anything.
            options = tuple(sorted({word for word in words[1:] if word.startswith("--")}))
            command = next((word for word in words[1:] if re.fullmatch(r"[a-z]+", word)), "")
            found.setdefault((command, options), line)
    return found


def product_version():
    with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"^project\(\w+ VERSION ([\d.]+)", file.read(), re.MULTILINE).group(1)


class Player:
    def __init__(self, page, shop):
        self.page = page
        self.shop = shop
        self.problems = []
        self.played = 0
        self.files = {}      # of blocks with a name, by that name
        self.unrun = {}      # the lines of those that nothing has run yet
        self.preludes = {}
        self.tables = []
        self.last_output = None

    def problem(self, line, text):
        self.problems.append(f"{self.page.name}:{line}: {text}")

    def play(self):
        for block in self.page.blocks:
            player = getattr(self, "play_" + block.kind, None)
            if player:
                player(block)
            elif block.kind != "output":
                self.last_output = None
        for name, line in self.unrun.items():
            self.problem(line, f"nothing on the page runs {name}")

    def fresh(self, block):
        if "continued" in block.words:
            return
        self.shop.fresh(self.files, self.page.settings.get("workstation", "C:\\SHOP\\WORKSTATION"))
        if block.before:
            commands = [self.command(command) for command in block.before]
            for command, result in zip(block.before, self.shop.commands(commands)):
                if result[2]:
                    self.problem(block.line, f"preparing it, {command!r} failed: {result}")

    def command(self, text):
        """As it is run: tovocfg with the INI file that the page leaves out, the version in the name of
        a package, whose file is made then."""
        text = re.sub(r"-VERSION-", f"-{product_version()}-", text)
        for name in re.findall(r"\S+\.msi\b", text) if text.startswith("msiexec ") else ():
            self.shop.package(name)
        if "regsvr32" in text or text.startswith("msiexec "):
            self.shop.registered = False
        ini = self.page.settings.get("ini")
        if ini and "--ini" not in text and not re.search(r"--(help|version)\b|\bhelp\b", text):
            return re.sub(r"(^|\| )tovocfg\b", lambda found: f"{found[0]} --ini {ini}", text)
        return text

    def play_console(self, block):
        if "windows" in block.words:
            return
        self.fresh(block)
        steps = compare.transcript_steps(block.lines)
        for command, _ in steps:
            self.unrun = {name: line for name, line in self.unrun.items() if name not in command
                          and os.path.splitext(name)[0] + ".exe" not in command}
        if block.hold:
            self.shop.hold(*block.hold.split())
        results = self.shop.commands([self.command(command) for command, _ in steps])
        self.shop.release()
        for (command, shown), (lines, errors, code) in zip(steps, results):
            self.played += 1
            if shown is None:
                if code not in block.codes:
                    self.problem(block.line, f"{command!r} ended with {code}: "
                                 + "\n".join(lines + errors))
                continue
            if compare.difference(shown, errors + lines):
                difference = compare.difference(shown, lines + errors)
                if difference:
                    self.problem(block.line, f"{command!r}\n{difference}")
            if code != 0 and not shown:
                self.problem(block.line, f"{command!r} ended with {code}")
        self.last_output = results[-1][0] + results[-1][1]

    def play_vb(self, block):
        self.play_script(block)

    def play_js(self, block):
        self.play_script(block)

    def play_script(self, block):
        names = [word for word in block.words if "." in word]
        if names:
            self.keep(names[0], block, "\r\n")
            return
        self.fresh(block)
        ending, echo = SCRIPTS[block.kind]
        prelude = self.preludes.get(block.kind, "")
        if "prelude" in block.words:
            self.preludes[block.kind] = block.text
        text = prelude + block.text + echo.format(END_OF_SCRIPT)
        with open(self.shop.path(f"C:\\SHOP\\example.{ending}"), "w", newline="\r\n",
                  encoding="cp1252") as file:
            file.write(text)
        lines, errors, code = self.shop.run(["cscript", "//nologo", f"C:\\SHOP\\example.{ending}"])
        self.played += 1
        lines += errors
        if code != 0 or lines[-1:] != [END_OF_SCRIPT]:
            self.problem(block.line, f"the script ended early, with {code}:\n" + "\n".join(lines))
        self.last_output = lines[:-1]
        shown = compare.results_in(block.lines)
        if shown:
            difference = compare.difference(shown, self.last_output)
            if difference:
                self.problem(block.line, difference)

    def play_output(self, block):
        if self.last_output is None:
            self.problem(block.line, "nothing is run in front of this output")
            return
        difference = compare.difference(block.lines, self.last_output)
        if difference:
            self.problem(block.line, difference)

    def keep(self, name, block, line_end):
        self.files[name] = block.text.replace("\n", line_end).encode("cp1252")
        self.unrun[name] = block.line

    def play_cpp(self, block):
        names = [word for word in block.words if "." in word]
        if not names:
            self.problem(block.line, "a C++ program needs a file name behind cpp")
            return
        self.keep(names[0], block, "\n")

    def play_sh(self, block):
        for line in block.lines:
            if COMPILER in line:
                self.compile(block, line.replace("\\", " "))

    def compile(self, block, command):
        """As it stands, in a folder that holds the page's files and this clone's build folder."""
        folder = os.path.join(self.shop.work, "compile")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(os.path.join(folder, "build"))
        os.symlink(self.shop.build, os.path.join(folder, "build", "win64"))
        for name, content in self.files.items():
            with open(os.path.join(folder, name), "wb") as file:
                file.write(content)
        done = subprocess.run(shlex.split(command), cwd=folder, stdout=subprocess.PIPE, text=True,
                              stderr=subprocess.STDOUT, check=False, timeout=COMPILE_SECONDS)
        self.played += 1
        if done.returncode or done.stdout:
            self.problem(block.line, f"the compiler is not content:\n{done.stdout}")
        for name in os.listdir(folder):
            if name.endswith(".exe"):
                with open(os.path.join(folder, name), "rb") as file:
                    self.files[name] = file.read()

    def play_sql(self, block):
        """Statements are run with the output that follows; see play_statements."""
        if "tables" in block.words:
            self.tables = block.lines
            return
        following = self.page.blocks[self.page.blocks.index(block) + 1:][:1]
        if not following or following[0].kind != "output":
            self.problem(block.line, "a statement needs an output block behind it")
            return
        self.last_output = self.run_statement(block.lines, following[0].lines)
        self.played += 1

    def run_statement(self, statement, shown):
        """What is shown when the statement gives that, else what the program says of it. Statements
        begin with the tables as the page has them."""
        script = os.path.join(self.shop.work, "example.test")
        if shown[0].startswith("Statement error"):
            kind, expected = "error", shown
        elif re.fullmatch(r"\d+ rows? changed", shown[0]):
            kind, expected = "change", [shown[0].split()[0]]
        else:
            kind, expected = "rows", shown
        with open(script, "w", encoding="utf-8") as file:
            file.write("\n".join([*self.tables, "", f"{kind} of the example", *statement, "----",
                                  *expected, ""]))
        out, problems, _ = self.shop.run([os.path.join(self.shop.build, "tests", "sql",
                                                    "run_sql_scripts.exe"), "Z:" + script])
        return shown if "1 cases, 0 failures" in out else out + problems


def inline_problems(pages, shop):
    """Commands that the prose names exist and know the options named with them."""
    commands = {}
    for page in pages:
        for command, line in inline_commands(page).items():
            commands.setdefault(command, f"{page.name}:{line}")
    helps = shop.commands(["tovocfg --help"] + [f"tovocfg {command} --help"
                                                for command, _ in commands])
    general = "\n".join(helps[0][0])
    for ((command, options), place), (lines, errors, code) in zip(commands.items(), helps[1:]):
        if code != 0:
            yield f"{place}: tovocfg has no command {command}: " + "\n".join(errors)
        for option in options:
            if option not in "\n".join(lines) and option not in general:
                yield f"{place}: tovocfg {command} has no option {option}"
