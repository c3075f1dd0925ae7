Dim options, table, held, number

On Error Resume Next

' The position or ID is not in the catalogue; wrong use of members.
Set options = CreateAtShop()
options.Initialize
Expect "opened", Err.Number, 0
Set table = options(options.Count + 1)
Expect "position", Err.Number, 5
Err.Clear
Set table = options("no such ID")
Expect "ID", Err.Number, 5
Err.Clear
Set table = options.ReportTypes(9)
Expect "layout", Err.Number, 9
Err.Clear
number = options.AddtnlProcError
Expect "write-only property", Err.Number, 438
Err.Clear
options(1).Key = "x"
Expect "read-only property", Err.Number, 438
Err.Clear
number = options.Colour
Expect "no such member", Err.Number, 438
Err.Clear

' Arguments of no use: Nothing, Empty and an array.
options.DataPath = Nothing
Expect "Nothing for a text", Err.Number, 13
Err.Clear
Set table = options(Nothing)
ExpectError "Nothing as an index", 13, ":Item", "Type mismatch"
Set table = options.ReportTypes(Empty)
ExpectError "Empty as an index", 13, "Reports:Item", "Type mismatch"
Set table = options(1).Choices(Array(1, 2))
ExpectError "an array as an index", 13, "cChoices:Item", "Type mismatch"

' The layouts before they are loaded.
Set options = CreateAtShop()
Set table = options.ReportTypes(1)
ExpectError "no layouts yet", 91, "TovoDefaults", "Object variable or With block variable not set"

' An INI file that is not there.
options.INIFile = shop & "\none.ini"
ExpectError "INI file", 53, "cscript:SetINIFile", "File not found"
Expect "INI file kept", options.INIFile, shop & "\workstation\TOVO.INI"

' A repeated ID.
Set options = CreateAtShop()
options.DataPath = shop & "\duplicate"
options.Initialize
Expect "duplicate", Err.Number, 457
Expect "duplicate, source", Err.Source, "InitOptCollection"
Expect "duplicate, description", Left(Err.Description, 32), "InitOptCollection routine, line "
Err.Clear
Expect "loaded before it", options.Count, 1

' A table that may not be written: open elsewhere without leave to write.
Set options = CreateAtShop()
Set held = fso.OpenTextFile(shop & "\data\defaults.dbf", 1)
options.Initialize
ExpectError "not writable", -2147221501, "TDefault:Initialize", _
    "The file " & shop & "\data\DEFAULTS.dbf can not bo opened for write access. " & _
    "Make sure this file is not read only and is located on a drive you have write access to"
held.Close

' No table.
fso.DeleteFile shop & "\data\defaults.dbf"
options.Initialize
Expect "no table", Err.Number, 53
Expect "no table, source", Err.Source, "cscript:Class_Initialize"
Expect "no table, description", LCase(Err.Description), _
    LCase("the table, '" & shop & "\data\defaults.dbf' was not found.")
Expect "no table, display case", Right(Err.Description, 34), "\Data\Defaults.dbf' was not found."
Err.Clear

Finish
