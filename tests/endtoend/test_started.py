"""The accounting that COM starts for whoever needs its objects."""
import unittest

from workstation import Workstation, kill, run_script, started_hosts, wait_for_started_hosts, windows, windows_path

# Releases its only object and at once asks for a new one, as the component does with every request.
ASK_AGAIN = r"""
For number = 1 To {rounds}
    Set client = CreateObject("FibuNT.Mandant")
    name = client.letztermandant
    Set client = Nothing
Next
WScript.Echo name
"""


class StartedAccounting(unittest.TestCase):
    def setUp(self):
        self.workstation = Workstation("started")
        self.assertEqual(started_hosts(), [])

    def ask(self, rounds, linger):
        """Asks the accounting, which is to stay for so many seconds."""
        windows("HostSimulator.exe", "--register", "--client", windows_path(self.workstation.client), "--linger", linger)
        file = self.workstation.folder / "fragen.vbs"
        file.write_text(ASK_AGAIN.format(rounds=rounds), encoding="cp1252")
        self.assertEqual(run_script(file), "C:\\Daten\\Mandanten\\Muster AG")

    def test_serves_whoever_asks_again(self):
        # Longer than any machine pauses between two rounds.
        self.ask(rounds=100, linger=3600)
        started = started_hosts()
        self.assertEqual(len(started), 1)
        self.ask(rounds=1, linger=3600)
        self.assertEqual(started_hosts(), started)
        kill(started)

    def test_ends_when_nobody_asks(self):
        for _ in range(2):  # the second time it begins anew
            self.ask(rounds=1, linger=1)
            wait_for_started_hosts()
