"""What scripts/setup.sh says of the system that it finds, where scripts/wine.sh looks for wine, and which of the machine's
package sources scripts/elsewhere.sh takes for another release."""
import pathlib
import subprocess
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"


def shell(script, commands, *arguments):
    """What the commands print after the script was read."""
    done = subprocess.run(["bash", "-euc", f'source "$0"\n{commands}', str(SCRIPTS / script), *map(str, arguments)],
                          stdin=subprocess.DEVNULL, capture_output=True, check=True)
    return done.stdout.decode("utf-8")


class System(unittest.TestCase):
    NEEDED = "this needs Debian 12 or later, or a system derived from it, on a 64-bit PC (amd64).\n"

    def fault(self, name, version, architecture="amd64"):
        with tempfile.TemporaryDirectory() as folder:
            etc = pathlib.Path(folder)
            if name:
                (etc / "os-release").write_text(f'PRETTY_NAME="{name}"\nID=any\n', encoding="utf-8")
            if version:
                (etc / "debian_version").write_text(f"{version}\n", encoding="utf-8")
            return shell("setup.sh", 'system_fault "$1" "$2"', etc, architecture)

    def test_these_work(self):
        for name, version in [("Debian GNU/Linux 12 (bookworm)", "12.11"), ("Debian GNU/Linux 13 (trixie)", "13.1"),
                              ("Debian GNU/Linux forky/sid", "forky/sid"), ("Ubuntu 24.04 LTS", "trixie/sid"),
                              ("LMDE 6 (faye)", "12.5"), ("A rolling system", "rolling")]:
            with self.subTest(name):
                self.assertEqual(self.fault(name, version), "")

    def test_these_are_too_old(self):
        for name, version in [("Debian GNU/Linux 11 (bullseye)", "11.9"), ("Debian GNU/Linux 9 (stretch)", "9.13"),
                              ("Ubuntu 22.04 LTS", "bookworm/sid"), ("Linux Mint 20", "bullseye/sid")]:
            with self.subTest(name):
                self.assertEqual(self.fault(name, version), f"{name} is too old: {self.NEEDED}")

    def test_these_are_something_else(self):
        self.assertEqual(self.fault("Fedora Linux 40", None), f"Fedora Linux 40 is not Debian: {self.NEEDED}")
        self.assertEqual(self.fault(None, None), f"This system is not Debian: {self.NEEDED}")
        self.assertEqual(self.fault("Debian GNU/Linux 12 (bookworm)", "12.1", "arm64"),
                         f"Debian GNU/Linux 12 (bookworm) runs on another processor (arm64): {self.NEEDED}")


class Wine(unittest.TestCase):
    """A folder of loaders and one of libraries, filled as a release does."""

    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.root = pathlib.Path(temporary.name)
        (self.root / "own").mkdir()
        (self.root / "libraries" / "x86_64-windows").mkdir(parents=True)

    def make(self, *programs):
        for program in programs:
            (self.root / program).touch(mode=0o755)

    def found(self):
        """Loaders of both architectures, the server, and whether 32-bit programs run."""
        return shell("wine.sh", """
            wineFolder=$1/own wineLibraries=$1/libraries
            for place in "$(wine_loader x86)" "$(wine_loader x64)" "$(wine_server)"; do printf '%s ' "${place#"$1/"}"; done
            if has_32_bit_wine; then printf both; else printf 64; fi""", self.root)

    def test_a_loader_for_each_architecture(self):
        self.make("own/wine", "own/wine64", "own/wineserver")
        self.assertEqual(self.found(), "own/wine own/wine64 own/wineserver both")

    def test_only_that_of_64_bit(self):
        self.make("own/wine64", "own/wineserver")
        self.assertEqual(self.found(), "own/wine own/wine64 own/wineserver 64")

    def test_one_loader_for_both(self):
        self.make("libraries/wine", "libraries/wineserver")
        (self.root / "libraries" / "i386-windows").mkdir()
        self.assertEqual(self.found(), "libraries/wine libraries/wine libraries/wineserver both")

    def test_one_loader_without_32_bit(self):
        self.make("libraries/wine", "libraries/wineserver")
        self.assertEqual(self.found(), "libraries/wine libraries/wine libraries/wineserver 64")

    def test_none(self):
        self.assertTrue(self.found().endswith(" 64"))


class Sources(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.etc = pathlib.Path(temporary.name)
        self.parts = self.etc / "apt" / "sources.list.d"
        self.parts.mkdir(parents=True)

    def sources(self):
        """For release "next" on a machine of release "present"."""
        return shell("elsewhere.sh", 'machine_sources "$1" | release_sources next present', self.etc).splitlines()

    def test_one_line_each(self):
        (self.etc / "apt" / "sources.list").write_text("""\
# deb http://none/debian present main
deb http://one/debian present main contrib # as installed
deb-src http://one/debian present main
deb [arch=amd64 signed-by=/k.gpg] https://two/security present-security main
deb http://maker/linux present stable
deb http://three/debian stable-updates contrib main
deb http://one/debian present-backports main
deb http://one/debian older main
""", encoding="utf-8")
        self.assertEqual(self.sources(), ["http://one/debian next", "http://three/debian next-updates",
                                          "https://two/security next-security"])

    def test_stanzas(self):
        (self.parts / "own.sources").write_text("""\
Types: deb deb-src
# the mirror
URIs: http://one/debian
 http://two/debian
Suites: present present-updates
Components: main non-free
Signed-By: /k.gpg

Types: deb
URIs: http://off/debian
Suites: present
Components: main
Enabled: no

Types: deb-src
URIs: http://source/debian
Suites: present
Components: main


Types: deb
URIs: http://maker/linux
Suites: present
Components: stable
""", encoding="utf-8")
        self.assertEqual(self.sources(), ["http://one/debian next", "http://one/debian next-updates",
                                          "http://two/debian next", "http://two/debian next-updates"])

    def test_a_list_of_mirrors(self):
        mirrors = self.etc / "mirrors.list"
        mirrors.write_text("# near\nhttps://near/debian\tpriority:1\nhttps://far/debian\n", encoding="utf-8")
        (self.parts / "cloud.sources").write_text(
            f"Types: deb\nURIs: mirror+file:{mirrors}\nSuites: present\nComponents: main\n", encoding="utf-8")
        self.assertEqual(self.sources(), ["https://near/debian next"])

    def test_another_system(self):
        (self.parts / "other.sources").write_text(
            "Types: deb\nURIs: http://other/\nSuites: noble\nComponents: main universe\n", encoding="utf-8")
        self.assertEqual(self.sources(), [])
