"""The type libraries made once more, later and in another time zone, have the same bytes: the build's own commands."""
import os
import pathlib
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["KANDORA_BUILD"])
LIBRARIES = ("bin/DmsSolution.tlb", "src/interfaces/Kandora.tlb")


class Libraries(unittest.TestCase):
    def test_the_same_bytes_again(self):
        commands = subprocess.run([os.environ["KANDORA_NINJA"], "-C", str(BUILD), "-t", "commands", LIBRARIES[1]],
                                  capture_output=True, check=True).stdout.decode("utf-8")
        with tempfile.TemporaryDirectory() as folder:
            again = pathlib.Path(folder)
            (again / "src" / "interfaces").mkdir(parents=True)
            commands = [line.replace(str(BUILD), folder) for line in commands.splitlines() if "widl" in line]
            self.assertEqual(len(commands), len(LIBRARIES))
            for command in commands:
                subprocess.run(["sh", "-c", command], env=os.environ | {"TZ": "JST-9"}, check=True)
            for library in LIBRARIES:
                self.assertEqual((again / library).read_bytes(), (BUILD / library).read_bytes(), library)
