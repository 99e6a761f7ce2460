' A late-bound client that uses every member of every public class; see Course.cpp, whose lines these must be.
' A script error would end the script silently, so the last line says that it got to its end.
Option Explicit

Dim document, protocol, provider, archive, older, accounting, record
Dim path, number, index, id, general, debtors, case1, unlinked, mailing

' Arguments: the document to file, the protocol to write, the path of a folder with an umlaut, the archive's separator.
document = WScript.Arguments.Item(0)
Set protocol = CreateObject("Scripting.FileSystemObject").CreateTextFile(WScript.Arguments.Item(1), True, True)

Function Masked(text)
    Dim at, unit
    Masked = ""
    For at = 1 To Len(text)
        unit = Mid(text, at, 1)
        If InStr("0123456789", unit) > 0 Then
            unit = "#"
        End If
        Masked = Masked & unit
    Next
End Function

' The value with its type.
Function Shown(value)
    If IsObject(value) Then
        If value Is Nothing Then
            Shown = "NOTHING"
        Else
            Shown = "DISPATCH"
        End If
        Exit Function
    End If
    Select Case VarType(value)
        Case 0
            Shown = "EMPTY"
        Case 3
            Shown = "I4 " & value
        Case 7
            Shown = "DATE " & Year(value) & "-" & Month(value) & "-" & Day(value)
        Case 8
            Shown = "BSTR " & value
        Case 11
            If value Then
                Shown = "BOOL True"
            Else
                Shown = "BOOL False"
            End If
        Case 8200
            Shown = "TEXTS"
        Case 8204
            Shown = "ARRAY " & LBound(value) & " to " & UBound(value)
        Case Else
            Shown = "type " & VarType(value)
    End Select
End Function

Sub Say(line)
    protocol.WriteLine line
End Sub

Sub Tell(member, value)
    Say member & " = " & Shown(value)
End Sub

' To be called with errors trapped, right after the call.
Sub TellFailure(member)
    If Err.Number = 0 Then
        Say member & " succeeds"
    Else
        Say member & " fails: " & Err.Number & " [" & Err.Description & "] from [" & Err.Source & "]"
    End If
    Err.Clear
End Sub

Sub TellChange(position, before, after)
    If before <> after Or VarType(before) <> VarType(after) Then
        Say "  argument " & position & " -> " & Shown(after)
    End If
End Sub

' A client whose archive is switched off.
Set provider = CreateObject("Kandora.ELOProvider")
Say "new ELOProvider"
Tell "ELOProvider.bRunning", provider.bRunning
provider.FibuVersion "7.2"
Tell "ELOProvider.FibuVersion", Empty
Tell "ELOProvider.CreateDocID", provider.CreateDocID("")
Tell "ELOProvider.GetOpenDocInfo", provider.GetOpenDocInfo()
Tell "ELOProvider.InitProvider", provider.InitProvider(Empty)
Tell "ELOProvider.bRunning", provider.bRunning
provider.bRunning = False
Say "ELOProvider.bRunning := BOOL False"
Tell "ELOProvider.bRunning", provider.bRunning
provider.bRunning = True
Say "ELOProvider.bRunning := BOOL True"
Tell "ELOProvider.GetVirtualPrinterName", provider.GetVirtualPrinterName()
provider.StartProvider Empty
Tell "ELOProvider.StartProvider", Empty

' It is set up.
Set accounting = CreateObject("Kandora.SOKInterface")
Say "new SOKInterface"
Tell "SOKInterface.EinstellungenLesen", accounting.EinstellungenLesen()
Tell "SOKInterface.oSesamFibu", accounting.oSesamFibu
Tell "  IniLesen", accounting.oSesamFibu.IniLesen(600, 100)
Tell "SOKInterface.EinstellungenSchreiben", accounting.EinstellungenSchreiben()
Tell "SOKInterface.oSesamFibu", accounting.oSesamFibu
Tell "  IniLesen", accounting.oSesamFibu.IniLesen(600, 109)
Tell "SOKInterface.EinstellungenLesen", accounting.EinstellungenLesen()
Tell "SOKInterface.oSesamDebi", accounting.oSesamDebi
Tell "SOKInterface.oSesamKredi", accounting.oSesamKredi
number = "1001"
index = "1"
Tell "SOKInterface.GetBuchungsType", accounting.GetBuchungsType(number, index)
TellChange 1, "1001", number
TellChange 2, "1", index
accounting.GetBelegDaten number, index
Tell "SOKInterface.GetBelegDaten", Empty
number = 2001
index = 1
Tell "SOKInterface.GetBuchungsType", accounting.GetBuchungsType(number, index)
' Arguments that are only read keep their type, too.
TellChange 1, 2001, number
TellChange 2, 1, index
accounting.GetDebiDaten number, index
Tell "SOKInterface.GetDebiDaten", Empty
On Error Resume Next
accounting.GetBelegDaten number, index
TellFailure "SOKInterface.GetBelegDaten"
index = accounting.GetBuchungsType("4711", "1")
TellFailure "SOKInterface.GetBuchungsType"
On Error GoTo 0

' The archive: session, folders, masks.
Set archive = CreateObject("Kandora.ELODMS")
Say "new ELODMS"
Tell "ELODMS.CheckLogin", archive.CheckLogin()
Tell "ELODMS.oElo", archive.oElo
Tell "  LookupDelimiter", archive.oElo.LookupDelimiter()
archive.ELOSichtbar
Tell "ELODMS.ELOSichtbar", Empty
number = 2
Tell "ELODMS.CheckMaskeVorhanden", archive.CheckMaskeVorhanden(number)
TellChange 1, 2, number
Tell "ELODMS.CheckMaskeVorhanden", archive.CheckMaskeVorhanden(77)
Tell "ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden("/Buchhaltung/Muster AG/Kredi")
path = "/Ablage/2004"
Tell "ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden(path)
TellChange 1, "/Ablage/2004", path
path = "  Ablage/2004/5/17/Fall 1 "
Tell "ELODMS.PFadErstellen", archive.PFadErstellen(path)
TellChange 1, "  Ablage/2004/5/17/Fall 1 ", path
path = WScript.Arguments.Item(2)
index = path
Tell "ELODMS.PFadErstellen", archive.PFadErstellen(path)
TellChange 1, index, path
path = "Wiederanschlusskontrolle/MassenversaendeZA"
Tell "ELODMS.PFadErstellen", archive.PFadErstellen(path)
TellChange 1, "Wiederanschlusskontrolle/MassenversaendeZA", path
Tell "ELODMS.CheckPFadVorhanden", archive.CheckPFadVorhanden("/Ablage/2004")

' Vouchers.
number = 1001
general = archive.AddDokument(document, "MU1", number, 1, "Erfasst", "20260105080001")
Tell "ELODMS.AddDokument", general
TellChange 3, 1001, number
debtors = archive.AddDokument(document, "MU2", "2001", "1", "Erfasst", "20260106080002")
Tell "ELODMS.AddDokument", debtors
Tell "ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("20260105080001")
Tell "ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("unbekannt")
Tell "ELODMS.FindSageDocumentByBelegNr", archive.FindSageDocumentByBelegNr(2001, 1)
Tell "ELODMS.FindSageDocumentByBelegNr", archive.FindSageDocumentByBelegNr(2001, 2)
Tell "ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(general)
Tell "ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(9999)
archive.ChangeDocument "", "2001", "1", "20260106080009"
Tell "ELODMS.ChangeDocument", Empty
archive.ChangeDocument "MU4", "3002", "1", "20260108080004"
Tell "ELODMS.ChangeDocument", Empty
Tell "SOKInterface.GetBuchungsType", accounting.GetBuchungsType("3001", "1")
accounting.GetKrediDaten "3001", "1"
Tell "SOKInterface.GetKrediDaten", Empty
number = 3002
index = 1
id = "20260108080004"
archive.ChangeDocument "", number, index, id
Tell "ELODMS.ChangeDocument", Empty
TellChange 2, 3002, number
TellChange 3, 1, index
TellChange 4, "20260108080004", id
archive.ShowDokument "20260106080009"
Tell "ELODMS.ShowDokument", Empty
archive.ShowDokument "unbekannt"
Tell "ELODMS.ShowDokument", Empty
archive.SaveAuswertung "20260131080000"
Tell "ELODMS.SaveAuswertung", Empty
archive.LoescheDokument general
Tell "ELODMS.LoescheDokument", Empty
Tell "ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(general)
On Error Resume Next
archive.LoescheDokument 9999
TellFailure "ELODMS.LoescheDokument"
id = archive.AddDokument("C:\fehlt.pdf", "MU9", "1001", "1", "Erfasst", "20260105080001")
TellFailure "ELODMS.AddDokument"
id = archive.AddDokument(document, "MU9", "4711", "1", "Erfasst", "20260105080001")
TellFailure "ELODMS.AddDokument"
On Error GoTo 0
archive.MarkAsDeleted "unbekannt", "2001", "1"
Tell "ELODMS.MarkAsDeleted", Empty
id = "20260106080009"
number = "2001"
index = "1"
archive.MarkAsDeleted id, number, index
Tell "ELODMS.MarkAsDeleted", Empty
Tell "ELODMS.IsDokumentVorhanden", archive.IsDokumentVorhanden(debtors)

' The same archive through the provider, as the host uses it.
provider.StartProvider Empty
Tell "ELOProvider.StartProvider", Empty
Tell "ELOProvider.CreateDocID", Masked(provider.CreateDocID(""))
Tell "ELOProvider.GetOpenDocInfo", provider.GetOpenDocInfo()
Tell "ELOProvider.GetVirtualPrinterName", provider.GetVirtualPrinterName()
provider.SaveDocument "20260107080003", Array("3001/1", Empty, 3001, 1, "MU3")
Tell "ELOProvider.SaveDocument", Empty
Tell "ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID("20260107080003")
id = "20260107080033"
path = Array("3001/1", Empty, "3001", "1", "MU33")
provider.DocumentChanged id, path
Tell "ELOProvider.DocumentChanged", Empty
Tell "ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID(id)
provider.ShowDocument id, path
Tell "ELOProvider.ShowDocument", Empty
provider.PrintDocument "20260131080001", Empty
Tell "ELOProvider.PrintDocument", Empty
provider.SavePendingDocument "", id, Empty
Tell "ELOProvider.SavePendingDocument", Empty
provider.SetDocumentStatus id, Empty
Tell "ELOProvider.SetDocumentStatus", Empty
provider.DeleteDocument id, path
Tell "ELOProvider.DeleteDocument", Empty
Tell "ELODMS.FindSageDocumentByID", archive.FindSageDocumentByID(id)

' The older archive client.
Set older = CreateObject("Kandora.OrigELODMS")
Say "new OrigELODMS"
Tell "OrigELODMS.oElo", older.oElo
path = WScript.Arguments.Item(3)
case1 = older.oElo.LookupIndex(path & "Ablage" & path & "2004" & path & "5" & path & "17" & path & "Fall 1")
Tell "OrigELODMS.GetParentFolderId", older.GetParentFolderId(case1)
Tell "OrigELODMS.GetParentFolderId", older.GetParentFolderId(9999)
Tell "OrigELODMS.CurrentRegisterDate", older.CurrentRegisterDate(case1)
Tell "OrigELODMS.CurrentRegisterDate", older.CurrentRegisterDate(9999)
unlinked = older.AddDokument(document)
Tell "OrigELODMS.AddDokument", unlinked
Tell "OrigELODMS.AddDokument", older.AddDokument("C:\fehlt.pdf")
mailing = older.AddDokumentToMassenversaendeZA(document)
Tell "OrigELODMS.AddDokumentToMassenversaendeZA", mailing
Tell "OrigELODMS.AddDokumentToMassenversaendeZA", older.AddDokumentToMassenversaendeZA("C:\fehlt.pdf")
Tell "OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(unlinked)
Tell "OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(9999)
Tell "OrigELODMS.GetUnverknuepfte", older.GetUnverknuepfte()
older.ShowDokument unlinked
Tell "OrigELODMS.ShowDokument", Empty
older.ShowDokument 9999
Tell "OrigELODMS.ShowDokument", Empty
older.PrintDokument unlinked
Tell "OrigELODMS.PrintDokument", Empty
On Error Resume Next
older.PrintDokument 9999
TellFailure "OrigELODMS.PrintDokument"
On Error GoTo 0
older.LoescheVerknuepfung mailing
Tell "OrigELODMS.LoescheVerknuepfung", Empty
On Error Resume Next
older.LoescheVerknuepfung 9999
TellFailure "OrigELODMS.LoescheVerknuepfung"
On Error GoTo 0
older.LoescheDokument unlinked
Tell "OrigELODMS.LoescheDokument", Empty
older.LoescheDokument 9999
Tell "OrigELODMS.LoescheDokument", Empty
Tell "OrigELODMS.IsDokumentVorhanden", older.IsDokumentVorhanden(unlinked)

Set archive = Nothing
Say "release ELODMS"
Set older = Nothing
Say "release OrigELODMS"
Set accounting = Nothing
Say "release SOKInterface"
Set provider = Nothing
Say "release ELOProvider"

' What only holds texts.
Set record = CreateObject("Kandora.cUser")
Say "new cUser"
Tell "cUser.bLoggedOn", record.bLoggedOn
record.sName = "sName 1"
record.sPasswort = "sPasswort 1"
record.sKuerzel = "sKuerzel 1"
Tell "cUser.sName", record.sName
Tell "cUser.sPasswort", record.sPasswort
Tell "cUser.sKuerzel", record.sKuerzel
Tell "cUser.bLoggedOn", record.bLoggedOn

Set record = CreateObject("Kandora.cBeleg")
Say "new cBeleg"
record.Kurzbezeichnung = "Kurzbezeichnung 1"
record.Barcode = "Barcode 1"
record.BelegNr = "BelegNr 1"
record.BelegIndex = "BelegIndex 1"
record.BelegStatus = "BelegStatus 1"
record.SesamDocID = "SesamDocID 1"
record.Valutadatum = "Valutadatum 1"
record.Betrag = "Betrag 1"
Tell "cBeleg.Kurzbezeichnung", record.Kurzbezeichnung
Tell "cBeleg.Barcode", record.Barcode
Tell "cBeleg.BelegNr", record.BelegNr
Tell "cBeleg.BelegIndex", record.BelegIndex
Tell "cBeleg.BelegStatus", record.BelegStatus
Tell "cBeleg.SesamDocID", record.SesamDocID
Tell "cBeleg.Valutadatum", record.Valutadatum
Tell "cBeleg.Betrag", record.Betrag

Set record = CreateObject("Kandora.cDebiBeleg")
Say "new cDebiBeleg"
record.Rechnungsdatum = "Rechnungsdatum 1"
record.Kurzbezeichnung = "Kurzbezeichnung 1"
record.Barcode = "Barcode 1"
record.BelegNr = "BelegNr 1"
record.BelegIndex = "BelegIndex 1"
record.BelegStatus = "BelegStatus 1"
record.SesamDocID = "SesamDocID 1"
record.Valutadatum = "Valutadatum 1"
record.Betrag = "Betrag 1"
record.OPNr = "OPNr 1"
record.PKNr = "PKNr 1"
record.AdressNr = "AdressNr 1"
record.Kundenname = "Kundenname 1"
record.Kundenort = "Kundenort 1"
Tell "cDebiBeleg.Rechnungsdatum", record.Rechnungsdatum
Tell "cDebiBeleg.Kurzbezeichnung", record.Kurzbezeichnung
Tell "cDebiBeleg.Barcode", record.Barcode
Tell "cDebiBeleg.BelegNr", record.BelegNr
Tell "cDebiBeleg.BelegIndex", record.BelegIndex
Tell "cDebiBeleg.BelegStatus", record.BelegStatus
Tell "cDebiBeleg.SesamDocID", record.SesamDocID
Tell "cDebiBeleg.Valutadatum", record.Valutadatum
Tell "cDebiBeleg.Betrag", record.Betrag
Tell "cDebiBeleg.OPNr", record.OPNr
Tell "cDebiBeleg.PKNr", record.PKNr
Tell "cDebiBeleg.AdressNr", record.AdressNr
Tell "cDebiBeleg.Kundenname", record.Kundenname
Tell "cDebiBeleg.Kundenort", record.Kundenort

Set record = CreateObject("Kandora.cKrediBeleg")
Say "new cKrediBeleg"
record.Rechnungsdatum = "Rechnungsdatum 1"
record.Kurzbezeichnung = "Kurzbezeichnung 1"
record.Barcode = "Barcode 1"
record.BelegNr = "BelegNr 1"
record.BelegIndex = "BelegIndex 1"
record.BelegStatus = "BelegStatus 1"
record.SesamDocID = "SesamDocID 1"
record.Valutadatum = "Valutadatum 1"
record.Betrag = "Betrag 1"
record.OPNr = "OPNr 1"
record.PKNr = "PKNr 1"
record.AdressNr = "AdressNr 1"
record.Kundenname = "Kundenname 1"
record.Kundenort = "Kundenort 1"
Tell "cKrediBeleg.Rechnungsdatum", record.Rechnungsdatum
Tell "cKrediBeleg.Kurzbezeichnung", record.Kurzbezeichnung
Tell "cKrediBeleg.Barcode", record.Barcode
Tell "cKrediBeleg.BelegNr", record.BelegNr
Tell "cKrediBeleg.BelegIndex", record.BelegIndex
Tell "cKrediBeleg.BelegStatus", record.BelegStatus
Tell "cKrediBeleg.SesamDocID", record.SesamDocID
Tell "cKrediBeleg.Valutadatum", record.Valutadatum
Tell "cKrediBeleg.Betrag", record.Betrag
Tell "cKrediBeleg.OPNr", record.OPNr
Tell "cKrediBeleg.PKNr", record.PKNr
Tell "cKrediBeleg.AdressNr", record.AdressNr
Tell "cKrediBeleg.Kundenname", record.Kundenname
Tell "cKrediBeleg.Kundenort", record.Kundenort

Set record = CreateObject("Kandora.cAuswertung")
Say "new cAuswertung"
record.Kurzbezeichnung = "Kurzbezeichnung 1"
record.Listenbeschreibung = "Listenbeschreibung 1"
record.DatumVon = "DatumVon 1"
record.DatumBis = "DatumBis 1"
Tell "cAuswertung.Kurzbezeichnung", record.Kurzbezeichnung
Tell "cAuswertung.Listenbeschreibung", record.Listenbeschreibung
Tell "cAuswertung.DatumVon", record.DatumVon
Tell "cAuswertung.DatumBis", record.DatumBis

Set record = Nothing
protocol.WriteLine "Ende"
protocol.Close
WScript.Quit 0
