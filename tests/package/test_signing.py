"""Signatures: made with a chain of certificates of our own, verified by the same tool, and refused when they do not fit."""
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest
import zipfile

import signing
import sources

BIN = pathlib.Path(os.environ["KANDORA_BIN"])
ARCHITECTURE = os.environ["KANDORA_ARCHITECTURE"]
VERSION = os.environ["KANDORA_VERSION"]
PASSWORD = "Passwort äöü 'mit' Zeichen"


def openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, capture_output=True)


def make_certificates(folder):
    """An authority, and a certificate for code that it has signed, in a file with a password."""
    (folder / "ca.cnf").write_text("[ca]\nbasicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign\n"
                                   "[code]\nbasicConstraints=CA:FALSE\nkeyUsage=critical,digitalSignature\n"
                                   "extendedKeyUsage=codeSigning\n[req]\ndistinguished_name=dn\n[dn]\n", encoding="ascii")
    openssl(folder, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "ca.key", "-out", "ca.pem", "-days", "30",
            "-subj", "/CN=Pruefstelle", "-config", "ca.cnf", "-extensions", "ca")
    openssl(folder, "req", "-newkey", "rsa:2048", "-nodes", "-keyout", "code.key", "-out", "code.csr", "-subj", "/CN=Kandora",
            "-config", "ca.cnf")
    openssl(folder, "x509", "-req", "-in", "code.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial", "-days", "30",
            "-out", "code.pem", "-extfile", "ca.cnf", "-extensions", "code")
    (folder / "password.txt").write_text(PASSWORD + "\n", encoding="utf-8")
    openssl(folder, "pkcs12", "-export", "-inkey", "code.key", "-in", "code.pem", "-certfile", "ca.pem", "-out", "code.p12",
            "-passout", "file:password.txt")


class Signing(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        make_certificates(cls.folder)
        cls.environment = {"KANDORA_SIGN_PKCS12": str(cls.folder / "code.p12"),
                           "KANDORA_SIGN_PASSWORD_FILE": str(cls.folder / "password.txt")}
        cls.signer = signing.signer_from(cls.environment)

    def make(self, output, **environment):
        return subprocess.run(
            [sys.executable, str(sources.ROOT / "packaging" / "make_packages.py"), str(BIN.parent), str(output)],
            capture_output=True, text=True, env=os.environ | environment, check=False)

    def test_every_program_and_the_package_are_signed(self):
        output = self.folder / "signed"
        made = self.make(output, **self.environment)
        self.assertEqual(made.returncode, 0, made.stderr)
        self.assertIn("Signed and verified", made.stdout)
        package = output / f"Kandora-{VERSION}-{ARCHITECTURE}.msi"
        self.signer.verify(package)
        unpacked = self.folder / "unpacked"
        subprocess.run(["msiextract", "-C", str(unpacked), str(package)], check=True, stdout=subprocess.DEVNULL)
        with zipfile.ZipFile(package.with_suffix(".zip")) as archive:
            archive.extractall(self.folder / "unzipped")
        programs = [file for top in (unpacked, self.folder / "unzipped") for file in top.rglob("*")
                    if file.suffix in (".dll", ".exe")]
        self.assertEqual(len(programs), 4)
        for program in programs:
            self.signer.verify(program)

    def test_without_a_certificate_nothing_is_signed_and_that_is_said(self):
        self.assertIsNone(signing.signer_from({}))
        made = self.make(self.folder / "plain", KANDORA_SIGN_PKCS12="")
        self.assertIn("Nothing is signed", made.stdout)
        with self.assertRaises(signing.SigningError):
            self.signer.verify(self.folder / "plain" / f"Kandora-{VERSION}-{ARCHITECTURE}.msi")

    def test_what_was_changed_afterwards_is_found(self):
        data = bytearray(self.signer.signed("Kandora.dll", (BIN / "Kandora.dll").read_bytes()))
        data[0x400] ^= 1
        file = self.folder / "Kandora.dll"
        file.write_bytes(data)
        with self.assertRaises(signing.SigningError):
            self.signer.verify(file)

    def test_an_unknown_authority_is_refused(self):
        other = self.folder / "other"
        other.mkdir()
        make_certificates(other)
        stranger = signing.Signer(other / "code.p12", other / "password.txt", None)
        file = self.folder / "stranger.dll"
        file.write_bytes(stranger.signed("Kandora.dll", (BIN / "Kandora.dll").read_bytes()))
        with self.assertRaises(signing.SigningError):
            self.signer.verify(file)

    def test_a_wrong_password_makes_no_package(self):
        wrong = self.folder / "wrong.txt"
        wrong.write_text("falsch\n", encoding="ascii")
        made = self.make(self.folder / "none", **self.environment | {"KANDORA_SIGN_PASSWORD_FILE": str(wrong)})
        self.assertNotEqual(made.returncode, 0)
        self.assertFalse(list((self.folder / "none").glob("*")))
