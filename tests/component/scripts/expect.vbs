Option Explicit

Dim shop, fso, expectations
expectations = 0
shop = WScript.Arguments(0)
Set fso = CreateObject("Scripting.FileSystemObject")

Sub Expect(what, actual, expected)
  expectations = expectations + 1
  If CStr(actual) <> CStr(expected) Then
    WScript.Echo "FAIL " & what & ": '" & actual & "' instead of '" & expected & "'"
  End If
End Sub

' Checks the error that the last statement left, and clears it.
Sub ExpectError(what, number, source, description)
  Expect what & ", number", Err.Number, number
  Expect what & ", source", Err.Source, source
  Expect what & ", description", Err.Description, description
  Err.Clear
End Sub

Function CreateAtShop()
  Set CreateAtShop = CreateObject("TovoDefaults.Options")
  CreateAtShop.DataPath = shop & "\data"
  CreateAtShop.INIFile = shop & "\workstation\TOVO.INI"
End Function

' The last statement of every script. The number shows that no expectation was skipped, as one is
' whose arguments fail while errors are resumed.
Sub Finish
  WScript.Echo "DONE " & expectations
End Sub
