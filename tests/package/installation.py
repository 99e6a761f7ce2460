"""What installing leaves on a machine: its registry and its disk before and after, as comparable values."""
import json
import os
import pathlib
import re
import subprocess

import fill_ini
import workstation
from workstation import LIMIT, Workstation, run_to_end, wait_for_started_hosts, windows, windows_path

PACKAGES = pathlib.Path(os.environ["KANDORA_PACKAGES"])
# Where Windows records how the machine is used, not what is installed.
NOT_COMPARED = re.compile(
    r"\\(Explorer|Internet Settings|Prefetcher|RecentDocs|MuiCache|Installer\\Folders|Installer\\InProgress"
    r"|Installer\\Rollback)(\\|$)|\\Wine(\\|$)|\\Shell Folders|\\FontLink", re.IGNORECASE)
INSTALL_FAILED = 1603 % 256  # of an exit code only the low byte is left here


def architecture():
    return "x86" if workstation.options.system == "syswow64" else "x64"


def package(version):
    return PACKAGES / f"Kandora-{version}-{architecture()}.msi"


def product_code(version):
    """The code under which Windows knows the package's product."""
    table = subprocess.run(["msiinfo", "export", str(package(version)), "Property"], capture_output=True, check=True)
    return re.search(r"ProductCode\t(\{[^}]+\})", table.stdout.decode("utf-8"))[1]


def drive():
    return pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c"


def program_folder():
    return drive() / ("Program Files (x86)" if architecture() == "x86" else "Program Files") / "Kandora"


def msiexec(*arguments, expected=0):
    """Runs the installer and answers its exit code. The command stands in a file, as an administrator's does: the quotes belong
    around the value of a property, and not around all of it."""
    program = workstation.system_command("msiexec.exe")[-1]
    words = [re.sub(r"^(\w+)=(.* .*)$", r'\1="\2"', argument) for argument in arguments]
    file = workstation.options.work / "msiexec.cmd"
    file.write_text(f"@{program} {' '.join(words)}\r\n@exit /b %ERRORLEVEL%\r\n", encoding="ascii", newline="")
    done = run_to_end([*workstation.system_command("cmd.exe"), "/c", windows_path(file)],
                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if done.returncode != expected:
        raise AssertionError(f"msiexec {arguments} ended with {done.returncode}")
    return done.returncode


def install(version, *properties, expected=0):
    return msiexec("/i", windows_path(package(version)), "/qn", "/norestart", *properties, expected=expected)


def remove(version, *properties):
    return msiexec("/x", windows_path(package(version)), "/qn", "/norestart", *properties)


def other_view(system, *arguments):
    """Runs the registry tool from this system directory, of whatever bitness."""
    subprocess.run([*workstation.system_command("reg.exe", system), *arguments], stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=LIMIT, check=True)


def registry(*roots):
    """{(key, name): value} of everything below the roots, both views of a 64-bit registry."""
    found = {}
    for number, root in enumerate(roots):
        file = workstation.options.work / f"registry{number}.txt"
        file.unlink(missing_ok=True)
        windows(os.environ["KANDORA_REGISTRY_SAVE"], windows_path(file), root)
        is_compared = False
        key = None
        for line in re.sub(r"\\\n\s*", "", file.read_text(encoding="utf-8")).split("\n"):
            if line.startswith("["):
                key = root + "\\" + line[1:line.rindex("]")].replace("\\\\", "\\")
                is_compared = not NOT_COMPARED.search(key)
                if is_compared:
                    found[key, ""] = None
            elif is_compared and (value := re.fullmatch(r'(@|"(?:[^"\\]|\\.)*")=(.*)', line)):
                found[key, value[1]] = value[2]
    return found


def machine_registry():
    return registry(r"HKEY_LOCAL_MACHINE\Software", r"HKEY_CURRENT_USER\Software")


def added(before, after):
    """What is new or other than before, apart from empty branches of the installer's own account."""
    empty = re.compile(r"\\Installer(\\[A-Za-z]+)*(\\S-[-0-9]+(\\[A-Za-z]+)?)?$")
    return {place: value for place, value in after.items()
            if (place not in before or before[place] != value) and not (value is None and empty.search(place[0]))}


def disk():
    """Path of every file and folder, apart from what Windows keeps for itself."""
    own = re.compile(r"[Tt]emp(/|$)|/AppData/Roaming/Microsoft/|windows/(Prefetch|Logs|Installer)")
    paths = {str(path.relative_to(drive())) for path in drive().rglob("*")}
    return {path for path in paths if not own.search(path)}


class InstalledWorkstation(Workstation):
    """The accounting, an archive with the sample's masks, and a component that an installer put there."""

    # Does not call the parent's, which would install and register a component of its own.
    def __init__(self, name):
        self.folder = workstation.options.work / name
        self.folder.mkdir(parents=True)
        self.install = program_folder()
        self.component = self.install / "Kandora.dll"
        self.placeholder = self.install / "Platzhalter.pdf"
        self.printed = self.folder / "Druck.pdf"
        self.store = self.folder / "Archiv"
        windows("ArchiveSimulator.exe", "--create-sample-store", windows_path(self.store))
        self.client = self.folder / "Mandant.json"
        self.client.write_bytes(workstation.SAMPLE_CLIENT.read_bytes())
        windows("HostSimulator.exe", "--register", "--client", windows_path(self.client))
        self.register_archive()

    def fill_settings(self):
        """What an administrator does after installing: the required values into the installed file."""
        file = self.install / "Kandora.ini"
        archive = json.loads((self.store / "archiv.json").read_text(encoding="utf-8"))
        values = fill_ini.values_of(archive, "Buchhaltung", windows_path(self.printed))
        file.write_bytes(fill_ini.fill(fill_ini.decoded(file.read_bytes()), values).encode("cp1252"))

    def check(self, *arguments):
        """Runs the installed kandora-check. Answers exit code and output."""
        # What the package grants to all users, and the archive's printer needs: wine's installer leaves access lists out.
        for folder in (self.install, self.folder):
            folder.chmod(0o777)
        program = self.install / "Werkzeuge" / "kandora-check.exe"
        file = self.folder / "pruefung.txt"
        # No pipe: an archive that is started on the way inherits its other end and keeps it open.
        with file.open("wb") as stream:
            done = run_to_end([str(workstation.options.loader), str(program), *arguments], stdout=stream,
                              stderr=subprocess.STDOUT)
        wait_for_started_hosts()
        return done.returncode, file.read_text(encoding="utf-8")

    def close(self):
        """Takes the accounting and the archive away again."""
        if self.archive_processes():
            self.stop_archive()
        windows("ArchiveSimulator.exe", "--unregister")
        windows("HostSimulator.exe", "--unregister")
