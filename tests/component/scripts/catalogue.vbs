Dim options, option_, first, count, id, found, reports, report, names, decimals, added, choice, texts

Set options = CreateAtShop()
Expect "Initialize", options.Initialize, True
Expect "Location", options.Location, 3
Expect "GlobalIni", options.GlobalIni, shop & "\data\TOVOGBL.INI"

' The default member, by position and by ID in another letter case.
Set first = options(1)
Expect "first key", first.Section & "/" & first.Key, "Defaults/DataPath"
Expect "first value", first.CurrentValue, "C:\SHOP\DATA"
id = first.ID
Expect "case of ID", LCase(id) <> id, True
Expect "Item by ID", options(LCase(id)) Is first, True
Expect "Item by name", options.Item(1) Is options.Item(id), True
Expect "truth", first.LocalINI, True
Expect "truth as a number", CInt(first.LocalINI), -1
Expect "type", first.OptionType, 4
Expect "type of type", VarType(first.OptionType), 3

' For Each, in catalogue order.
count = 0
For Each option_ In options
  count = count + 1
  If count = 1 Then Expect "first of For Each", option_ Is first, True
Next
Expect "For Each", count, options.Count

' Adding: a variable passed by reference receives the converted value.
decimals = 1.6
Set added = options.Add(True, "Tax", "Rate9", "", 3, "1|One" & vbCrLf & "2", "The rate.", , 9, decimals)
Expect "decimals of the option", added.Decimals, 2
Expect "decimals of the variable", decimals, 2
Expect "type of the variable", VarType(decimals), 2
Expect "omitted minimum", added.Minimum, 0
Expect "maximum", added.Maximum, 9
Expect "omitted default", added.Default, ""
Expect "count after Add", options.Count, count + 1
Expect "last", options(options.Count) Is added, True
texts = ""
For Each choice In added.Choices
  texts = texts & choice.Item & "=" & choice.Description & ";"
Next
Expect "choices", texts, "1=One;2=;"
Expect "choices by position", added.Choices(1).Description, "One"
Expect "choices counted", added.Choices.Count, 2

' For Each over a list without choices.
Expect "no choices", first.Choices.Count, 0
count = 0
For Each choice In first.Choices
  count = count + 1
Next
Expect "For Each over no choices", count, 0

' Report layouts.
Set reports = options.ReportTypes
names = ""
For Each report In reports
  names = names & report.ReportName & " "
  Expect "picture of " & report.Name, VarType(report.Picture), vbArray + vbByte
Next
Expect "layouts", Trim(names), "INV1 INV2 INVSTUB RCPT40"
Expect "layouts counted", reports.Count, 4
Expect "layout in use", reports("inv2").CurrentReport, True
Expect "same layouts", options.ReportTypes Is reports, True

' A new value, cut at 80 characters and trimmed.
first.NewValue = "  " & String(100, "x")
Expect "cut", first.NewValue, String(78, "x")
first.NewValue = "  5  "
Expect "trimmed", first.NewValue, "5"

Finish
