"""What the administrator can read afterwards: the component's log, the archive's record of calls, the answers."""
import datetime
import re
import unittest

from workstation import PASSWORD, TOP_FOLDER, USER, ARCHIVE, Workstation, windows_path

FOLDER = f"¶{TOP_FOLDER.replace('/', '¶')}¶Muster AG"
PROBE = "GetEntryId(I2 -1) -> I4 0"


class Records(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workstation = Workstation("records")
        cls.calls = cls.workstation.folder / "Aufrufe.txt"
        cls.workstation.register_archive("--trace", windows_path(cls.calls))
        cls.workstation.run_host(["InitProvider"])

    @classmethod
    def tearDownClass(cls):
        cls.workstation.stop_archive()

    def setUp(self):
        for log in self.workstation.install.glob("*.log"):
            log.unlink()

    def switch_tracing(self, state):
        self.workstation.settings["Debug"]["Test"] = state
        self.workstation.write_settings()

    def test_every_request_is_in_the_log_when_tracing_is_on(self):
        self.switch_tracing("True")
        begin = datetime.datetime.now().replace(microsecond=0)
        report = self.workstation.run_host([
            "FibuVersion 7.2", "InitProvider Start", "StartProvider", "FibuVersion 7.3", "CreateDocID",
            "GetOpenDocInfo", "GetVirtualPrinterName", "SaveDocument booking 26101 1",
            "SaveDocument booking 1004 1", "DocumentChanged booking 26101 1", "ShowDocument booking 26101 1",
            "SetDocumentStatus booking 26101 1", "SavePendingDocument booking 26101 1",
            "DeleteDocument booking 26101 1", "ShowDocument 4711", 'SaveDocument "a [b]" 1001 x y'])
        end = datetime.datetime.now()
        client = "C:\\Daten\\Mandanten\\Muster AG"
        nobody = f"[/, {client}, , , ]"
        voucher = f"[26101/1, {client}, 26101, 1, MU26000004]"
        document = "20260102080028"
        self.assertEqual(self.workstation.log_lines(), [
            "DMSProvider_FibuVersion  [7.2]",
            "DMSProvider_InitProvider  [Start]",
            "DMSProvider_StartProvider  []",
            "DMSProvider_FibuVersion  [7.3]",
            f"DMSProvider_CreateDocID  [{nobody}]",
            "DMSProvider_GetOpenDocInfo[Kein Parameter]",
            "DMSProvider_GetVirtualPrinterName[Kein Parameter]",
            f"DMSProvider_SaveDocument  [{document}]  [{voucher}]",
            f"DMSProvider_SaveDocument  [20260128081757]  [[1004/1, {client}, 1004, 1, ]]",
            f"DMSProvider_DocumentChanged  [{document}]  [{voucher}]",
            f"DMSProvider_ShowDocument  [{document}]  [{voucher}]",
            f"DMSProvider_SetDocumentStatus  [{document}]  [{voucher}]",
            f"DMSProvider_SavePendingDocument  [{voucher}]  [{document}]  [{voucher}]",
            f"DMSProvider_DeleteDocument  [{document}]  [{voucher}]",
            f"DMSProvider_ShowDocument  [4711]  [{nobody}]",
            f"DMSProvider_SaveDocument  [a [b]]  [[1001/x, {client}, 1001, x, y]]",
        ])
        answers = {request["request"]: request["result"] for request in report.requests[:7]}
        self.assertEqual(answers["InitProvider"], None)
        created = datetime.datetime.strptime(answers["CreateDocID"], "%Y%m%d%H%M%S")
        self.assertTrue(begin <= created <= end, created)
        self.assertEqual(answers["GetOpenDocInfo"][:3], ["OpenDocInfo0", "OpenDocInfo1", "OpenDocInfo2"])
        self.assertRegex(answers["GetOpenDocInfo"][3], r"^[0-5]\d[0-5]\d$")
        self.assertEqual(answers["GetVirtualPrinterName"], "ELO Drucker")
        self.assertEqual([text for _, text in report.boxes()], [
            "Das Dokument konnte nicht im Archiv gefunden werden",
            "[5010] Belegtyp konnte nicht gelesen werden | ON LINE 0 | "
            "CALLSTACK: ELODMS.AddDokument <- Kandora.SaveDocument"])

    def test_the_start_alone_is_in_the_log_when_tracing_is_off(self):
        self.switch_tracing("False")
        self.workstation.run_host(["InitProvider", "InitProvider", "FibuVersion 7.2", "CreateDocID",
                                   "SaveDocument booking 26101 1", "SetDocumentStatus booking 26101 1"])
        self.assertEqual(self.workstation.log_lines(), ["DMSProvider_InitProvider  []"])

    def test_a_log_that_a_second_start_begins_to_trace(self):
        self.switch_tracing("True")
        self.workstation.run_host(["CreateDocID", "InitProvider", "CreateDocID"])
        self.assertEqual([line.split()[0] for line in self.workstation.log_lines()],
                         ["DMSProvider_InitProvider", "DMSProvider_CreateDocID"])

    def test_the_archive_is_asked_as_agreed(self):
        """Session, checks and one creditor's voucher, call by call with the types of the arguments."""
        self.switch_tracing("False")
        self.workstation.stop_archive()
        self.calls.unlink()
        self.workstation.run_host(["InitProvider", "SaveDocument booking 26621 1"])
        self.workstation.stop_archive()
        folders = {path.rsplit("/", 1)[1]: self.folder_id(path) for path in self.workstation.folders()}

        def look_up(name):
            return ['LookupDelimiter() -> BSTR "¶"', PROBE,
                    f'LookupIndex(BSTR& "{FOLDER}¶{name}") -> I4 {folders[name]}', PROBE]

        def attribute(line, text):
            return [f'setobjAttrib(I2& {line}, BSTR "{text}") -> I4 1', PROBE]

        client_settings = [call for name in ("Buchungen", "Auswertungen", "Debi", "Kredi") for call in look_up(name)]
        entry = self.workstation.entries()[-1]
        title = "Versicherungsbroker Nüssli AG, Betriebshaftpflicht & Sachversicherung, Jahresprämie"
        expected = [
            f'Login(BSTR& "{USER}", BSTR& "{PASSWORD}", BSTR& "{ARCHIVE}") -> I4 0',
            'EloWindow(BSTR "MINIMIZE") -> I4 1',
            "SelectView(I2 3) -> I4 1", PROBE,
            *[call for mask in (71, 82, 93, 64, 55) for call in (f"ReadObjMask(I4& {mask}) -> I4 1", PROBE)],
            *client_settings,
            *client_settings,
            "PrepareObjectEx(I4 0, I2 254, I4& 55) -> I4 1", PROBE,
            "ObjMaskNo = I4 55", PROBE,
            f'ObjShort = BSTR "{title}"', PROBE,
            *attribute(101, entry["felder"]["101"]), *attribute(102, "26621"), *attribute(103, "1"),
            *attribute(104, "Pendent"), *attribute(105, entry["felder"]["105"]), *attribute(106, "15.01.2026"),
            *attribute(107, "3124.6"), *attribute(108, "15.01.2026"), *attribute(109, "K-2026-V01"),
            *attribute(110, "1012"), *attribute(111, "6012"), *attribute(112, "Versicherungsbroker Nüssli AG"),
            *attribute(113, "8600 Dübendorf"),
            f'AddPostboxFile(BSTR& "{windows_path(self.workstation.placeholder)}") -> I4 1'.replace("\\", "\\\\"), PROBE,
            *look_up("Kredi"),
            f'MoveToArchive(BSTR "#{folders["Kredi"]}") -> I4 1',
            f"GetEntryId(I2 -1) -> I4 {entry['id']}",
            f"GetEntryId(I2 -2) -> I4 {entry['id']}",
            'Login(BSTR& "LOGOUT", BSTR& "", BSTR& "") -> I4 0',
            'EloWindow(BSTR "MINIMIZE") -> I4 1',
        ]
        self.assertEqual(self.calls.read_text(encoding="utf-8").splitlines(), expected)

    def folder_id(self, path):
        file = next(file for file in (self.workstation.store / "Ordner").rglob("ordner.json")
                    if self.workstation.archive_path(file.parent) == path)
        return int(re.search(r'"id": *(\d+)', file.read_text(encoding="utf-8"))[1])
