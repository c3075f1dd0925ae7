"""The machine that the examples run on: a Wine prefix of its own with the products installed, the
library registered, and the sample shop where the texts have it, C:\\SHOP\\DATA and
C:\\SHOP\\WORKSTATION. It shares nothing with the tests that run beside it but the display.
"""

import os
import re
import shutil
import subprocess
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PROGRAMS = "C:\\Program Files\\Tovo\\Defaults"
TIMEOUT_SECONDS = 120
END = "[[end of command"

# With its own standard error, unlike scripts/wine.sh.
WINE = ["bash", "-c", 'root=$1; shift; . "$root/scripts/wine-environment.sh"; '
        'exec "${wine_program[@]:-wine}" "$@"', "wine", ROOT]
# What a machine without 32-bit Wine says at every start.
NOISE = re.compile(r"wine32 is missing|multiarch needs|apt-get install wine32|dpkg --add-architecture")
LARGE_BYTES = 16384
SYSTEM_FOLDERS = ("windows", "program files", "program files (x86)", "programdata", "users")


def copy_or_link(source, target):
    """Large files of a prefix are programs that nobody writes; the registry's are among the others.
    Tests that run beside this one may delete theirs meanwhile."""
    try:
        if os.path.getsize(source) >= LARGE_BYTES and not source.endswith((".reg", ".ini")):
            os.link(source, target)
        else:
            shutil.copy2(source, target)
    except FileNotFoundError:
        pass


def folders_of_tests(folder, names):
    """What is no part of a fresh prefix: folders of tests, and what they leave in temporary ones."""
    if os.path.basename(folder) == "drive_c":
        return [name for name in names if name.lower() not in SYSTEM_FOLDERS]
    return names if os.path.basename(folder).lower() == "temp" else []


def start(command, attempts=3, **settings):
    """Runs a Windows program that does nothing but end well. On a busy machine a start of Wine may
    fail without a word; nothing has happened then."""
    for attempt in range(attempts):
        done = subprocess.run(command, check=attempt == attempts - 1, **settings)
        if done.returncode == 0:
            return


class Shop:
    def __init__(self, build, name):
        self.build = os.path.abspath(build)
        self.work = os.path.join(self.build, "docs", name)
        self.prefix = os.path.join(self.work, "prefix")
        self.drive = os.path.join(self.prefix, "drive_c")
        shutil.rmtree(self.work, ignore_errors=True)
        os.makedirs(self.work)
        # Makes the prefix of the project when there is none yet.
        start([os.path.join(ROOT, "scripts", "wine.sh"), "cmd", "/c", "exit"],
              stdin=subprocess.DEVNULL, timeout=600, stdout=subprocess.DEVNULL)
        shutil.copytree(os.environ.get("TDEFAULT_WINEPREFIX") or
                        os.path.join(ROOT, "build", "wineprefix"), self.prefix, symlinks=True,
                        copy_function=copy_or_link, ignore=folders_of_tests)
        os.makedirs(os.path.join(self.prefix, "drive_d"))
        os.symlink("../drive_d", os.path.join(self.prefix, "dosdevices", "d:"))
        self.environment = dict(os.environ, TDEFAULT_WINEPREFIX=self.prefix, WINEPREFIX=self.prefix,
                                WINEPATH=PROGRAMS, LC_ALL="C.UTF-8", WINEDEBUG="-all")
        for name in ("TDEFAULT_TABLES", "TDEFAULT_LOCK_WAIT"):
            self.environment.pop(name, None)
        self.registered = False
        self.holder = None
        self.begin_session()

    def begin_session(self):
        """A server that stays between programs, and Wine's services, which keep the output of the
        program open that starts them."""
        quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL,
                 "stderr": subprocess.DEVNULL, "env": self.environment, "timeout": TIMEOUT_SECONDS}
        subprocess.run(["wineserver", f"-p{TIMEOUT_SECONDS}"], check=True, **quiet)
        start([*WINE, "rundll32", "user32.dll,MessageBeep"], **quiet)

    def install(self):
        """As an installer does; also after an example that has removed the products."""
        folder = self.path(PROGRAMS)
        os.makedirs(folder, exist_ok=True)
        for name in ("tdefault.dll", "tovocfg.exe"):
            shutil.copy(os.path.join(self.build, name), folder)
        shutil.copytree(os.path.join(ROOT, "samples"), os.path.join(folder, "samples"),
                        dirs_exist_ok=True)
        os.makedirs(self.path("C:\\docs"), exist_ok=True)
        os.makedirs(self.path("C:\\SHOP"), exist_ok=True)
        results = self.commands([f'regsvr32 /s "{PROGRAMS}\\tdefault.dll"'])
        assert results[0][2] == 0, f"the library could not be registered: {results}"
        self.registered = True

    def path(self, windows_path):
        """Where a file of drive C: lies."""
        return os.path.join(self.drive, *windows_path[3:].split("\\"))

    def fresh(self, files, workstation="C:\\SHOP\\WORKSTATION"):
        """A new copy of the shop, with further files beside its folders; TOVO.INI in a folder."""
        if not self.registered:
            self.install()
        shop = self.path("C:\\SHOP")
        self.remove_folders(self.drive, (*SYSTEM_FOLDERS, "docs"))
        self.remove_folders(os.path.join(self.prefix, "drive_d"), ())
        shutil.copytree(os.path.join(ROOT, "samples", "shop", "data"), os.path.join(shop, "DATA"))
        windows = self.path("C:\\windows")
        for name in os.listdir(windows):
            if name.lower().startswith("tov"):
                os.remove(os.path.join(windows, name))
        target = self.path(workstation)
        os.makedirs(target, exist_ok=True)
        shutil.copy(os.path.join(ROOT, "samples", "shop", "workstation", "TOVO.INI"), target)
        for name, content in files.items():
            with open(os.path.join(shop, name), "wb") as file:
                file.write(content)

    def remove_folders(self, drive, kept):
        for name in os.listdir(drive):
            if name.lower() not in kept:
                shutil.rmtree(os.path.join(drive, name))

    def commands(self, commands):
        """[(lines of standard output, lines of standard error, exit code)] of commands that are given
        to one command processor, in C:\\SHOP."""
        lines = ["@echo off", "cd /d C:\\SHOP"]
        for command in commands:
            lines += [command, f"echo {END} %errorlevel%", f"echo {END} 1>&2"]
        with open(self.path("C:\\docs\\run.bat"), "w", newline="\r\n", encoding="utf-8") as file:
            file.write("\n".join(lines) + "\n")
        out, problems, _ = self.run(["cmd", "/c", "C:\\docs\\run.bat"])
        outputs, codes = split_output(out)
        errors, _ = split_output(problems)
        missing = len(commands) - len(codes)
        outputs += [["(the command processor ended before)"]] * missing
        errors += [[]] * (len(commands) - len(errors))
        return list(zip(outputs, errors, codes + [1] * missing))

    def run(self, command):
        """Both outputs of a program, as lines, and its exit code."""
        # Into files: what is started in the background may keep a pipe open.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as problems:
            process = subprocess.Popen([*WINE, *command], stdin=subprocess.DEVNULL,
                                       stdout=out, stderr=problems, env=self.environment)
            try:
                process.wait(TIMEOUT_SECONDS)
                late = []
            except subprocess.TimeoutExpired:
                process.kill()
                late = [f"(did not end within {TIMEOUT_SECONDS} seconds; does it show a window?)"]
            out.seek(0)
            problems.seek(0)
            errors = [line for line in text_lines(problems.read()) if not NOISE.search(line)]
            return text_lines(out.read()) + late, errors, process.returncode

    def hold(self, file, *how):
        """Opens a file as another program would, until release."""
        self.holder = subprocess.Popen(
            [*WINE, os.path.join(self.build, "tests", "host", "hold_file.exe"), file, *how],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            env=self.environment)
        answer = self.holder.stdout.readline()
        assert answer.strip() == b"held", f"{file} could not be held: {answer!r}"

    def release(self):
        if self.holder:
            self.holder.stdin.close()
            self.holder.wait(TIMEOUT_SECONDS)
            self.holder.stdout.close()
        self.holder = None

    def package(self, name):
        """An installer of that name, in C:\\SHOP."""
        architecture = re.search(r"-(x64|x86)\.msi$", name).group(1)
        folder = os.path.join(self.work, "packages")
        if not os.path.isdir(folder):
            os.makedirs(folder)
            subprocess.run(["/usr/bin/python3", "-B", os.path.join(ROOT, "packaging", "make_packages.py"),
                            architecture, self.build, folder], check=False, timeout=TIMEOUT_SECONDS)
        if os.path.exists(os.path.join(folder, name)):
            shutil.copy(os.path.join(folder, name), self.path("C:\\SHOP"))

    def end(self):
        self.release()
        subprocess.run(["wineserver", "-k"], env=self.environment, check=False,
                       timeout=TIMEOUT_SECONDS)
        shutil.rmtree(self.work, ignore_errors=True)


def text_lines(data):
    try:
        text = data.decode("utf-8")
    except UnicodeDecodeError:  # script hosts write the console's code page
        text = data.decode("cp437")
    text = text.replace("\r", "").rstrip("\n")
    return text.split("\n") if text else []


def split_output(lines):
    """The lines before each end mark, and what stands behind the marks as numbers."""
    parts, codes, part = [], [], []
    for line in lines:
        if END in line:
            before, _, code = line.partition(END)
            parts.append(part + ([before] if before else []))
            codes.append(int(code.strip() or 0))
            part = []
        else:
            part.append(line)
    if part and parts:
        parts[-1] += part
    return parts, codes
