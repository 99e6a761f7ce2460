"""Signatures of program files and packages, by osslsigncode.

Three variables of the environment say whether and how:
KANDORA_SIGN_PKCS12            file with key and certificates; without it nothing is signed
KANDORA_SIGN_PASSWORD_FILE     file whose first line is its password; without it there is none
KANDORA_SIGN_TIMESTAMP         address of a time-stamp service; without it a signature ends with its certificate
"""
import dataclasses
import os
import pathlib
import subprocess
import tempfile

NAME = "Kandora"
SYSTEM_AUTHORITIES = pathlib.Path("/etc/ssl/certs/ca-certificates.crt")
SIGNED_ENDINGS = (".dll", ".exe", ".msi")


class SigningError(Exception):
    """A signature that could not be made or does not hold; its text says what the tool said."""


@dataclasses.dataclass(frozen=True)
class Signer:
    """Key and certificates of whoever signs. Makes signatures and verifies each at once."""
    certificate: pathlib.Path
    password_file: pathlib.Path | None
    timestamp: str | None

    def signed(self, name, data):
        """The bytes of a file with its signature."""
        with tempfile.TemporaryDirectory() as folder:
            plain, result = pathlib.Path(folder, "plain-" + name), pathlib.Path(folder, name)
            plain.write_bytes(data)
            self.sign(plain, result)
            return result.read_bytes()

    def sign(self, source, target):
        """Writes the signed `source` to the new file `target` and verifies it."""
        password = ["-readpass", str(self.password_file)] if self.password_file else ["-pass", ""]
        timestamp = ["-ts", self.timestamp] if self.timestamp else []
        _run("osslsigncode", "sign", "-pkcs12", str(self.certificate), *password, "-h", "sha256", "-n", NAME, *timestamp,
             "-in", str(source), "-out", str(target))
        self.verify(target)

    def verify(self, file):
        """Raises SigningError unless the file's signature fits it and leads to a known authority."""
        with tempfile.TemporaryDirectory() as folder:
            authorities = pathlib.Path(folder, "authorities.pem")
            authorities.write_bytes(self._authorities())
            known = ["-CAfile", str(authorities)] + (["-TSA-CAfile", str(authorities)] if self.timestamp else [])
            _run("osslsigncode", "verify", *known, "-in", str(file))

    def _authorities(self):
        """Those of the system, and those that come with the certificate."""
        password = f"file:{self.password_file}" if self.password_file else "pass:"
        own = _run("openssl", "pkcs12", "-in", str(self.certificate), "-passin", password, "-cacerts", "-nokeys")
        return own + (SYSTEM_AUTHORITIES.read_bytes() if SYSTEM_AUTHORITIES.is_file() else b"")


def _run(*command):
    done = subprocess.run(command, capture_output=True, stdin=subprocess.DEVNULL, check=False)
    if done.returncode != 0:
        said = (done.stdout + done.stderr).decode("utf-8", "replace").strip()
        raise SigningError(f"{command[0]} {command[1]} ended with {done.returncode}:\n{said}")
    return done.stdout


def signer_from(environment=os.environ):
    """The signer that the environment names, or None."""
    if not environment.get("KANDORA_SIGN_PKCS12"):
        return None
    password_file = environment.get("KANDORA_SIGN_PASSWORD_FILE")
    return Signer(pathlib.Path(environment["KANDORA_SIGN_PKCS12"]), pathlib.Path(password_file) if password_file else None,
                  environment.get("KANDORA_SIGN_TIMESTAMP") or None)
