Dim options, ini, text, id, comment, recordId, before, candidate, marker, lines

Function Contents(path)
  Dim stream
  Set stream = fso.OpenTextFile(path, 1)
  Contents = ""
  If Not stream.AtEndOfStream Then Contents = stream.ReadAll
  stream.Close
End Function

Sub Write(path, text)
  Dim stream
  Set stream = fso.CreateTextFile(path, True)
  stream.Write text
  stream.Close
End Sub

Set options = CreateAtShop()
Expect "Initialize", options.Initialize, True
For Each candidate In options
  If candidate.Section = "Backup" And candidate.Key = "Generations" Then
    id = candidate.ID
    comment = candidate.Comment
  End If
Next
ini = shop & "\data\any.ini"

Write ini, "[Backup]" & vbCrLf & "Generations=7" & vbCrLf & vbCrLf & "[Last]" & vbCrLf & "x=1" & vbCrLf
Expect "CommentFile", options.CommentFile(ini), True
Expect "commented", Contents(ini), "[Backup]" & vbCrLf & ";" & comment & vbCrLf & "Generations=7" & _
  vbCrLf & vbCrLf & "[Last]" & vbCrLf & "x=1" & vbCrLf
Expect "RemoveIniComment", options.RemoveIniComment(ini, comment), True
Expect "removed", Contents(ini), "[Backup]" & vbCrLf & "Generations=7" & vbCrLf & vbCrLf & _
  "[Last]" & vbCrLf & "x=1" & vbCrLf
Write ini, ";a" & vbCrLf & "k=v" & vbCrLf & ";b" & vbCrLf
Expect "ClearIniComments", options.ClearIniComments(ini), True
Expect "cleared", Contents(ini), "k=v" & vbCrLf
Expect "no such file", options.ClearIniComments(shop & "\none.ini"), False
Expect "none made", fso.FileExists(shop & "\none.ini"), False

recordId = "kept"
Expect "SectionKeyExists elsewhere", options.SectionKeyExists("backup", "GENERATIONS", True, recordId), False
Expect "kept", recordId, "kept"
Expect "SectionKeyExists", options.SectionKeyExists("backup", "GENERATIONS", False, recordId), True
Expect "its ID", recordId, id
Expect "without an ID", options.SectionKeyExists("backup", "none", False), False

Write options.GlobalIni, "[Backup]" & vbCrLf & "Generations=7" & vbCrLf
Expect "CommentINIKey of no ID", options.CommentINIKey("none"), False
Expect "CommentINIKey", options.CommentINIKey(id), True
lines = Split(Contents(options.GlobalIni), vbCrLf)
Expect "lines", UBound(lines), 3
marker = ";The following line was commented by "
Expect "marker", Left(lines(1), Len(marker)), marker
Expect "disabled key", lines(2), ";Generations=7"

Write options.GlobalIni, "[Backup]" & vbCrLf & ";" & comment & vbCrLf & "Generations=7" & vbCrLf & _
  "Other=1" & vbCrLf
before = options.Count
Expect "DeleteOption of no ID", options.DeleteOption("none"), False
Expect "DeleteOption", options.DeleteOption(id), True
Expect "one less", options.Count, before - 1
Expect "key and comment gone", Contents(options.GlobalIni), "[Backup]" & vbCrLf & "Other=1" & vbCrLf
Expect "definition gone", options.SectionKeyExists("Backup", "Generations", False, recordId), False

Finish
