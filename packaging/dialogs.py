"""What a person sees who double-clicks a package: its windows as rows of the installer's tables.

Measures are dialog units. A person goes through licence and folder to the end; on a machine that has the product already he
chooses between repairing and removing. Without a window (/qn, /qb) nothing of this is used.
"""
WIDTH, HEIGHT = 370, 270
BUTTON_WIDTH, BUTTON_HEIGHT, BUTTON_TOP = 62, 17, 243
MARGIN = 20

# Attributes of windows and of what is in them.
VISIBLE, MODAL, MINIMIZE, ERROR, TRACK_DISK_SPACE = 0x1, 0x2, 0x4, 0x10000, 0x20
SHOWN, ENABLED, INDIRECT = 0x1, 0x2, 0x8
TRANSPARENT, NO_PREFIX = 0x10000, 0x20000
PROGRESS_IN_PARTS = 0x10000
FIXED_DISK, REMOVABLE, REMOTE = 0x40000, 0x10000, 0x20000
PATH = SHOWN | ENABLED | INDIRECT

# After the window's own sequence: how it ended.
AT_SUCCESS, AT_CANCEL, AT_ERROR = -1, -2, -3

AGREED, TASK, FOLDER_BEING_CHOSEN = "LIZENZ", "AUFGABE", "WAHLORDNER"

TITLE = "[ProductName] einrichten"
CANCEL, BACK, NEXT = "Abbrechen", "< &Zurück", "&Weiter >"

TEXT_STYLES = (
    ("Normal", "Tahoma", 8, None, None),
    ("Titel", "Tahoma", 9, None, 1),
)

# The events of a button: (event, argument, condition), in their order.
END_DIALOG = "EndDialog"
TO_CANCEL = [("SpawnDialog", "AbbruchDlg", "1")]

UI_TEXTS = (
    ("AbsentPath", None), ("bytes", "Byte"), ("GB", "GB"), ("KB", "KB"), ("MB", "MB"),
    ("TimeRemaining", "Noch etwa {[1] min }[2] s"),
    ("VolumeCostAvailable", "Verfügbar"), ("VolumeCostDifference", "Differenz"), ("VolumeCostRequired", "Benötigt"),
    ("VolumeCostSize", "Grösse"), ("VolumeCostVolume", "Laufwerk"), ("NewFolder", "Neuer Ordner|Neuer Ordner"),
    ("SelAbsentAbsent", None), ("ScriptInProgress", "Angaben werden gesammelt ..."),
)

ACTION_TEXTS = (
    ("CostFinalize", "Platzbedarf wird berechnet", None), ("CostInitialize", "Platzbedarf wird berechnet", None),
    ("CreateFolders", "Ordner werden erstellt", "Ordner: [1]"), ("FileCost", "Platzbedarf wird berechnet", None),
    ("InstallFiles", "Dateien werden kopiert", "Datei: [1], Ordner: [9], Grösse: [6]"),
    ("InstallValidate", "Die Installation wird geprüft", None),
    ("ProcessComponents", "Die Einträge von Windows werden nachgeführt", None),
    ("PublishFeatures", "Das Programm wird eingetragen", None), ("PublishProduct", "Das Programm wird eingetragen", None),
    ("RegisterProduct", "Das Programm wird eingetragen", None), ("RegisterUser", "Der Benutzer wird eingetragen", None),
    ("RemoveExistingProducts", "Die bisherige Version wird entfernt", "Programm: [1]"),
    ("RemoveFiles", "Dateien werden entfernt", "Datei: [1], Ordner: [9]"),
    ("RemoveFolders", "Ordner werden entfernt", "Ordner: [1]"),
    ("RemoveRegistryValues", "Einträge der Registrierung werden entfernt", "Schlüssel: [1], Name: [2]"),
    ("Rollback", "Was begonnen war, wird zurückgenommen", "[1]"),
    ("RollbackCleanup", "Sicherungen werden entfernt", "Datei: [1]"),
    ("UnpublishFeatures", "Das Programm wird ausgetragen", None),
    ("WriteRegistryValues", "Einträge der Registrierung werden geschrieben", "Schlüssel: [1], Name: [2], Wert: [3]"),
)

# What the installer says in windows of its own, by its numbers; those that it does not find here it says in its own words.
ERRORS = (
    (0, "{{Schwerer Fehler: }}"), (1, "{{Fehler [1]. }}"), (2, "Warnung [1]. "), (4, "Hinweis [1]. "),
    (5, "Interner Fehler [1]. [2]{, [3]}{, [4]}"), (6, "Kein Platz auf dem Laufwerk: "),
    (7, "Schritt [Time]: [1]. [2]"), (8, "{[2]}{, [3]}{, [4]}"), (9, "Meldung, Art: [1], Angabe: [2]"),
    (1301, "Die Datei [2] kann nicht erstellt werden, weil ein Ordner so heisst. Brechen Sie ab, und wählen Sie einen anderen "
           "Ordner."),
    (1303, "In den Ordner [2] darf nicht geschrieben werden. Melden Sie sich als Administrator an."),
    (1304, "Die Datei [2] kann nicht geschrieben werden. Prüfen Sie die Rechte im Ordner."),
    (1305, "Die Datei [2] kann nicht gelesen werden. {{ Systemfehler [3].}}"),
    (1306, "Ein anderes Programm hält die Datei [2] fest. Schliessen Sie es, und wählen Sie «Wiederholen»."),
    (1309, "Die Datei [3] kann nicht geöffnet werden. {{ Systemfehler [2].}}"),
    (1310, "Die Datei [3] kann nicht geschrieben werden. {{ Systemfehler [2].}} Prüfen Sie die Rechte im Ordner."),
    (1313, "Das Laufwerk [2] ist nicht bereit."), (1314, "Der Ordner [2] wird nicht gefunden."),
    (1321, "Die Datei [2] darf nicht geändert werden."), (1324, "Der Name [2] enthält ein ungültiges Zeichen."),
    (1335, "Das Paket ist beschädigt: [2]. Laden Sie es noch einmal herunter."),
    (1402, "Der Schlüssel [2] der Registrierung kann nicht geöffnet werden. {{ Systemfehler [3].}}"),
    (1403, "Der Wert [2] unter [3] kann nicht entfernt werden. {{ Systemfehler [4].}}"),
    (1404, "Der Schlüssel [2] der Registrierung kann nicht entfernt werden. {{ Systemfehler [3].}}"),
    (1406, "Der Wert [2] unter [3] kann nicht geschrieben werden. {{ Systemfehler [4].}}"),
    (1500, "Eine andere Installation ist im Gang. Warten Sie, bis sie zu Ende ist."),
    (1601, "Kein Platz auf dem Laufwerk: [2]. Benötigt: [3] KB, verfügbar: [4] KB."),
    (1602, "Wollen Sie wirklich abbrechen?"),
    (1603, "Die Datei [2] ist in Benutzung{ durch [3], Nummer [4], Fenster «[5]»}. Schliessen Sie das Programm, und wählen Sie "
           "«Wiederholen»."),
    (1605, "Auf dem Laufwerk [2] ist zu wenig Platz. Benötigt: [3] KB, verfügbar: [4] KB."),
    (1609, "Eine Berechtigung konnte nicht gesetzt werden: [2] ist kein Benutzer und keine Gruppe. {{ Systemfehler [3].}}"),
    (1704, "Eine andere Installation wurde unterbrochen. Soll sie jetzt zurückgenommen werden?"),
    (1711, "Beim Schreiben der Angaben zur Installation ist ein Fehler aufgetreten."),
    (1715, "[2] ist installiert."), (1716, "[2] ist eingestellt."), (1717, "[2] ist entfernt."),
    (1720, "Ein Schritt dieses Pakets ist gescheitert. {{Schritt: [2], Fehler [3], [4]: [5]}}"),
    (1730, "Um dieses Programm zu entfernen, müssen Sie Administrator sein."),
    (1801, "Der Pfad [2] ist ungültig."),
    (1925, "Ihnen fehlen die Rechte, dieses Programm für alle Benutzer zu installieren. Melden Sie sich als Administrator an."),
    (1926, "Die Rechte von [2] konnten nicht gesetzt werden. {{ Systemfehler [3].}}"),
)


class Window:
    """A window that is being put together. `add` takes rows, as a package does."""

    def __init__(self, add, name, first, default, cancel, title=TITLE, width=WIDTH, height=HEIGHT,
                 attributes=VISIBLE | MODAL | MINIMIZE):
        self.add, self.name, self.width = add, name, width
        self.tab_order = []
        self.rows = []
        add("Dialog", name, 50, 50, width, height, attributes, title, first, default, cancel)

    def put(self, control, kind, x, y, width, height, attributes=SHOWN | ENABLED, property_name=None, text=None, tab=False):
        self.rows.append([self.name, control, kind, x, y, width, height, attributes, property_name, text])
        if tab:
            self.tab_order.append(control)

    def label(self, control, text, y, height, x=MARGIN, width=None, style=None, attributes=SHOWN | ENABLED | TRANSPARENT):
        self.put(control, "Text", x, y, width or self.width - x - MARGIN, height, attributes,
                 text=f"{{\\{style}}}{text}" if style else text)

    def line(self, control, y):
        self.put(control, "Line", 0, y, self.width, 0)

    def heading(self, title, text):
        self.label("Titel", title, 12, 14, style="Titel")
        self.label("Erklaerung", text, 28, 20)
        self.line("LinieOben", 52)
        self.line("LinieUnten", BUTTON_TOP - 9)

    def button(self, control, text, x, events, y=BUTTON_TOP, attributes=SHOWN | ENABLED, width=BUTTON_WIDTH):
        self.put(control, "PushButton", x, y, width, BUTTON_HEIGHT, attributes, text=text, tab=True)
        for place, (event, argument, condition) in enumerate(events, start=1):
            self.add("ControlEvent", self.name, control, event, argument, condition, place)

    def buttons(self, *buttons):
        """(control, text, events), the last one at the right margin."""
        x = self.width - 8 - BUTTON_WIDTH
        for place, (control, text, events) in reversed(list(enumerate(buttons))):
            self.button(control, text, x, events)
            x -= BUTTON_WIDTH + (8 if place == len(buttons) - 1 else 0)
        # Tab goes from left to right.
        count = len(buttons)
        self.tab_order[-count:] = reversed(self.tab_order[-count:])

    def condition(self, control, action, condition):
        self.add("ControlCondition", self.name, control, action, condition)

    def shows(self, control, event, attribute):
        self.add("EventMapping", self.name, control, event, attribute)

    def done(self):
        """The Tab key goes round through what takes the keyboard."""
        order = self.tab_order
        following = dict(zip(order, order[1:] + order[:1])) if len(order) > 1 else {}
        for row in self.rows:
            self.add("Control", *row, following.get(row[1]), None)


def licence(add, text):
    window = Window(add, "LizenzDlg", "Zustimmung", "Weiter", "Abbrechen")
    window.heading("Lizenz", "Bitte lesen Sie die Lizenz von [ProductName].")
    window.put("Lizenz", "ScrollableText", MARGIN, 60, WIDTH - 2 * MARGIN, 140, text=text, tab=True)
    window.put("Zustimmung", "CheckBox", MARGIN, 208, WIDTH - 2 * MARGIN, 18, property_name=AGREED,
               text="Ich nehme die &Bedingungen der Lizenz an", tab=True)
    window.buttons(("Weiter", NEXT, [("NewDialog", "OrdnerDlg", "1")]), ("Abbrechen", CANCEL, TO_CANCEL))
    window.condition("Weiter", "Disable", f"NOT {AGREED}")
    window.condition("Weiter", "Enable", AGREED)
    window.done()


def folder(add):
    window = Window(add, "OrdnerDlg", "Installieren", "Installieren", "Abbrechen",
                    attributes=VISIBLE | MODAL | MINIMIZE | TRACK_DISK_SPACE)
    window.heading("Ordner", "[ProductName] wird in diesen Ordner installiert.")
    window.label("OrdnerText", "&Ordner:", 68, 12)
    window.put("Ordner", "PathEdit", MARGIN, 82, WIDTH - 2 * MARGIN, 18, PATH, FOLDER_BEING_CHOSEN, tab=True)
    window.button("Durchsuchen", "&Durchsuchen ...", MARGIN, [("SpawnDialog", "OrdnerwahlDlg", "1")], y=106, width=80)
    window.label("Hinweis", "Schliessen Sie die Finanzbuchhaltung, bevor Sie auf «Installieren» klicken. Danach füllen Sie in "
                 "diesem Ordner die Datei Kandora.ini aus; wie, steht im Handbuch daneben.", 140, 40)
    window.buttons(
        ("Zurueck", BACK, [("NewDialog", "LizenzDlg", "1")]),
        ("Installieren", "&Installieren", [("SetTargetPath", f"[{FOLDER_BEING_CHOSEN}]", "1"),
                                           ("SpawnDialog", "PlatzDlg", "OutOfDiskSpace = 1"),
                                           (END_DIALOG, "Return", "OutOfDiskSpace <> 1")]),
        ("Abbrechen", CANCEL, TO_CANCEL))
    window.done()


def folder_choice(add):
    window = Window(add, "OrdnerwahlDlg", "Ordner", "Ok", "Abbrechen")
    window.heading("Ordner wählen", "Wählen Sie den Ordner für [ProductName].")
    window.put("Laufwerk", "DirectoryCombo", MARGIN, 60, 240, 80,
               PATH | FIXED_DISK | REMOVABLE | REMOTE, FOLDER_BEING_CHOSEN, tab=True)
    window.button("Hinauf", "&Hinauf", 266, [("DirectoryListUp", "0", "1")], y=59, width=38)
    window.button("Neu", "&Neu", 308, [("DirectoryListNew", "0", "1")], y=59, width=42)
    window.put("Liste", "DirectoryList", MARGIN, 80, WIDTH - 2 * MARGIN, 116, PATH, FOLDER_BEING_CHOSEN, tab=True)
    window.put("Ordner", "PathEdit", MARGIN, 204, WIDTH - 2 * MARGIN, 18, PATH, FOLDER_BEING_CHOSEN, tab=True)
    window.buttons(("Ok", "OK", [("SetTargetPath", f"[{FOLDER_BEING_CHOSEN}]", "1"), (END_DIALOG, "Return", "1")]),
                   ("Abbrechen", CANCEL, [("Reset", "0", "1"), (END_DIALOG, "Return", "1")]))
    window.done()


def maintenance(add):
    window = Window(add, "WartungDlg", "Aufgabe", "Weiter", "Abbrechen")
    window.heading("[ProductName] ist installiert", "Was wollen Sie tun?")
    window.put("Aufgabe", "RadioButtonGroup", MARGIN, 70, WIDTH - 2 * MARGIN, 60, property_name=TASK, tab=True)
    for place, (value, text) in enumerate((("Reparieren", "&Reparieren: fehlende Dateien und Einträge kommen zurück"),
                                           ("Entfernen", "&Entfernen: die Einstellungen und Protokolle bleiben")), start=1):
        add("RadioButton", TASK, place, value, 0, (place - 1) * 22, WIDTH - 2 * MARGIN - 4, 18, text, None)
    window.buttons(("Weiter", "&Weiter", [("Reinstall", "ALL", f'{TASK} = "Reparieren"'),
                                          ("ReinstallMode", "omus", f'{TASK} = "Reparieren"'),
                                          ("Remove", "ALL", f'{TASK} = "Entfernen"'), (END_DIALOG, "Return", "1")]),
                   ("Abbrechen", CANCEL, TO_CANCEL))
    window.done()


def progress(add):
    window = Window(add, "FortschrittDlg", "Abbrechen", "Abbrechen", "Abbrechen", attributes=VISIBLE | MINIMIZE)
    window.heading("[ProductName]", "Bitte warten Sie einen Augenblick.")
    window.label("Schritt", "", 80, 14)
    window.shows("Schritt", "ActionText", "Text")
    window.put("Balken", "ProgressBar", MARGIN, 100, WIDTH - 2 * MARGIN, 12, SHOWN | PROGRESS_IN_PARTS)
    window.shows("Balken", "SetProgress", "Progress")
    window.label("Einzelheit", "", 120, 28)
    window.shows("Einzelheit", "ActionData", "Text")
    window.buttons(("Abbrechen", CANCEL, TO_CANCEL))
    window.done()


def end(add, name, title, text):
    window = Window(add, name, "Fertig", "Fertig", "Fertig")
    window.label("Titel", title, 40, 14, style="Titel")
    window.label("Text", text, 64, 120)
    window.line("LinieUnten", BUTTON_TOP - 9)
    window.buttons(("Fertig", "&Fertig", [(END_DIALOG, "Exit" if name != "EndeDlg" else "Return", "1")]))
    window.done()


def small(add, name, text, buttons, width=260, height=85, attributes=VISIBLE | MODAL, control="Text"):
    """A question or a message; `buttons` are (control, text, event's argument)."""
    last = buttons[-1][0]
    window = Window(add, name, last, last, last, width=width, height=height, attributes=attributes)
    window.label(control, text, 12, height - 48)
    step = BUTTON_WIDTH + 6
    x = (width - step * len(buttons) + 6) // 2
    for place, (button, caption, argument) in enumerate(buttons):
        window.button(button, caption, x + place * step, [(END_DIALOG, argument, "1")], y=height - 28)
    window.done()


def error(add):
    """The installer shows those of the buttons that fit the error, and moves them to their places."""
    window = Window(add, "FehlerDlg", "ErrorText", None, None, width=300, height=110, attributes=VISIBLE | MODAL | ERROR)
    window.label("ErrorText", "", 12, 60, attributes=SHOWN | ENABLED | TRANSPARENT | NO_PREFIX)
    for control, text, argument in (
            ("A", "Abbrechen", "ErrorAbort"), ("C", "Abbrechen", "ErrorCancel"), ("I", "&Ignorieren", "ErrorIgnore"),
            ("N", "&Nein", "ErrorNo"), ("O", "OK", "ErrorOk"), ("R", "&Wiederholen", "ErrorRetry"), ("Y", "&Ja", "ErrorYes")):
        window.button(control, text, 119, [(END_DIALOG, argument, "1")], y=82)
    window.done()


def files_in_use(add):
    window = Window(add, "FilesInUse", "Wiederholen", "Wiederholen", "Abbrechen")
    window.heading("Dateien sind in Benutzung", "Diese Programme verwenden Dateien von [ProductName].")
    window.label("Text", "Schliessen Sie die Programme, und klicken Sie auf «Wiederholen». Mit «Ignorieren» gelten die neuen "
                 "Dateien erst nach einem Neustart des Computers.", 60, 30)
    window.put("Liste", "ListBox", MARGIN, 94, WIDTH - 2 * MARGIN, 130, SHOWN | ENABLED, "FileInUseProcess", tab=True)
    window.buttons(("Abbrechen", CANCEL, [(END_DIALOG, "Exit", "1")]),
                   ("Ignorieren", "&Ignorieren", [(END_DIALOG, "Ignore", "1")]),
                   ("Wiederholen", "&Wiederholen", [(END_DIALOG, "Retry", "1")]))
    window.done()


def disk_space(add):
    window = Window(add, "PlatzDlg", "Ok", "Ok", "Ok")
    window.heading("Zu wenig Platz", "Auf dem Laufwerk ist zu wenig Platz für [ProductName].")
    window.put("Laufwerke", "VolumeCostList", MARGIN, 70, WIDTH - 2 * MARGIN, 120,
               SHOWN | ENABLED | FIXED_DISK | REMOVABLE | REMOTE, text="{120}{70}{70}{70}{70}")
    window.buttons(("Ok", "OK", [(END_DIALOG, "Return", "1")]))
    window.done()


def rich_text(text):
    """Plain text as the format that a scrolling control reads; a paragraph is what stands between empty lines."""
    paragraphs = [" ".join(part.split()) for part in text.strip().split("\n\n")]
    escaped = "\\par\\par ".join(part.replace("\\", "\\\\").replace("{", "\\{").replace("}", "\\}") for part in paragraphs)
    body = "".join(c if c.isascii() else f"\\'{c.encode('cp1252')[0]:02x}" for c in escaped)
    return "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0 Tahoma;}}\\fs16 " + body + "}"


def add_dialogs(package, licence_text):
    """All windows, their texts and their places in the sequences; `licence_text` is plain."""
    add = package.add
    for table, rows in (("TextStyle", TEXT_STYLES), ("UIText", UI_TEXTS), ("ActionText", ACTION_TEXTS), ("Error", ERRORS)):
        for row in rows:
            add(table, *row)
    for name, value in (("DefaultUIFont", "Normal"), ("ErrorDialog", "FehlerDlg"), (TASK, "Reparieren"),
                        (FOLDER_BEING_CHOSEN, "INSTALLDIR")):
        add("Property", name, value)
    licence(add, rich_text(licence_text))
    folder(add)
    folder_choice(add)
    maintenance(add)
    progress(add)
    end(add, "EndeDlg", "Fertig", "[ProductName] ist so eingerichtet, wie Sie es verlangt haben.\r\n\r\nNach dem Installieren: "
        "Füllen Sie Kandora.ini aus, und prüfen Sie die Installation mit Werkzeuge\\kandora-check.exe. Wie das geht, steht in "
        "Handbuch.html; beides liegt im gewählten Ordner.")
    end(add, "AbgebrochenDlg", "Abgebrochen", "Sie haben abgebrochen. An diesem Computer wurde nichts geändert.")
    end(add, "GescheitertDlg", "Nicht gelungen", "Die Installation ist nicht gelungen; was begonnen war, wurde "
        "zurückgenommen.\r\n\r\nEin Protokoll mit dem Grund entsteht mit: msiexec /i PAKET /l*v Protokoll.txt")
    small(add, "AbbruchDlg", "Wollen Sie wirklich abbrechen?", (("Ja", "&Ja", "Exit"), ("Nein", "&Nein", "Return")))
    error(add)
    files_in_use(add)
    disk_space(add)
    for table in ("InstallUISequence", "AdminUISequence"):
        for name, place in (("EndeDlg", AT_SUCCESS), ("AbgebrochenDlg", AT_CANCEL), ("GescheitertDlg", AT_ERROR)):
            add(table, name, None, place)
    for action in (("LizenzDlg", "NOT Installed", 1230), ("WartungDlg", "Installed AND NOT RESUME AND NOT Preselected", 1250),
                   ("FortschrittDlg", None, 1280)):
        add("InstallUISequence", *action)
