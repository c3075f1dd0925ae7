Dim options, relay, handler, text

Class Listener
  Public Calls
  Sub Modified
    Calls = Calls & "Modified "
  End Sub
  Sub Status(text)
    Calls = Calls & "Status "
  End Sub
  Sub DLLError(number, text)
    Calls = Calls & "DLLError "
  End Sub
End Class

Function Contents(path)
  Dim stream
  Set stream = fso.OpenTextFile(path, 1)
  Contents = stream.ReadAll
  stream.Close
End Function

Function Find(section, key)
  Dim candidate
  For Each candidate In options
    If candidate.Section = section And candidate.Key = key Then Set Find = candidate
  Next
End Function

Set options = CreateAtShop()
options.Initialize
Set handler = New Listener
Set relay = CreateObject("TovoDefaultsTest.EventRelay")
relay.Connect options, handler

Find("Defaults", "WorkstationName").NewValue = "BACK OFFICE 7"
Find("Defaults", "ConfirmExit").NewValue = False
Expect "Save", options.Save, True
Expect "events", Trim(handler.Calls), "Modified"
Expect "reloaded", Find("Defaults", "WorkstationName").CurrentValue, "BACK OFFICE 7"
Expect "truth value", Find("Defaults", "ConfirmExit").CurrentValue, "False"
text = Contents(shop & "\workstation\TOVO.INI")
Expect "written", InStr(text, "WorkstationName=BACK OFFICE 7") > 0, True
text = Contents(shop & "\workstation\TOVO.old")
Expect "previous file", InStr(text, "WorkstationName=FRONT DESK 2") > 0, True
Expect "previous global file", fso.FileExists(shop & "\data\TOVOGBL.old"), True

relay.Disconnect
Expect "Save again", options.Save, True
Expect "events after disconnecting", Trim(handler.Calls), "Modified"

Finish
