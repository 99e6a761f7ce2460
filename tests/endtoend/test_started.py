"""The accounting that COM starts for whoever needs its objects."""
import unittest

from workstation import Workstation, run_script, started_hosts, wait_for_started_hosts, windows, windows_path

ROUNDS = 100
# Gives its only object back and asks for a new one in the next moment, as the component does with every request.
ASK_AGAIN = rf"""
For number = 1 To {ROUNDS}
    Set client = CreateObject("FibuNT.Mandant")
    name = client.letztermandant
    Set client = Nothing
Next
WScript.Echo name
"""


class StartedAccounting(unittest.TestCase):
    def test_serves_whoever_asks_again_and_ends_when_nobody_does(self):
        workstation = Workstation("started")
        windows("HostSimulator.exe", "--register", "--client", windows_path(workstation.client))
        file = workstation.folder / "fragen.vbs"
        file.write_text(ASK_AGAIN, encoding="cp1252")
        for _ in range(2):  # the second time it begins anew
            self.assertEqual(started_hosts(), [])
            self.assertEqual(run_script(file), "C:\\Daten\\Mandanten\\Muster AG")
            wait_for_started_hosts()
