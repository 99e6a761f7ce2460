' Brings the archive's window up, with the entry that is selected in it: USER PASSWORD ARCHIVE
Option Explicit
Dim archive
Set archive = CreateObject("ELO.professional")
If archive.Login(WScript.Arguments(0), WScript.Arguments(1), WScript.Arguments(2)) < 0 Then
    WScript.Quit 1
End If
archive.EloWindow "NORMAL"
archive.Login "LOGOUT", "", ""
' A script error ends with exit code 0 as well, so success is told by this line.
WScript.Echo "shown"
WScript.Quit 0
