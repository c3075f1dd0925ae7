"""A Windows machine of a test's own under Wine: nothing that other programs register or write is seen in it.

It is a folder with the project's scripts, in which they make a prefix, a display and a session as they do in the
project's own. The prefix is a copy of one that is made once; its files are the same ones as long as nobody writes them.
"""

from __future__ import annotations

import contextlib
import fcntl
import os
import re
import shutil
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
TIMEOUT_SECONDS = 180

# A value, or the hexadecimal digits of one over several lines.
_VALUE = re.compile(r'^(@|"(?:[^"\\]|\\.)*")=(.*)$')

Registry = dict[str, dict[str, str]]
Files = dict[str, tuple[int, ...]]


def _environment() -> dict[str, str]:
    return {name: value for name, value in os.environ.items() if not name.startswith("TDEFAULT_")}


class Machine:
    def __init__(self, folder: Path, emulator: Path, pristine: Path | None = None):
        self._folder = folder
        self._emulator = folder / "scripts" / emulator.name
        self._prefix = folder / "build" / ("wineprefix32" if "32" in emulator.name else "wineprefix")
        if folder.exists():
            self.remove()
        (folder / "build").mkdir(parents=True)
        (folder / "scripts").symlink_to(ROOT / "scripts")
        if pristine is not None:
            subprocess.run(["cp", "-al", pristine, self._prefix], check=True)
            # Wine writes these in place.
            for name in ("system.reg", "user.reg", "userdef.reg"):
                (self._prefix / name).unlink()
                shutil.copy(pristine / name, self._prefix)

    @property
    def prefix(self) -> Path:
        return self._prefix

    @property
    def drive(self) -> Path:
        return self._prefix / "drive_c"

    def path(self, windows_path: str) -> Path:
        """Where a path of drive C: is."""
        assert windows_path.upper().startswith("C:\\"), windows_path
        return self.drive.joinpath(*windows_path[3:].split("\\"))

    def _start(self) -> None:
        """Begins a session, one machine at a time: of two that look for a free display, both may find the same."""
        if (self._folder / "build" / "display").exists():
            return
        with open(self._folder.parent / "start.lock", "w", encoding="ascii") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            subprocess.run(
                [str(self._emulator), "cmd", "/c", "exit"],
                stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL,
                stderr=subprocess.DEVNULL,
                timeout=TIMEOUT_SECONDS,
                env=_environment(),
                close_fds=True,
                check=False,
            )

    def try_run(self, *command: str) -> tuple[int, str]:
        """The exit code and what it printed."""
        self._start()
        # Into a file, not a pipe: what a session starts keeps its output open for as long as it lasts.
        with tempfile.TemporaryFile() as output:
            done = subprocess.run(
                [str(self._emulator), *command],
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.STDOUT,
                timeout=TIMEOUT_SECONDS,
                env=_environment(),
                check=False,
            )
            output.seek(0)
            text = output.read().decode("utf-8", "replace").replace("\r", "")
        print(f"> {' '.join(command)}\n{text}[exit {done.returncode}]", flush=True)
        return done.returncode, text

    def run(self, *command: str) -> str:
        code, text = self.try_run(*command)
        if code != 0:
            raise AssertionError(f"{' '.join(command)} ended with {code}")
        return text

    def stop(self) -> None:
        """Ends the session, which writes the registry into its files."""
        subprocess.run([str(self._folder / "scripts" / "stop-wine.sh")], check=False, timeout=TIMEOUT_SECONDS)

    def registry(self) -> Registry:
        """Every key of the machine and of the user, with its values. The session must have ended."""
        found: Registry = {}
        for hive, name in (("HKLM", "system.reg"), ("HKCU", "user.reg")):
            values: dict[str, str] = {}
            text = (self._prefix / name).read_text(encoding="utf-8", errors="replace").replace("\\\n", "")
            for line in text.split("\n"):
                if line.startswith("["):
                    key = line[1 : line.rindex("]")].replace("\\\\", "\\")
                    values = found.setdefault(f"{hive}\\{key}", {})
                elif match := _VALUE.match(line):
                    values[match[1].strip('"') if match[1] != "@" else ""] = match[2]
                elif line.startswith("#link"):
                    values["#link"] = line
        return found

    def files(self) -> Files:
        """Every file and folder of drive C:."""
        found: Files = {}
        for folder, folders, names in os.walk(self.drive):
            for name in folders:
                found[os.path.relpath(os.path.join(folder, name), self.drive)] = ()
            for name in names:
                path = os.path.join(folder, name)
                status = os.lstat(path)
                found[os.path.relpath(path, self.drive)] = (status.st_ino, status.st_size, status.st_mtime_ns)
        return found

    def remove(self) -> None:
        self.stop()
        shutil.rmtree(self._folder, ignore_errors=True)


@contextlib.contextmanager
def machine(work: Path, name: str, emulator: Path):
    """A machine as it is when Windows has just been installed; gone afterwards."""
    made = Machine(work / name, emulator, pristine_prefix(work, emulator))
    try:
        yield made
    finally:
        made.remove()


def pristine_prefix(work: Path, emulator: Path) -> Path:
    """The prefix that machines start from; made by the first that asks."""
    work.mkdir(parents=True, exist_ok=True)
    kept = work / f"pristine-{emulator.stem}"
    with open(work / f"{kept.name}.lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not kept.exists():
            maker = Machine(work / f"{kept.name}-maker", emulator)
            try:
                # What the first session of a prefix and the first programs of each kind leave is in it.
                script = maker.drive / "first.vbs"
                maker.run("cmd", "/c", "ver")  # makes the prefix
                script.write_text("Set pattern = New RegExp\r\npattern.Test \"\"\r\nWScript.Quit 0\r\n")
                maker.run("cscript", "//nologo", "C:\\first.vbs")
                script.unlink()
                maker.stop()
                maker.prefix.rename(kept)
            finally:
                maker.remove()
    return kept
