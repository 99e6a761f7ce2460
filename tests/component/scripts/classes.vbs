' A late-bound client: makes every public class, uses the records and lets the provider answer its host's requests.
' A script error would end the script silently, so the last line says that it got to its end.
Option Explicit

Dim name, record, provider, archive, text, number, path

For Each name In Array("ELOProvider", "ELODMS", "OrigELODMS", "SOKInterface", "cUser", "cBeleg", "cDebiBeleg", "cKrediBeleg", "cAuswertung")
    Set record = CreateObject("Kandora." & name)
    Set record = CreateObject("Kandora." & name & ".1")
    WScript.Echo name & ": " & IsObject(record)
Next

Set record = CreateObject("Kandora.cBeleg")
record.Barcode = "  MU26000001 "
WScript.Echo "[" & record.Barcode & "]"
text = "aus einer Variablen"
record.Kurzbezeichnung = text
WScript.Echo record.Kurzbezeichnung
number = 4711
record.BelegNr = number
record.BelegIndex = 3
WScript.Echo record.BelegNr & "/" & record.BelegIndex & " " & VarType(record.BelegNr)
record.SesamDocID = "vor" & Chr(0) & "nach"
WScript.Echo Len(record.SesamDocID) & " " & Asc(Mid(record.SesamDocID, 4, 1))
record.betrag = record.BELEGNR
WScript.Echo record.Betrag

Set record = CreateObject("Kandora.cKrediBeleg")
record.Kundenort = "8000 Z" & Chr(252) & "rich"
WScript.Echo CStr(record.Kundenort = "8000 Z" & Chr(252) & "rich")

Set record = CreateObject("Kandora.cUser")
WScript.Echo CStr(record.bLoggedOn)
record.sPasswort = "x"
WScript.Echo CStr(record.bLoggedOn)

Set archive = CreateObject("Kandora.ELODMS")
path = "  Sesam/Muster "
On Error Resume Next
text = archive.PFadErstellen(path)
WScript.Echo "Fehler " & (Err.Number And 65535) & ": " & Err.Description & " (" & Err.Source & ")"
Err.Clear
record.GibtEsNicht = 1
WScript.Echo CStr(Err.Number <> 0)
Err.Clear
On Error GoTo 0
WScript.Echo path
WScript.Echo "[" & archive.PFadErstellen("") & "]"

Set provider = CreateObject("Kandora.ELOProvider")
WScript.Echo CStr(provider.bRunning)
provider.FibuVersion "7.2"
WScript.Echo CStr(IsEmpty(provider.InitProvider(Empty)))
WScript.Echo CStr(provider.bRunning)
provider.StartProvider Empty
provider.SaveDocument "20260105093000", Array("1001/1", Empty, 1001, 1, "MU26000001")
text = "20260105093000"
provider.DocumentChanged text, Array("1001/1", Empty, 1001, 1, "MU26000001")
provider.SavePendingDocument 1, text, Array()
WScript.Echo "[" & provider.CreateDocID(Array()) & "] [" & provider.GetVirtualPrinterName() & "]"
WScript.Echo CStr(IsEmpty(provider.GetOpenDocInfo()))
provider.bRunning = False
WScript.Echo CStr(provider.bRunning)
Set provider = Nothing
WScript.Echo "Ende"
WScript.Quit 0
