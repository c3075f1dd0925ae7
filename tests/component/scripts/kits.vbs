Dim options, relay, handler, shell, key

Class Listener
  Public Calls
  Sub Modified
    Calls = Calls & "Modified|"
  End Sub
  Sub Status(text)
    Calls = Calls & "Status " & text & "|"
  End Sub
  Sub DLLError(number, text)
    Calls = Calls & "DLLError " & number & " " & text & "|"
  End Sub
End Class

Function Contents(path)
  Dim stream
  Set stream = fso.OpenTextFile(path, 1)
  Contents = stream.ReadAll
  stream.Close
End Function

Function SaveChoice(choice)
  Dim candidate
  handler.Calls = ""
  For Each candidate In options
    If candidate.Section = "OPTIONS" And candidate.Key = "KITCHOICE" Then candidate.NewValue = choice
  Next
  SaveChoice = options.Save
End Function

Set shell = CreateObject("WScript.Shell")
key = "HKCU\Software\VB and VBA Program Settings\Tovo\Modules\KitProgram\"
Set options = CreateAtShop()
options.Initialize
Set handler = New Listener
Set relay = CreateObject("TovoDefaultsTest.EventRelay")
relay.Connect options, handler

Expect "statements", SaveChoice(2), True
Expect "events of statements", handler.Calls, "Status |Modified|"
Expect "no number", SaveChoice("all"), True
Expect "events of no number", handler.Calls, "Status |Modified|"
Expect "a 0 written otherwise", SaveChoice("00"), False
Expect "events of a 0 written otherwise", handler.Calls, "Status |"

shell.RegWrite key & "Program", "missing.exe"
shell.RegWrite key & "Path", shop
shell.RegWrite key & "Parms", "200"
Expect "missing program", SaveChoice(3), False
Expect "events of a missing program", handler.Calls, "DLLError 53 The specified kit update program, '" & _
  shop & "\missing.exe' was not found|Status |"

shell.RegWrite key & "Program", "record_run.exe"
Expect "program", SaveChoice(3), True
Expect "events of a program", handler.Calls, _
  "Status Running external program to modify kits, please wait ...|Status |Modified|"
Expect "command line", Contents(shop & "\record_run.exe.txt"), shop & "\record_run.exe 200"

relay.Disconnect
Finish
