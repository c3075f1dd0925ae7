#!/usr/bin/python3
"""Plays a transcript of tovocfg and the script samples against a copy of the sample shop.

    run_transcript.py EMULATOR BUILD_FOLDER TRANSCRIPT [--update]

A transcript is a text file. A line "$ COMMAND" runs something; the lines below it, up to the next
command or blank-then-comment, are what must come back: standard output as it is, standard error
behind "! ", and "[exit N]" where the exit code is not 0. Lines starting with "#" are comments.
Every transcript starts with a fresh copy, whose folder is written {here}. Commands:

    tovocfg ARGUMENTS     with the library and the copy's TOVO.INI named in front
    plain ARGUMENTS       tovocfg with these arguments only
    piped FILE ARGUMENTS  tovocfg as above with a file of the copy for standard input
    into FILE ARGUMENTS   the same with one for standard output
    console PAGE ARGUMENTS  tovocfg as above on a console of that code page: what its screen shows
    vbs, js ARGUMENTS     samples/scripts/options.vbs or .js, with the copy's TOVO.INI
    plain_vbs, plain_js   the same with these arguments only
    changes               how both INI files differ from the sample, blank lines and spacing aside
    previous              which previous files there are and whether they are the sample's
    cut FILE BYTES        shortens a file of the copy
    patch FILE AT BYTES   puts other bytes, given as hexadecimal digits, at an offset
    fixture FILE TARGET   copies a file of tests/fixtures to the copy
    write FILE TEXT       makes a file of the copy; \\r, \\xE9 and the like stand for their bytes
    age FILE MINUTES      was changed that long ago
    divert FILE           copies a file to where the system diverts programs that may not write to
                          it: {diverted}, until the transcript ends
    read_only FILE        marks a file of the copy as read-only, writable FILE takes the mark off
    unregister            no library is registered for any program, until the transcript ends
    register FILE         this one is
    same                  whether every file is as it was when this was asked last
    delete FILE           deletes a file of the copy
    copy NAME TARGET      copies a file or folder within the copy
    replace FILE OLD NEW  replaces a text in a file of the copy
    NAME=VALUE COMMAND    any of these with an environment variable set
    kit NAME VALUE        a value of the kit program's registration, until the transcript ends
    show FILE             the lines of a file of the copy
    write_lines FILE LINE...    makes a file of the copy, with these lines in UTF-8
    encode FILE TARGET ENCODING  a copy of a UTF-8 file in another encoding, as Python names it
    identical FILE OTHER  whether two files of the copy hold the same bytes, times in them aside
    files FOLDER          the names of a folder of the copy
    hold FILE [read]      opens a file so that nobody else may, or only for reading, until released
    release               closes the files that are held; the transcript's end does so too

--update writes what came back into the transcript instead of comparing.
"""

import difflib
import getpass
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SHOP = os.path.join(ROOT, "samples", "shop")
INI_FILES = (("workstation", "TOVO"), ("data", "TOVOGBL"))
TIMEOUT_SECONDS = 120

CLASS_ID = "{3C43CF6B-9492-11D4-B262-0050DA5596B9}"
CLASS_KEYS = {"HKLM\\Software\\Classes\\TovoDefaults.Options": ("CLSID", CLASS_ID),
              "HKLM\\Software\\Classes\\CLSID\\" + CLASS_ID: ("InprocServer32", None)}

KIT_KEY = "HKCU\\Software\\VB and VBA Program Settings\\Tovo\\Modules\\KitProgram"

# When something was exported.
TIME = re.compile(rb"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")

# Who disabled a key, and when.
MARKER = re.compile(r"(was commented by ).*( on )\d\d-\d\d-\d{4}( at )\d\d:\d\d:\d\d$")
MARKED = r"\1{user}\2{day}\3{time}"

ASSEMBLY = """<?xml version="1.0" encoding="UTF-8"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="TovoDefaults" version="1.0.0.0" processorArchitecture="ARCHITECTURE"/>
  <file name="tdefault.dll">
    <comClass clsid="{3C43CF6B-9492-11D4-B262-0050DA5596B9}" progid="TovoDefaults.Options"
              threadingModel="Apartment" tlbid="{708AC166-84DC-11D4-B262-0050DA5596B9}"/>
    <typelib tlbid="{708AC166-84DC-11D4-B262-0050DA5596B9}" version="104.0" helpdir=""/>
  </file>
</assembly>
"""
APPLICATION = """<?xml version="1.0" encoding="UTF-8"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="ScriptHost" version="1.0.0.0" processorArchitecture="ARCHITECTURE"/>
  <dependency><dependentAssembly>
    <assemblyIdentity type="win32" name="TovoDefaults" version="1.0.0.0" processorArchitecture="ARCHITECTURE"/>
  </dependentAssembly></dependency>
</assembly>
"""


class Machine:
    """A copy of the sample shop and of the programs, on drive C: of the project's Wine prefix."""

    def __init__(self, emulator, build, name):
        self.emulator = emulator
        self.bits = bits_of(os.path.join(build, "tovocfg.exe"))
        suffix = "32" if self.bits == 32 else ""
        prefix = (os.environ.get("TDEFAULT_WINEPREFIX" + suffix)
                  or os.path.join(ROOT, "build", "wineprefix" + suffix))
        self.environment = {}
        # Makes the prefix when there is none yet.
        self.run_program(["cmd", "/c", "exit"])
        self.folder = os.path.join(prefix, "drive_c", "host-tests", name)
        self.here = "C:\\host-tests\\" + name
        self.profile = os.path.join(prefix, "drive_c", "users", getpass.getuser(), "AppData", "Local")
        self.holders = []
        self.kit_registered = False
        self.class_saved = None
        self.remembered = None
        shutil.rmtree(self.folder, ignore_errors=True)
        for part in ("data", "workstation"):
            shutil.copytree(os.path.join(SHOP, part), os.path.join(self.folder, part))
        self.replace("workstation/TOVO.INI", "C:\\SHOP\\DATA", self.here + "\\data")
        self.before = {base: self.read(f"{part}/{base}.INI") for part, base in INI_FILES}
        self.copy_programs(build, prefix)

    def copy_programs(self, build, prefix):
        """The script host finds the library through manifests, so nothing is registered."""
        programs = os.path.join(self.folder, "programs")
        os.makedirs(programs)
        for name in ("tdefault.dll", "tovocfg.exe", "tests/host/hold_file.exe",
                     "tests/host/console_run.exe",
                     "tests/programs/record_run.exe"):
            shutil.copy(os.path.join(build, name), programs)
        shutil.copy(os.path.join(prefix, "drive_c", "windows", "system32", "cscript.exe"), programs)
        for name in ("options.vbs", "options.js"):
            with open(os.path.join(ROOT, "samples", "scripts", name), newline="") as file:
                text = re.sub("\r?\n", "\r\n", file.read())
            with open(os.path.join(programs, name), "w", newline="") as file:
                file.write(text)
        for name, text in (("TovoDefaults.manifest", ASSEMBLY), ("cscript.exe.manifest", APPLICATION)):
            with open(os.path.join(programs, name), "w") as file:
                file.write(text.replace("ARCHITECTURE", "amd64" if self.bits == 64 else "x86"))

    def path(self, name):
        return os.path.join(self.folder, *name.split("/"))

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def replace(self, name, old, new):
        data = self.read(name)
        assert old.encode("cp1252") in data, f"{name} does not hold {old}"
        with open(self.path(name), "wb") as file:
            file.write(data.replace(old.encode("cp1252"), new.encode("cp1252")))

    def run_program(self, command, encoding="utf-8", source=os.devnull):
        """Its output as lines of a transcript."""
        for _ in range(3):
            status, output, problems = self.outcome(command, source)
            # On a busy machine a start of Wine fails now and then without a word. What transcripts
            # run says why it fails.
            if status != 1 or output or problems:
                break
        lines = text_lines(output, encoding)
        lines += ["! " + line for line in text_lines(problems, encoding) if line]
        return lines + ([f"[exit {status}]"] if status else [])

    def outcome(self, command, source=os.devnull):
        # Into files, not pipes: what the first program of a session starts in the background keeps
        # its output open long after the program has ended.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as problems, \
                open(source, "rb") as input_file:
            environment = dict(os.environ, LC_ALL="C.UTF-8", **self.environment)
            done = subprocess.run([self.emulator, *command], stdin=input_file, stdout=out,
                                  stderr=problems, timeout=TIMEOUT_SECONDS, env=environment,
                                  check=False)
            out.seek(0)
            problems.seek(0)
            return done.returncode, out.read(), problems.read()

    def script(self, verb, words):
        kind = verb.removeprefix("plain_")
        if kind == verb:
            words = ["/ini:" + self.here + "\\workstation\\TOVO.INI", *words]
        return self.run_program([self.here + "\\programs\\cscript.exe", "//nologo",
                                 self.here + "\\programs\\options." + kind, *words],
                                encoding="cp437")

    def command(self, words):
        return [self.here + "\\programs\\tovocfg.exe", "--library",
                self.here + "\\programs\\tdefault.dll", "--ini",
                self.here + "\\workstation\\TOVO.INI", *words]

    def tovocfg(self, words):
        return self.run_program(self.command(words))

    def piped(self, name, *words):
        """With a file for standard input."""
        return self.run_program(self.command(words), source=self.path(name))

    def into(self, name, *words):
        """With a file for standard output."""
        status, output, problems = self.outcome(self.command(words))
        with open(self.path(name), "wb") as file:
            file.write(output)
        lines = ["! " + line for line in text_lines(problems, "utf-8") if line]
        return lines + ([f"[exit {status}]"] if status else [])

    def encode(self, name, target, encoding):
        with open(self.path(target), "wb") as file:
            file.write(self.read(name).decode("utf-8").encode(encoding))

    def plain(self, words):
        return self.run_program([self.here + "\\programs\\tovocfg.exe", *words])

    def console(self, page, *words):
        return self.run_program([self.here + "\\programs\\console_run.exe", page,
                                 *self.command(words)])

    def changes(self):
        lines = []
        for part, base in INI_FILES:
            before = comparable(self.before[base])
            after = comparable(self.read(f"{part}/{base}.INI"))
            for line in difflib.unified_diff(before, after, n=0, lineterm=""):
                if not line.startswith(("---", "+++", "@@")):
                    lines.append(f"{base}.INI {MARKER.sub(MARKED, line)}")
        return lines or ["no change"]

    def previous(self):
        lines = []
        for part, base in INI_FILES:
            name = f"{part}/{base}.old"
            if not os.path.exists(self.path(name)):
                lines.append(f"{base}.old: none")
            elif self.read(name) == self.before[base]:
                lines.append(f"{base}.old: as before")
            else:
                lines.append(f"{base}.old: different")
        left = [name for part, _ in INI_FILES for name in os.listdir(self.path(part))
                if name.lower().endswith(".tmp")]
        return lines + [f"left behind: {name}" for name in left]

    def copy(self, name, target):
        if os.path.isdir(self.path(name)):
            shutil.copytree(self.path(name), self.path(target))
        else:
            os.makedirs(os.path.dirname(self.path(target)), exist_ok=True)
            shutil.copy(self.path(name), self.path(target))

    def cut(self, name, size):
        os.truncate(self.path(name), int(size))

    def patch(self, name, offset, digits):
        data, part, at = bytearray(self.read(name)), bytes.fromhex(digits), int(offset)
        data[at:at + len(part)] = part
        with open(self.path(name), "wb") as file:
            file.write(data)

    def write(self, name, text=""):
        with open(self.path(name), "wb") as file:
            file.write(re.sub(r"\\(x[0-9A-Fa-f]{2}|[0nr\\])", byte_of, text).encode("latin-1"))

    def age(self, name, minutes):
        moment = time.time() - 60 * int(minutes)
        os.utime(self.path(name), (moment, moment))

    def divert(self, name):
        target = os.path.join(self.diverted(), *name.split("/"))
        os.makedirs(os.path.dirname(target))
        shutil.copy(self.path(name), target)

    def diverted(self):
        return os.path.join(self.profile, "VirtualStore", "host-tests", os.path.basename(self.folder))

    def read_only(self, name):
        os.chmod(self.path(name), 0o444)

    def writable(self, name):
        os.chmod(self.path(name), 0o644)

    def unregister(self):
        """Keeps what is registered in files, where that was not done before, and takes it out."""
        if self.class_saved is None:
            self.class_saved = [f"{self.here}\\class{number}.reg" for number in range(len(CLASS_KEYS))]
            for key, file in zip(CLASS_KEYS, self.class_saved):
                self.run_program(["reg", "export", key, file, "/y"])
        for key in CLASS_KEYS:
            self.run_program(["reg", "delete", key, "/f"])

    def register(self, file):
        self.unregister()
        for key, (name, value) in CLASS_KEYS.items():
            self.run_program(["reg", "add", key + "\\" + name, "/ve", "/d", value or file, "/f"])

    def fixture(self, name, target):
        shutil.copy(os.path.join(ROOT, "tests", "fixtures", *name.split("/")), self.path(target))

    def same(self):
        """Bytes and times of all files; asked first, it only remembers them."""
        now = {}
        for part in ("data", "workstation"):
            for name in os.listdir(self.path(part)):
                path = self.path(f"{part}/{name}")
                now[path] = (self.read(f"{part}/{name}"), os.stat(path).st_mtime_ns)
        before, self.remembered = self.remembered, now
        if before is None:
            return ["remembered"]
        changed = {path for path in before.keys() | now.keys() if before.get(path) != now.get(path)}
        return [f"changed: {os.path.basename(path)}" for path in sorted(changed)] or ["as before"]

    def hold(self, name, *how):
        holder = subprocess.Popen(
            [self.emulator, self.here + "\\programs\\hold_file.exe",
             self.here + "\\" + name.replace("/", "\\"), *how],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.holders.append(holder)
        answer = holder.stdout.readline()
        assert answer.strip() == b"held", f"{name} could not be held: {answer!r}"

    def release(self):
        for holder in self.holders:
            holder.stdin.close()
            holder.wait(TIMEOUT_SECONDS)
        self.holders = []

    def kit(self, name, value):
        self.kit_registered = True
        self.run_program(["reg", "add", KIT_KEY, "/v", name, "/d", value, "/f"])

    def show(self, name):
        return text_lines(self.read(name), "utf-8")

    def write_lines(self, name, *lines):
        with open(self.path(name), "w", encoding="utf-8", newline="\n") as file:
            file.write("".join(line + "\n" for line in lines))

    def identical(self, name, other):
        first, second = (TIME.sub(rb"", self.read(each)) for each in (name, other))
        return ["identical" if first == second else "different"]

    def files(self, folder):
        return sorted(os.listdir(self.path(folder)))

    def end(self):
        if self.kit_registered:
            self.run_program(["reg", "delete", KIT_KEY, "/f"])
        if self.class_saved is not None:
            self.unregister()
            for number, file in enumerate(self.class_saved):
                if os.path.exists(self.path(f"class{number}.reg")):
                    self.run_program(["reg", "import", file])
        self.release()
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.rmtree(self.diverted(), ignore_errors=True)

    def run(self, command):
        words = [word.replace("{here}", self.here) for word in shlex.split(command)]
        self.environment = {}
        if "=" in words[0]:
            name, _, value = words.pop(0).partition("=")
            self.environment[name] = value
        verb, arguments = words[0], words[1:]
        if verb == "tovocfg":
            lines = self.tovocfg(arguments)
        elif verb == "plain":
            lines = self.plain(arguments)
        elif verb in ("vbs", "js", "plain_vbs", "plain_js"):
            lines = self.script(verb, arguments)
        elif verb == "delete":
            lines = os.remove(self.path(arguments[0])) or []
        else:
            lines = getattr(self, verb)(*arguments) or []
        return [self.portable(line) for line in lines]

    def portable(self, line):
        """Without what differs between runs: the copy's folder, names of temporary files, times,
        the bitness of the program, and the folder that the tests run in."""
        for here in (self.here.replace("\\", "\\\\"), self.here):
            line = re.sub(re.escape(here), "{here}", line, flags=re.IGNORECASE)
        line = re.sub(r'[A-Za-z]:\\[^" ]*\\VirtualStore' + re.escape(self.here[2:]), "{diverted}", line)
        line = re.sub(r"tov[0-9a-f]+\.tmp", "tov*.tmp", line)
        line = TIME.sub(b"{when}", line.encode()).decode()
        line = re.sub(r"\b\d{4}-\d\d-\d\d \d\d:\d\d\b", "{day} {time}", line)
        line = re.sub(r"[A-Za-z]:[^()]* \(current folder\)", "{current} (current folder)", line)
        # Which programs the system diverts does not depend on this one.
        return re.sub(rf"(?<!old ){self.bits}-bit", "{bits}-bit", line).rstrip()


def byte_of(escape):
    word = escape.group(1)
    return {"0": "\0", "n": "\n", "r": "\r", "\\": "\\"}.get(word) or chr(int(word[1:], 16))


def bits_of(program):
    with open(program, "rb") as file:
        data = file.read(4096)
    header = int.from_bytes(data[0x3C:0x40], "little")
    return 32 if data[header + 4:header + 6] == b"\x4c\x01" else 64


def text_lines(data, encoding):
    text = data.decode(encoding, "replace").replace("\r", "").rstrip("\n")
    return text.split("\n") if text else []


def comparable(data):
    """The lines of an INI file, blank lines and spacing aside: writing a value may change those."""
    lines = [line.strip() for line in data.decode("cp1252").splitlines()]
    return [re.sub(r"^([^=]*?)\s*=\s*", r"\1=", line) for line in lines if line]


def play(machine, text):
    """The transcript with what came back in place of what was expected."""
    played, skipping = [], False
    for line in text.split("\n"):
        if line.startswith("$ "):
            played.append(line)
            played += machine.run(line[2:])
            skipping = True
        elif line.startswith("#"):
            if skipping:
                played.append("")
            played.append(line)
            skipping = False
        elif not skipping:
            played.append(line)
    while played and not played[-1]:
        played.pop()
    return "\n".join(played) + "\n"


def main():
    emulator, build, transcript = sys.argv[1], os.path.abspath(sys.argv[2]), sys.argv[3]
    with open(transcript, encoding="utf-8") as file:
        expected = file.read()
    name = os.path.splitext(os.path.basename(transcript))[0]
    machine = Machine(emulator, build, f"{os.path.basename(build)}-{name}")
    try:
        played = play(machine, expected)
    finally:
        machine.end()
    if "--update" in sys.argv:
        with open(transcript, "w", encoding="utf-8") as file:
            file.write(played)
        return 0
    difference = list(difflib.unified_diff(expected.split("\n"), played.split("\n"), "expected",
                                           "came back", lineterm=""))
    print("\n".join(difference) if difference else f"{name}: as expected")
    return 1 if difference else 0


if __name__ == "__main__":
    sys.exit(main())
