// A late-bound client: makes every public class, uses the records and lets the provider answer its host's requests.
// A script error would end the script silently, so the last line says that it got to its end.
var names = ["ELOProvider", "ELODMS", "OrigELODMS", "SOKInterface", "cUser", "cBeleg", "cDebiBeleg", "cKrediBeleg",
             "cAuswertung"];
var index, record, provider, archive;

for (index = 0; index < names.length; index++) {
    record = new ActiveXObject("Kandora." + names[index]);
    record = new ActiveXObject("Kandora." + names[index] + ".1");
    WScript.Echo(names[index] + ": " + typeof record);
}

record = new ActiveXObject("Kandora.cDebiBeleg");
record.Barcode = "  MU26000001 ";
WScript.Echo("[" + record.Barcode + "]");
record.BelegNr = 4711;
record.Betrag = 12.5;
WScript.Echo(record.BelegNr + " " + typeof record.BelegNr + " " + record.Betrag);
record.SesamDocID = "vor\u0000nach";
WScript.Echo(record.SesamDocID.length + " " + record.SesamDocID.charCodeAt(3));

record = new ActiveXObject("Kandora.cUser");
WScript.Echo(typeof record.bLoggedOn + " " + record.bLoggedOn);
record.sName = "Kandora";
WScript.Echo(typeof record.bLoggedOn + " " + record.bLoggedOn);

archive = new ActiveXObject("Kandora.ELODMS");
WScript.Echo("[" + archive.PFadErstellen("") + "]");
try {
    archive.CheckLogin();
} catch (error) {
    WScript.Echo("Fehler " + (error.number & 0xFFFF) + ": " + error.message);
}

provider = new ActiveXObject("Kandora.ELOProvider");
WScript.Echo(typeof provider.bRunning + " " + provider.bRunning);
provider.FibuVersion("7.2");
WScript.Echo(typeof provider.InitProvider(undefined));
WScript.Echo(typeof provider.bRunning + " " + provider.bRunning);
provider.SaveDocument("20260105093000", null);
WScript.Echo("[" + provider.CreateDocID("") + "] [" + provider.GetVirtualPrinterName() + "]");
WScript.Echo("Ende");
WScript.Quit(0);
