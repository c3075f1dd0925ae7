#!/usr/bin/python3
"""Tests of the packages, each on a machine of its own under Wine.

    packages_test.py CASE ARCHITECTURE BUILD_FOLDER [EMULATOR HOST CLOSE_BOXES]

The cases are the functions at the end. All but `build` and `tables` use the packages that `build` has made; `build`
and `tables` need no Wine.
"""

from __future__ import annotations

import contextlib
import os
import re
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

sys.dont_write_bytecode = True

from wine_machine import ROOT, Files, Machine, Registry, machine

sys.path.insert(0, str(ROOT / "packaging"))

import contents
import installer
import make_packages
import registration
import type_library

PROGRAM_FILES = {"x64": "C:\\Program Files", "x86": "C:\\Program Files (x86)"}
VERSION = contents.product_version()
LOWER, HIGHER = "0.9.7", "100.1.3"
LIBRARY = type_library.read(make_packages.IDL)

# What Wine's own installer service leaves: folders of its database without a value in them, and the folder of its files.
SERVICE_KEYS = re.compile(
    r"^HKLM\\Software\\(Wow6432Node\\)?(Classes\\Installer|Microsoft\\Windows\\CurrentVersion\\(Installer|Uninstall))(\\|$)",
    re.IGNORECASE,
)
SERVICE_FOLDER = "windows/Installer"
# What Wine's display driver writes whenever a session begins.
DRIVER_KEYS = re.compile(r"^HKLM\\System\\CurrentControlSet\\Control\\(Class|Video)\\", re.IGNORECASE)
ENVIRONMENT_KEY = "HKLM\\System\\CurrentControlSet\\Control\\Session Manager\\Environment"


def expect(truth: object, message: str) -> None:
    if not truth:
        raise AssertionError(message)


def expect_equal(found: object, expected: object, what: str) -> None:
    expect(found == expected, f"{what}: {found!r} instead of {expected!r}")


class Setting:
    """What the arguments name."""

    def __init__(self, architecture: str, build: str, emulator: str = "", host: str = "", close_boxes: str = ""):
        self.architecture = architecture
        self.build = Path(build).resolve()
        self.emulator = Path(emulator)
        self.host = Path(host)
        self.close_boxes = Path(close_boxes)
        self.work = ROOT / "build" / "packaging-test"
        self.packages = self.work / f"packages-{architecture}"
        self.name = f"tdefault-{VERSION}-{architecture}"

    def make(self, output: Path, *arguments: str) -> None:
        subprocess.run(
            [sys.executable, str(ROOT / "packaging" / "make_packages.py"), self.architecture, str(self.build),
             str(output), *arguments],
            check=True,
        )  # fmt: skip

    def installer(self, version: str = VERSION) -> Path:
        return self.packages / f"tdefault-{version}-{self.architecture}.msi"

    def new_machine(self, name: str) -> contextlib.AbstractContextManager[Machine]:
        return machine(self.work, f"{name}-{self.architecture}", self.emulator)


class Installed:
    """A machine, its installers on drive C:, and what was there before."""

    def __init__(self, setting: Setting, of: Machine):
        self.machine = of
        self._setting = setting
        # On a 32-bit system there is one folder for programs only.
        self.folder = PROGRAM_FILES[setting.architecture] + "\\Tovo\\Defaults"
        if not of.path("C:\\Program Files (x86)").exists():
            self.folder = PROGRAM_FILES["x64"] + "\\Tovo\\Defaults"
        self.installers = of.path("C:\\packages")
        self.installers.mkdir()
        for package in setting.packages.glob("*.msi"):
            shutil.copy(package, self.installers)
        self.before: tuple[Registry, Files] = (of.registry(), of.files())

    def _package(self, version: str) -> str:
        return f"C:\\packages\\{self._setting.installer(version).name}"

    def try_install(self, version: str = VERSION, *properties: str) -> tuple[int, str]:
        """The exit code and the log."""
        log = self.installers / "log.txt"
        log.unlink(missing_ok=True)
        code, _ = self.machine.try_run(
            "msiexec", "/i", self._package(version), "/qn", "/l*", "C:\\packages\\log.txt", *properties
        )
        data = log.read_bytes() if log.exists() else b""
        return code, data.decode("utf-16" if data[:2] == b"\xff\xfe" else "cp1252", "replace")

    def install(self, version: str = VERSION, *properties: str) -> None:
        code, log = self.try_install(version, *properties)
        expect(code == 0, f"the installer of {version} ended with {code}:\n{log}")

    def remove(self, version: str = VERSION) -> None:
        self.machine.run("msiexec", "/x", self._package(version), "/qn")

    def file(self, name: str) -> Path:
        return self.machine.path(f"{self.folder}\\{name}")

    def products(self) -> dict[str, dict[str, str]]:
        """The entries of the system's list of programs that are ours. The session must have ended."""
        uninstall = re.compile(r"^HKLM\\Software\\(Wow6432Node\\)?Microsoft\\Windows\\CurrentVersion\\Uninstall\\[^\\]+$")
        return {
            key.rsplit("\\", 1)[1]: values
            for key, values in self.machine.registry().items()
            if uninstall.match(key) and values.get("Publisher") == '"Tovo"'
        }

    def expect_as_before(self) -> None:
        self.machine.stop()
        (self.installers / "log.txt").unlink(missing_ok=True)
        registry, files = self.before
        expect_same_registry(registry, self.machine.registry())
        expect_same_files(files, self.machine.files())


def expect_same_registry(before: Registry, after: Registry) -> None:
    # A key without values goes with the last key below it.
    wrong = [f"gone: {key}" for key in before.keys() - after.keys() if before[key]]
    for key, values in after.items():
        if DRIVER_KEYS.match(key):
            continue
        if key == ENVIRONMENT_KEY:
            # Wine takes a part of the search path away without the semicolon in front of it. Windows takes both.
            values = values | {"PATH": re.sub(';+"$', '"', values["PATH"])}
        if key not in before:
            if values or not SERVICE_KEYS.match(key):
                wrong.append(f"left behind: {key} {values}")
        elif values != before[key]:
            wrong.append(f"changed: {key} {before[key]} -> {values}")
    expect(not wrong, "the registry is not as before:\n" + "\n".join(sorted(wrong)))


def expect_same_files(before: Files, after: Files) -> None:
    wrong = [f"gone: {name}" for name in before.keys() - after.keys()]
    wrong += [f"left behind: {name}" for name in after.keys() - before.keys() - {SERVICE_FOLDER}]
    wrong += [f"changed: {name}" for name in before.keys() & after.keys() if before[name] != after[name]]
    expect(not wrong, "the files are not as before:\n" + "\n".join(sorted(wrong)))


def copy_shop(of: Machine, source: Path) -> None:
    """A shop to work on: C:\\SHOP, as its TOVO.INI has it."""
    for part in ("data", "workstation"):
        shutil.copytree(source / part, of.path(f"C:\\SHOP\\{part.upper()}"))


def remove_shop(of: Machine) -> None:
    shutil.rmtree(of.path("C:\\SHOP"))


def shop_value(of: Machine, file: str, key: str) -> str:
    found = re.search(rf"^{key} *= *(.*?)\r?$", of.path(file).read_text(encoding="cp1252"), re.MULTILINE)
    expect(found, f"{file} holds no {key}")
    return found[1] if found else ""


def table(package: Path, name: str) -> list[dict[str, str]]:
    """The rows of a table of an installer."""
    text = subprocess.run(
        ["msiinfo", "export", str(package), name], check=True, capture_output=True, text=True, encoding="cp1252"
    ).stdout.replace("\r", "")
    lines = text.rstrip("\n").split("\n")
    columns = lines[0].split("\t")
    return [dict(zip(columns, line.split("\t"))) for line in lines[3:]]


def installer_properties(package: Path) -> dict[str, str]:
    return {row["Property"]: row["Value"] for row in table(package, "Property")}


# The cases.


def build(setting: Setting) -> None:
    """The packages of this architecture, and installers of a lower and a higher version."""
    shutil.rmtree(setting.packages, ignore_errors=True)
    setting.make(setting.packages)
    for version in (LOWER, HIGHER):
        setting.make(setting.packages, "--installer-version", version)


def reproducible(setting: Setting) -> None:
    """Made again, elsewhere and at another time, the packages have the same bytes."""
    again = setting.work / f"again-{setting.architecture}"
    shutil.rmtree(again, ignore_errors=True)
    setting.make(again)
    names = sorted(path.name for path in again.iterdir())
    expect_equal(names, [f"{setting.name}.msi", f"{setting.name}.zip"], "packages")
    for name in names:
        expect((again / name).read_bytes() == (setting.packages / name).read_bytes(), f"{name} has other bytes")
    shutil.rmtree(again)


def tables(setting: Setting) -> None:
    """The installer's tables say what is to be installed, under which name and instead of what."""
    package, architecture = setting.installer(), setting.architecture
    properties = installer_properties(package)
    expect_equal(properties["ProductName"], f"Tovo Defaults ({installer.BITS[architecture]})", "name")
    expect_equal(properties["ProductVersion"], VERSION, "version")
    expect_equal(properties["Manufacturer"], "Tovo", "publisher")
    expect_equal(properties["ALLUSERS"], "1", "installed for")
    expect(not [name for name in properties if "URL" in name or "HELP" in name], "there is no page to link to")
    expect_equal(properties["MSIRESTARTMANAGERCONTROL"], "DisableShutdown", "what becomes of programs that use it")
    expect_equal(properties["REBOOT"], "ReallySuppress", "restarts of the machine")
    other = "x86" if architecture == "x64" else "x64"
    expect(properties["UpgradeCode"] != installer.upgrade_code(other), "both architectures replace each other")
    expect(properties["ProductCode"] != installer_properties(setting.installer(LOWER))["ProductCode"], "product code")
    summary = subprocess.run(["msiinfo", "suminfo", str(package)], check=True, capture_output=True, text=True).stdout
    template = {"x64": "x64;1033", "x86": "Intel;1033"}[architecture]
    expect(re.search(rf"^Template: {template}$", summary, re.MULTILINE), f"not for {architecture}:\n{summary}")

    files = {row["File"]: row for row in table(package, "File")}
    library = files[contents.LIBRARY]
    expect_equal(library["Version"], contents.file_version(VERSION), "version of the library's file")
    names = {row["FileName"].split("|")[-1] for row in files.values()}
    for name in ("tovocfg.exe", "README.md", "CHANGELOG.md", "object-model.md", "options.vbs", "TOVO.INI", "defaults.dbf"):
        expect(name in names, f"{name} is not in the package")
    check_components(setting, package)

    upgrade = {row["ActionProperty"]: row for row in table(package, "Upgrade")}
    older, newer = upgrade["OLDERVERSIONINSTALLED"], upgrade["NEWERVERSIONINSTALLED"]
    expect_equal((older["VersionMin"], older["VersionMax"]), ("0.0.0", VERSION), "versions that are replaced")
    expect_equal(int(older["Attributes"]) & 0x302, 0x100, "what is done with an older version")
    expect_equal((newer["VersionMin"], newer["VersionMax"]), (VERSION, ""), "versions that are kept")
    expect_equal(int(newer["Attributes"]) & 0x302, 0x002, "what is done with a newer version")
    sequence = {row["Action"]: int(row["Sequence"]) for row in table(package, "InstallExecuteSequence")}
    order = ["FindRelatedProducts", "LaunchConditions", "InstallInitialize", "RemoveExistingProducts", "InstallFiles"]
    expect_equal(sorted(order, key=lambda action: sequence[action]), order, "order of the actions")


def check_components(setting: Setting, package: Path) -> None:
    """Each of the architecture's own, but for the registry entries that both have in common."""
    rows = {row["Component"]: row for row in table(package, "Component")}
    for name, row in rows.items():
        shared = name in ("component.registration", "component.interfaces")
        owner = "both" if shared else setting.architecture
        expect_equal(row["ComponentId"], installer.identifier("component", owner, name.removeprefix("component.")), name)
        is_64_bit = setting.architecture == "x64" and name != "component.interfaces"
        expect_equal(bool(int(row["Attributes"]) & 0x100), is_64_bit, f"{name} is 64-bit")
    # Shared is what has one identifier in one place: an entry in another view of the registry is another place.
    common = rows["component.registration"]
    expect_equal((common["Directory_"], common["KeyPath"]), ("WindowsFolder", ""), "place of the common entries")
    places = {row["Registry"]: row["Key"] for row in table(package, "Registry")}
    expect_equal(
        places[rows["component.interfaces"]["KeyPath"]],
        f"Software\\Classes\\Interface\\{LIBRARY.interfaces[0].id}",
        "place of the 32-bit interfaces",
    )
    components = {
        registration.Part.OWN: f"component.{contents.LIBRARY}",
        registration.Part.COMMON: "component.registration",
        registration.Part.INTERFACES_OF_32_BITS: "component.interfaces",
    }
    entries = registration.entries(LIBRARY, setting.architecture, f"[#{contents.LIBRARY}]", "[INSTALLFOLDER]")
    expected = {
        (f"Software\\Classes\\{entry.key}", entry.name or "", entry.value, components[entry.part]) for entry in entries
    }
    for name, component in (("InstallFolder", "location"), ("SearchPath", "path")):
        expected.add(("Software\\Tovo\\Defaults", name, "[INSTALLFOLDER]", f"component.{component}"))
    found = {(row["Key"], row["Name"], row["Value"], row["Component_"]) for row in table(package, "Registry")}
    expect_equal(found, expected, "registry entries")
    expect_equal({row["Root"] for row in table(package, "Registry")}, {"2"}, "root of the registry entries")


def install(setting: Setting) -> None:
    """Installed and repaired, the library serves a script and tovocfg; removed, nothing of it is left."""
    with setting.new_machine("install") as of:
        installed = Installed(setting, of)
        installed.install()
        installed.file("tdefault.dll").unlink()
        installed.file("tovocfg.exe").write_bytes(b"damaged")
        of.run("reg", "delete", "HKCR\\TovoDefaults.Options", "/f")
        of.run("reg", "delete", f"HKCR\\CLSID\\{LIBRARY.classes[0].id}", "/f")
        installed.install(VERSION, "REINSTALL=ALL", "REINSTALLMODE=amus")
        for name in ("tdefault.dll", "tovocfg.exe"):
            data = installed.file(name).read_bytes()
            expect(data == (setting.build / name).read_bytes(), f"{name} is not the one that was built")
        copy_shop(of, installed.file("samples\\shop"))
        script = f"{installed.folder}\\samples\\scripts\\options.vbs"
        ini = "C:\\SHOP\\WORKSTATION\\TOVO.INI"
        text = of.run("cscript", "//nologo", script, f"/ini:{ini}", "set", "Tax", "Rate1", "7.25")
        expect_equal(shop_value(of, "C:\\SHOP\\DATA\\TOVOGBL.INI", "Rate1"), "7.25", f"the script's value\n{text}")
        expect(of.path("C:\\SHOP\\DATA\\TOVOGBL.old").exists(), "the file from before the save")
        of.stop()  # the search path is read when a session begins
        text = of.run("cmd", "/c", "tovocfg", "--ini", ini, "where")
        library = f"Library          {installed.folder}\\tdefault.dll {VERSION} (registered)\n"
        expect(library in text, f"tovocfg, found on the search path, uses another library:\n{text}")
        remove_shop(of)

        of.stop()
        products = installed.products()
        expect_equal(list(products), [installer.product_code(VERSION, setting.architecture)], "products")
        values = next(iter(products.values()))
        expect_equal(values["DisplayName"], f'"{installer.product_name(setting.architecture)}"', "name")
        expect_equal(values["DisplayVersion"], f'"{VERSION}"', "version")
        location = values["InstallLocation"].replace("\\\\", "\\")
        expect_equal(location, f'"{installed.folder}\\"', "folder")
        installed.remove()
        installed.expect_as_before()


def upgrade(setting: Setting) -> None:
    """A higher version takes the place of a lower one and is not replaced by it; a user's files stay."""
    with setting.new_machine("upgrade") as of:
        installed = Installed(setting, of)
        usual, installed.folder = installed.folder, "C:\\Shared\\Tovo"
        installed.install(LOWER, "INSTALLFOLDER=C:\\Shared\\Tovo")
        notes = installed.file("notes.txt")
        notes.write_text("ours")
        # So that it shows whose file is there.
        installed.file("CHANGELOG.md").write_text("of the lower version")
        installed.install(VERSION)
        expect("## " in installed.file("CHANGELOG.md").read_text(encoding="utf-8"), "a file of the lower version stayed")
        expect(installed.file("tdefault.dll").exists(), "the library went with the lower version")
        expect(not of.path(usual).exists(), "the higher version is in another folder")

        code, _ = installed.try_install(LOWER)
        expect(code != 0, "a lower version was installed over a higher one")
        # Somebody at the screen reads why.
        shutil.copy(setting.close_boxes, of.path("C:\\close_boxes.exe"))
        lower = f"C:\\packages\\{setting.installer(LOWER).name}"
        _, text = of.try_run("C:\\close_boxes.exe", "msiexec", "/i", lower, "/qb")
        of.path("C:\\close_boxes.exe").unlink()
        refusal = (
            f"A newer version of {installer.product_name(setting.architecture)} is installed. Remove it first if you "
            f"want version {LOWER} in its place; nothing was changed."
        )
        expect(refusal in text, f"the message is another:\n{text}")
        of.stop()
        products = {values["DisplayVersion"] for values in installed.products().values()}
        expect_equal(products, {f'"{VERSION}"'}, "products after the upgrade and the refusal")

        installed.install(HIGHER)
        installed.remove(HIGHER)
        folder = of.path(installed.folder)
        expect_equal([path.name for path in folder.rglob("*")], ["notes.txt"], "what is left in the folder")
        expect_equal(notes.read_text(), "ours", "the user's file")
        shutil.rmtree(folder.parent)
        installed.expect_as_before()


def side_by_side(setting: Setting) -> None:
    """Both architectures' packages are installed at once, and removing one leaves the other working."""
    other = Setting("x86", str(setting.build), str(setting.emulator))
    with setting.new_machine("side-by-side") as of:
        installed = Installed(setting, of)
        for package in other.packages.glob("*.msi"):
            shutil.copy(package, installed.installers)
        installed.before = (of.registry(), of.files())
        installed.install()
        copy_shop(of, installed.file("samples\\shop"))

        def expect_working(value: str) -> None:
            script = f"{installed.folder}\\samples\\scripts\\options.vbs"
            arguments = ("/ini:C:\\SHOP\\WORKSTATION\\TOVO.INI", "set", "Tax", "Rate1", value)
            of.run("cscript", "//nologo", script, *arguments)
            expect_equal(shop_value(of, "C:\\SHOP\\DATA\\TOVOGBL.INI", "Rate1"), value, "the script's value")

        of.run("msiexec", "/i", f"C:\\packages\\{other.installer().name}", "/qn")
        folder = of.path(PROGRAM_FILES["x86"] + "\\Tovo\\Defaults")
        expect((folder / "tdefault.dll").exists(), "the 32-bit library is not there")
        expect_working("7.25")
        of.run("msiexec", "/x", f"C:\\packages\\{other.installer().name}", "/qn")
        expect(not folder.exists(), "the 32-bit folder stayed")
        expect_working("7.5")
        remove_shop(of)
        installed.remove()
        of.stop()
        # Windows has the name once; Wine has it once for each bitness, and the last to go removes its own.
        name = "HKLM\\Software\\Classes\\Wow6432Node\\TovoDefaults.Options"
        expect(f"{name}\\CLSID" in of.registry(), "Wine has come to share the name: no exception is needed here")
        of.run("reg", "delete", "HKCR\\TovoDefaults.Options", "/f", "/reg:32")
        installed.expect_as_before()


def self_registration(setting: Setting) -> None:
    """The installer writes the registry entries that the library writes itself."""
    with setting.new_machine("registration") as of:
        installed = Installed(setting, of)

        def classes() -> Registry:
            of.stop()
            kinds = re.compile(r"^HKLM\\Software\\(Wow6432Node\\)?Classes\\(Wow6432Node\\)?(?!Installer)", re.IGNORECASE)
            return {key: values for key, values in of.registry().items() if kinds.match(key)}

        before = classes()
        installed.install()
        by_installer = classes()
        installed.remove()
        library = installed.file("tdefault.dll")
        library.parent.mkdir(parents=True)
        shutil.copy(setting.build / "tdefault.dll", library)
        of.run("regsvr32", "/s", f"{installed.folder}\\tdefault.dll")
        by_library = classes()
        expect(len(by_library) > len(before) + 30, "the library registered nothing")
        # Wine also writes into the flags that the type library lies in a file.
        flags = next(key for key in by_library if key.endswith(f"\\{LIBRARY.registry_version}\\FLAGS") and LIBRARY.id in key)
        expect_equal(by_library[flags], {"": '"8"'}, "the flags that Wine writes")
        expect_same_registry(by_library | {flags: {"": '"0"'}}, by_installer)

        # The name is for both bitnesses.
        if setting.architecture == "x64":
            other = f"HKLM\\Software\\Classes\\CLSID\\{LIBRARY.classes[0].id}"
            of.run("reg", "add", other, "/reg:32", "/f")
            of.run("regsvr32", "/u", "/s", f"{installed.folder}\\tdefault.dll")
            left = [key for key in classes() if key not in before]
            name = "HKLM\\Software\\Classes\\TovoDefaults.Options"
            expect(name in left and f"{name}\\CLSID" in left, f"what is left is not the name: {left}")
            expect_equal(len(left), 3, f"left with the other bitness registered: {left}")
            of.run("reg", "delete", other, "/reg:32", "/f")
        of.run("regsvr32", "/u", "/s", f"{installed.folder}\\tdefault.dll")
        expect_same_registry(before, classes())


def registration_free(setting: Setting) -> None:
    """Unpacked, the library serves a compiled host and a script host through manifests alone."""
    with setting.new_machine("registration-free") as of:
        before = of.registry()
        with zipfile.ZipFile(setting.packages / f"{setting.name}.zip") as archive:
            archive.extractall(of.drive)
        unpacked = of.drive / setting.name
        text = (unpacked / "README.txt").read_text(encoding="ascii")
        expect("@" not in text and contents.file_version(VERSION) in text, f"the text for host authors:\n{text}")
        copy_shop(of, unpacked / "samples" / "shop")
        # The example manifest is for a program of this name.
        hosts = {"compiled": setting.host, "script": of.path("C:\\windows\\system32\\cscript.exe")}
        for kind, program in hosts.items():
            folder = of.drive / kind
            folder.mkdir()
            shutil.copy(program, folder / "host.exe")
            for name in ("tdefault.dll", "TovoDefaults.manifest", "host.exe.manifest"):
                shutil.copy(unpacked / name, folder)
        ini = "C:\\SHOP\\WORKSTATION\\TOVO.INI"
        text = of.run("C:\\compiled\\host.exe", ini, "C:\\SHOP\\DATA")
        expect_equal(text.split("\n"), ["opened: yes", "saved: yes", "done", ""], "the compiled host")
        expect_equal(shop_value(of, "C:\\SHOP\\DATA\\TOVOGBL.INI", "Rate1"), "7.125", "the compiled host's value")
        script = f"C:\\{setting.name}\\samples\\scripts\\options.vbs"
        of.run("C:\\script\\host.exe", "//nologo", script, f"/ini:{ini}", "set", "Tax", "Rate1", "7.25")
        expect_equal(shop_value(of, "C:\\SHOP\\DATA\\TOVOGBL.INI", "Rate1"), "7.25", "the script host's value")
        text = of.run(f"C:\\{setting.name}\\tovocfg.exe", "--ini", ini, "where")
        expect(f"Library          C:\\{setting.name}\\tdefault.dll {VERSION} (not registered)" in text, text)
        of.stop()
        expect_same_registry(before, of.registry())
        # Wine registers a type library that it loads through a manifest, so this comes last.
        text = of.run("C:\\compiled\\host.exe", ini, "C:\\SHOP\\DATA", "apartments")
        expect("options from another apartment: 164\n" in text, f"the manifest does not serve other apartments:\n{text}")


def refused(setting: Setting) -> None:
    """What cannot be packaged is named, and no package is left."""
    output = setting.work / "refused"
    shutil.rmtree(output, ignore_errors=True)
    build_folder = output / "build"
    build_folder.mkdir(parents=True)

    def expect_refusal(text: str, *arguments: str) -> None:
        done = subprocess.run(
            [sys.executable, str(ROOT / "packaging" / "make_packages.py"), setting.architecture, str(build_folder),
             str(output), *arguments],
            capture_output=True, text=True, check=False,
        )  # fmt: skip
        expect_equal(done.returncode, 1, f"exit code with {done.stderr}")
        expect(text in done.stderr, f"the message is another: {done.stderr}")
        expect_equal([path.name for path in output.iterdir()], ["build"], "what is left")

    expect_refusal("tdefault.dll is not there; build the target product first")
    expect_refusal("version 1.2: major.minor.revision is needed", "--installer-version", "1.2")
    expect_refusal("version 256.0.0: an installer's version goes up to 255.255.65535", "--installer-version", "256.0.0")
    program = bytearray((setting.build / "tdefault.dll").read_bytes())
    at = program.index(b"\xbd\x04\xef\xfe\x00\x00\x01\x00")
    program[at + 8 : at + 12] = b"\x07\x00\x03\x00"
    (build_folder / "tdefault.dll").write_bytes(program)
    expect_refusal(f"tdefault.dll is of version 3.7.0.0, the project of {contents.file_version(VERSION)}; build it again")
    shutil.rmtree(output)


def changelog(setting: Setting) -> None:
    """The newest heading of the change log names the project's version."""
    del setting
    text = (ROOT / "CHANGELOG.md").read_text(encoding="utf-8")
    heading = re.search(r"^## (.*)$", text, re.MULTILINE)
    expect(heading, "CHANGELOG.md has no heading")
    named = re.search(r"\d+\.\d+\.\d+", heading[1] if heading else "")
    expect_equal(named[0] if named else None, VERSION, f"version in the heading {heading[1] if heading else ''}")


CASES = (build, reproducible, tables, install, upgrade, side_by_side, self_registration, registration_free, refused,
         changelog)


def main() -> int:
    cases = {case.__name__: case for case in CASES}
    setting = Setting(*sys.argv[2:])
    setting.work.mkdir(parents=True, exist_ok=True)
    try:
        cases[sys.argv[1]](setting)
    except AssertionError as error:
        print(f"FAILED: {error}")
        return 1
    print("passed")
    return 0


if __name__ == "__main__":
    os.environ.setdefault("LC_ALL", "C.UTF-8")
    sys.exit(main())
