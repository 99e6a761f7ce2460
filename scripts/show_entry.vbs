' Brings the archive's window up with one entry chosen: USER PASSWORD ARCHIVE ID
Option Explicit
Dim archive, id
Set archive = CreateObject("ELO.professional")
If archive.Login(WScript.Arguments(0), WScript.Arguments(1), WScript.Arguments(2)) < 0 Then
    WScript.Quit 1
End If
id = CLng(WScript.Arguments(3))
archive.EloWindow "NORMAL"
archive.GotoId id
archive.Login "LOGOUT", "", ""
' A script error ends with exit code 0 as well, so success is told by this line.
WScript.Echo "shown"
WScript.Quit 0
