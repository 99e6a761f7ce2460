// A late-bound client that uses every member of every public class; see Course.cpp, whose lines these must be.
// A script error would end the script silently, so the last line says that it got to its end.
// Arguments: the document to file, the protocol to write, the path of a folder with an umlaut, the archive's separator.
var document = WScript.Arguments.Item(0);
var protocol = new ActiveXObject("Scripting.FileSystemObject").CreateTextFile(WScript.Arguments.Item(1), true, true);
var provider, archive, older, accounting, record, fields, number, index, id, path;
var general, debtors, case1, unlinked, mailing;

// The value with its type, as far as this language tells them apart.
function shown(value) {
    switch (typeof value) {
    case "undefined":
        return "EMPTY";
    case "number":
        return "I4 " + value;
    case "string":
        return "BSTR " + value;
    case "boolean":
        return value ? "BOOL True" : "BOOL False";
    case "object":
        return value === null ? "NOTHING" : "DISPATCH";
    default:
        return typeof value;
    }
}

function say(line) {
    protocol.WriteLine(line);
}

function tell(member, value) {
    say(member + " = " + shown(value));
}

function tellFailure(member, call) {
    try {
        call();
        say(member + " succeeds");
    } catch (error) {
        say(member + " fails: " + (error.number & 0xFFFF) + " [" + error.description + "]");
    }
}

// For answers that not every engine of this language can hold: arrays and dates.
function callOnly(member, call) {
    try {
        call();
    } catch (error) {
        record = error;
    }
    say(member + " is called");
}

// An array as the host passes it; this language's own arrays are objects.
function arrayOf() {
    var dictionary = new ActiveXObject("Scripting.Dictionary"), position;
    for (position = 0; position < arguments.length; position++) {
        dictionary.Add(position, arguments[position]);
    }
    return dictionary.Items();
}

// A client whose archive is switched off.
provider = new ActiveXObject("Kandora.ELOProvider");
say("new ELOProvider");
tell("ELOProvider.bRunning", provider.bRunning);
provider.FibuVersion("7.2");
tell("ELOProvider.FibuVersion", undefined);
tell("ELOProvider.CreateDocID", provider.CreateDocID(""));
tell("ELOProvider.GetOpenDocInfo", provider.GetOpenDocInfo());
tell("ELOProvider.InitProvider", provider.InitProvider(undefined));
tell("ELOProvider.bRunning", provider.bRunning);
provider.bRunning = false;
say("ELOProvider.bRunning := BOOL False");
tell("ELOProvider.bRunning", provider.bRunning);
provider.bRunning = true;
say("ELOProvider.bRunning := BOOL True");
tell("ELOProvider.GetVirtualPrinterName", provider.GetVirtualPrinterName());
provider.StartProvider(undefined);
tell("ELOProvider.StartProvider", undefined);

// It is set up.
accounting = new ActiveXObject("Kandora.SOKInterface");
say("new SOKInterface");
tell("SOKInterface.EinstellungenLesen", accounting.EinstellungenLesen());
tell("SOKInterface.oSesamFibu", accounting.oSesamFibu);
tell("  IniLesen", accounting.oSesamFibu.IniLesen(600, 100));
tell("SOKInterface.EinstellungenSchreiben", accounting.EinstellungenSchreiben());
tell("SOKInterface.oSesamFibu", accounting.oSesamFibu);
tell("  IniLesen", accounting.oSesamFibu.IniLesen(600, 109));
tell("SOKInterface.EinstellungenLesen", accounting.EinstellungenLesen());
tell("SOKInterface.oSesamDebi", accounting.oSesamDebi);
tell("SOKInterface.oSesamKredi", accounting.oSesamKredi);
number = "1001";
index = "1";
tell("SOKInterface.GetBuchungsType", accounting.GetBuchungsType(number, index));
accounting.GetBelegDaten(number, index);
tell("SOKInterface.GetBelegDaten", undefined);
number = 2001;
index = 1;
tell("SOKInterface.GetBuchungsType", accounting.GetBuchungsType(number, index));
// Arguments that are only read keep their type, too.
accounting.GetDebiDaten(number, index);
tell("SOKInterface.GetDebiDaten", undefined);
tellFailure("SOKInterface.GetBelegDaten", function () {
    accounting.GetBelegDaten(number, index);
});
tellFailure("SOKInterface.GetBuchungsType", function () {
    index = accounting.GetBuchungsType("4711", "1");
});

// The archive: session, folders, masks.
archive = new ActiveXObject("Kandora.ELODMS");
say("new ELODMS");
tell("ELODMS.CheckLogin", archive.CheckLogin());
tell("ELODMS.oElo", archive.oElo);
tell("  LookupDelimiter", archive.oElo.LookupDelimiter());
archive.ELOSichtbar();
tell("ELODMS.ELOSichtbar", undefined);
number = 2;
tell("ELODMS.CheckMaskeVorhanden", archive.CheckMaskeVorhanden(number));
tell("ELODMS.CheckMaskeVorhanden", archive.CheckMaskeVorhanden(77));
tell("ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden("/Buchhaltung/Muster AG/Kredi"));
path = "/Ablage/2004";
tell("ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden(path));
path = "  Ablage/2004/5/17/Fall 1 ";
tell("ELODMS.PFadErstellen", archive.PFadErstellen(path));
path = WScript.Arguments.Item(2);
index = path;
tell("ELODMS.PFadErstellen", archive.PFadErstellen(path));
path = "Wiederanschlusskontrolle/MassenversaendeZA";
tell("ELODMS.PFadErstellen", archive.PFadErstellen(path));
tell("ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden("/Ablage/2004"));

// Vouchers.
number = 1001;
general = archive.AddDokument(document, "MU1", number, 1, "Erfasst", "20260105080001");
tell("ELODMS.AddDokument", general);
debtors = archive.AddDokument(document, "MU2", "2001", "1", "Erfasst", "20260106080002");
tell("ELODMS.AddDokument", debtors);
tell("ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("20260105080001"));
tell("ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("unbekannt"));
tell("ELODMS.FindSageDocumentByBelegNr", archive.FindSageDocumentByBelegNr(2001, 1));
tell("ELODMS.FindSageDocumentByBelegNr", archive.FindSageDocumentByBelegNr(2001, 2));
tell("ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(general));
tell("ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(9999));
archive.ChangeDocument("", "2001", "1", "20260106080009");
tell("ELODMS.ChangeDocument", undefined);
archive.ChangeDocument("MU4", "3002", "1", "20260108080004");
tell("ELODMS.ChangeDocument", undefined);
tell("SOKInterface.GetBuchungsType", accounting.GetBuchungsType("3001", "1"));
accounting.GetKrediDaten("3001", "1");
tell("SOKInterface.GetKrediDaten", undefined);
number = 3002;
index = 1;
id = "20260108080004";
archive.ChangeDocument("", number, index, id);
tell("ELODMS.ChangeDocument", undefined);
archive.ShowDokument("20260106080009");
tell("ELODMS.ShowDokument", undefined);
archive.ShowDokument("unbekannt");
tell("ELODMS.ShowDokument", undefined);
archive.SaveAuswertung("20260131080000");
tell("ELODMS.SaveAuswertung", undefined);
archive.LoescheDokument(general);
tell("ELODMS.LoescheDokument", undefined);
tell("ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(general));
tellFailure("ELODMS.LoescheDokument", function () {
    archive.LoescheDokument(9999);
});
tellFailure("ELODMS.AddDokument", function () {
    id = archive.AddDokument("C:\\fehlt.pdf", "MU9", "1001", "1", "Erfasst", "20260105080001");
});
tellFailure("ELODMS.AddDokument", function () {
    id = archive.AddDokument(document, "MU9", "4711", "1", "Erfasst", "20260105080001");
});
archive.MarkAsDeleted("unbekannt", "2001", "1");
tell("ELODMS.MarkAsDeleted", undefined);
id = "20260106080009";
number = "2001";
index = "1";
archive.MarkAsDeleted(id, number, index);
tell("ELODMS.MarkAsDeleted", undefined);
tell("ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(debtors));

// The same archive through the provider, as the host uses it.
provider.StartProvider(undefined);
tell("ELOProvider.StartProvider", undefined);
tell("ELOProvider.CreateDocID", provider.CreateDocID("").replace(/[0-9]/g, "#"));
callOnly("ELOProvider.GetOpenDocInfo", function () {
    provider.GetOpenDocInfo();
});
tell("ELOProvider.GetVirtualPrinterName", provider.GetVirtualPrinterName());
provider.SaveDocument("20260107080003", arrayOf("3001/1", undefined, 3001, 1, "MU3"));
tell("ELOProvider.SaveDocument", undefined);
tell("ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("20260107080003"));
id = "20260107080033";
path = arrayOf("3001/1", undefined, "3001", "1", "MU33");
provider.DocumentChanged(id, path);
tell("ELOProvider.DocumentChanged", undefined);
tell("ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID(id));
provider.ShowDocument(id, path);
tell("ELOProvider.ShowDocument", undefined);
provider.PrintDocument("20260131080001", undefined);
tell("ELOProvider.PrintDocument", undefined);
provider.SavePendingDocument("", id, undefined);
tell("ELOProvider.SavePendingDocument", undefined);
provider.SetDocumentStatus(id, undefined);
tell("ELOProvider.SetDocumentStatus", undefined);
provider.DeleteDocument(id, path);
tell("ELOProvider.DeleteDocument", undefined);
tell("ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID(id));

// The older archive client.
older = new ActiveXObject("Kandora.OrigELODMS");
say("new OrigELODMS");
tell("OrigELODMS.oElo", older.oElo);
path = WScript.Arguments.Item(3);
case1 = older.oElo.LookupIndex(path + "Ablage" + path + "2004" + path + "5" + path + "17" + path + "Fall 1");
tell("OrigELODMS.GetParentFolderId", older.GetParentFolderId(case1));
tell("OrigELODMS.GetParentFolderId", older.GetParentFolderId(9999));
callOnly("OrigELODMS.CurrentRegisterDate", function () {
    older.CurrentRegisterDate(case1);
});
callOnly("OrigELODMS.CurrentRegisterDate", function () {
    older.CurrentRegisterDate(9999);
});
unlinked = older.AddDokument(document);
tell("OrigELODMS.AddDokument", unlinked);
tell("OrigELODMS.AddDokument", older.AddDokument("C:\\fehlt.pdf"));
mailing = older.AddDokumentToMassenversaendeZA(document);
tell("OrigELODMS.AddDokumentToMassenversaendeZA", mailing);
tell("OrigELODMS.AddDokumentToMassenversaendeZA", older.AddDokumentToMassenversaendeZA("C:\\fehlt.pdf"));
tell("OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(unlinked));
tell("OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(9999));
callOnly("OrigELODMS.GetUnverknuepfte", function () {
    older.GetUnverknuepfte();
});
older.ShowDokument(unlinked);
tell("OrigELODMS.ShowDokument", undefined);
older.ShowDokument(9999);
tell("OrigELODMS.ShowDokument", undefined);
older.PrintDokument(unlinked);
tell("OrigELODMS.PrintDokument", undefined);
tellFailure("OrigELODMS.PrintDokument", function () {
    older.PrintDokument(9999);
});
older.LoescheVerknuepfung(mailing);
tell("OrigELODMS.LoescheVerknuepfung", undefined);
tellFailure("OrigELODMS.LoescheVerknuepfung", function () {
    older.LoescheVerknuepfung(9999);
});
older.LoescheDokument(unlinked);
tell("OrigELODMS.LoescheDokument", undefined);
older.LoescheDokument(9999);
tell("OrigELODMS.LoescheDokument", undefined);
tell("OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(unlinked));

archive = null;
CollectGarbage();
say("release ELODMS");
older = null;
CollectGarbage();
say("release OrigELODMS");
accounting = null;
CollectGarbage();
say("release SOKInterface");
provider = null;
CollectGarbage();
say("release ELOProvider");

// What only holds texts.
function useRecord(name, fields) {
    var at;
    record = new ActiveXObject("Kandora." + name);
    say("new " + name);
    if (name === "cUser") {
        tell("cUser.bLoggedOn", record.bLoggedOn);
    }
    for (at = 0; at < fields.length; at++) {
        record[fields[at]] = fields[at] + " 1";
    }
    for (at = 0; at < fields.length; at++) {
        tell(name + "." + fields[at], record[fields[at]]);
    }
    if (name === "cUser") {
        tell("cUser.bLoggedOn", record.bLoggedOn);
    }
}

useRecord("cUser", ["sName", "sPasswort", "sKuerzel"]);
fields = ["Rechnungsdatum", "Kurzbezeichnung", "Barcode", "BelegNr", "BelegIndex", "BelegStatus",
          "SesamDocID", "Valutadatum", "Betrag", "OPNr", "PKNr", "AdressNr", "Kundenname",
          "Kundenort"];
useRecord("cBeleg", ["Kurzbezeichnung", "Barcode", "BelegNr", "BelegIndex", "BelegStatus", "SesamDocID",
    "Valutadatum", "Betrag"]);
useRecord("cDebiBeleg", fields);
useRecord("cKrediBeleg", fields);
useRecord("cAuswertung", ["Kurzbezeichnung", "Listenbeschreibung", "DatumVon", "DatumBis"]);
protocol.WriteLine("Ende");
protocol.Close();
WScript.Quit(0);
