' Shows and changes the options of a Tovo shop: the library's use from VBScript.
'
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] list [SECTION]
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] get SECTION KEY
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] set SECTION KEY VALUE [SECTION KEY VALUE ...]
'
' Ends with 0 when done, 1 after an error of the library or when a saved value reads back as another,
' 2 for wrong arguments, 3 when a value is refused, 4 when there is no such option, 5 when the data
' folder or the INI file is missing.
Option Explicit

Const NUMERIC_VALUE = 1, CHOICE_VALUE = 3, PATH_VALUE = 4, FONT_VALUE = 7, INSURANCE_VALUE = 8
Const NOT_SET = "Not found"      ' what a key reads that its INI file does not hold

Dim options, fileSystem, iniFile, dataFolder, words, wordCount
Dim dllErrorText                 ' what the event DLLError told during the last save

Set fileSystem = CreateObject("Scripting.FileSystemObject")
ReadArguments
OpenCatalogue
Select Case LCase(words(0))
  Case "list": ListOptions
  Case "get":  ShowOption
  Case "set":  ChangeOptions
End Select
WScript.Quit 0

' Splits the command line into the two settings and the words. Word 0 is the command.
Sub ReadArguments
  Dim argument, index
  ReDim words(WScript.Arguments.Count)
  wordCount = 0
  For index = 0 To WScript.Arguments.Count - 1
    argument = WScript.Arguments(index)
    If LCase(Left(argument, 5)) = "/ini:" Then
      iniFile = fileSystem.GetAbsolutePathName(Mid(argument, 6))
    ElseIf LCase(Left(argument, 6)) = "/data:" Then
      dataFolder = fileSystem.GetAbsolutePathName(Mid(argument, 7))
    Else
      words(wordCount) = argument
      wordCount = wordCount + 1
    End If
  Next
  If wordCount = 0 Then Fail 2, "Name a command: list, get or set; /? explains them."
  Select Case LCase(words(0))
    Case "/?", "-?", "/h", "-h", "/help", "--help", "help": ShowHelp
    Case "list": If wordCount > 2 Then Fail 2, "list takes one section or none."
    Case "get":  If wordCount <> 3 Then Fail 2, "get takes a section and a key."
    Case "set"
      If wordCount < 4 Or (wordCount - 1) Mod 3 <> 0 Then
        Fail 2, "set takes section, key and value, as often as there are changes."
      End If
    Case Else:   Fail 2, "There is no command " & words(0) & "; use list, get or set."
  End Select
End Sub

Sub ShowHelp
  WScript.Echo "Shows and changes the options of a Tovo shop."
  WScript.Echo "  options.vbs list [SECTION]"
  WScript.Echo "  options.vbs get SECTION KEY"
  WScript.Echo "  options.vbs set SECTION KEY VALUE [SECTION KEY VALUE ...]"
  WScript.Echo "/ini:FILE names the local INI file, instead of TOVO.INI on the search path;"
  WScript.Echo "/data:FOLDER the data folder, instead of the one that the INI file names."
  WScript.Quit 0
End Sub

' Creates the catalogue and loads it. The overrides come first: they tell where to load from.
Sub OpenCatalogue
  Dim loaded
  On Error Resume Next
  Set options = CreateObject("TovoDefaults.Options")
  If Err.Number <> 0 Then
    Fail 1, "The library is not registered for this script host (" & Err.Description & _
        "). Register it once: regsvr32 tdefault.dll"
  End If
  ' Routes the events to the Subs below whose names begin with options_. Not every host has it.
  WScript.ConnectObject options, "options_"
  Err.Clear
  If dataFolder <> "" Then options.DataPath = dataFolder
  If iniFile <> "" Then
    If Not fileSystem.FileExists(iniFile) Then Fail 5, "There is no INI file " & iniFile & "."
    options.INIFile = iniFile
    Err.Clear                    ' it also loads; Initialize reports what is wrong with that
  End If
  ' Without this test the library would ask the user with a message box.
  If Not fileSystem.FolderExists(options.DataPath) Then
    If dataFolder = "" And options.INIFile = "" Then
      Fail 5, "There is no TOVO.INI on the search path, so the data folder is not known; " & _
          "use /ini:FILE or /data:FOLDER."
    ElseIf dataFolder = "" And options.DataPath = "" Then
      Fail 5, "The key DataPath of section [Defaults] in " & options.INIFile & _
          " names no data folder; set it, or use /data:FOLDER."
    ElseIf dataFolder = "" Then
      Fail 5, "There is no data folder " & options.DataPath & ", which " & options.INIFile & _
          " names; correct it, or use /data:FOLDER."
    End If
    Fail 5, "There is no data folder " & dataFolder & "; check /data:."
  End If
  loaded = options.Initialize
  If Err.Number <> 0 Then Fail 1, RaisedError
  If Not loaded Then Fail 5, "The data folder was not found."
End Sub

Sub ListOptions
  Dim entry, count, wanted
  wanted = ""
  If wordCount = 2 Then wanted = words(1)
  count = 0
  For Each entry In options      ' the catalogue is a collection of its options
    If wanted = "" Or StrComp(entry.Section, wanted, vbTextCompare) = 0 Then
      WScript.Echo "[" & entry.Section & "] " & entry.Key & " = " & ShownValue(entry)
      count = count + 1
    End If
  Next
  If count = 0 Then Fail 4, "There is no section " & wanted & "."
  WScript.Echo count & " of " & options.Count & " options"
End Sub

Sub ShowOption
  Dim entry, choice
  Set entry = FindOption(words(1), words(2))
  WScript.Echo entry.Section & " / " & entry.Key
  WScript.Echo "  value   " & ShownValue(entry)
  WScript.Echo "  default " & entry.Default
  WScript.Echo "  file    " & FileOf(entry)
  For Each choice In entry.Choices
    WScript.Echo "  choice  " & choice.Item & "  " & choice.Description
  Next
  If entry.Comment <> "" Then
    WScript.Echo "  comment " & Replace(entry.Comment, vbCrLf, vbCrLf & Space(10))
  End If
End Sub

' Checks every value, then sets them all, saves once and compares what was asked with what reads back.
Sub ChangeOptions
  Dim index, entry, refusal, saved, ids, dataFolderBefore, differences
  For index = 1 To wordCount - 1 Step 3
    Set entry = FindOption(words(index), words(index + 1))
    ' An INI file does not keep the blanks around a value.
    words(index + 2) = Trim(words(index + 2))
    refusal = Refused(entry, words(index + 2))
    If refusal <> "" Then
      Fail 3, words(index) & " / " & words(index + 1) & ": " & refusal & " Nothing was saved."
    End If
    ' The library leaves out the options of a file that it does not find.
    If entry.LocalINI And options.INIFile = "" Then
      Fail 5, words(index) & " / " & words(index + 1) & " belongs to the local INI file, but " & _
          "there is no TOVO.INI on the search path; use /ini:FILE. Nothing was saved."
    End If
  Next
  dataFolderBefore = options.DataPath
  ReDim ids(wordCount)
  For index = 1 To wordCount - 1 Step 3
    Set entry = FindOption(words(index), words(index + 1))
    WScript.Echo entry.Section & " / " & entry.Key & ": " & ShownValue(entry) & " -> " & _
        words(index + 2)
    entry.NewValue = words(index + 2)
    ids(index) = entry.ID
  Next
  dllErrorText = ""
  On Error Resume Next
  saved = options.Save
  If Err.Number <> 0 Then
    ' A save that fails gives False. What raises an error is reading the options again after it.
    Fail 1, "Saved; the previous files have the ending .old. But reading the options again " & _
        "failed: " & RaisedError
  End If
  On Error GoTo 0
  If Not saved Then Fail 1, "Not saved; the INI files are as before. " & dllErrorText
  WScript.Echo "Saved. The previous files have the ending .old."
  differences = 0
  For index = 1 To wordCount - 1 Step 3
    If Differs(ids(index), words(index + 1), words(index + 2), dataFolderBefore) Then
      differences = differences + 1
    End If
  Next
  If differences > 0 Then
    Fail 1, "Set another value: an INI file holds only the characters of the system's code page, " & _
        "and a font has seven parts."
  End If
End Sub

' Tells when an option reads back as something else than was set.
Function Differs(id, key, value, dataFolderBefore)
  Dim entry, asked
  Differs = False
  asked = value
  For Each entry In options
    If entry.ID = id Then
      ' A font is spread over several keys; the first part stands under its own.
      If entry.OptionType = FONT_VALUE Then asked = Left(value, InStr(value & "|", "|") - 1)
      ' A new data folder or site leads to another file or key, which tells nothing about the save.
      If StrComp(entry.Key, key, vbTextCompare) = 0 And _
          (entry.LocalINI Or StrComp(options.DataPath, dataFolderBefore, vbTextCompare) = 0) Then
        Differs = StrComp(entry.CurrentValue, asked, vbTextCompare) <> 0
      End If
      If Differs Then
        WScript.Echo "options.vbs: " & entry.Section & " / " & entry.Key & " reads '" & _
            entry.CurrentValue & "' after the save, not '" & asked & "'."
      End If
    End If
  Next
End Function

' Why a value does not fit its option; empty when it does. The library itself stores any text.
Function Refused(entry, value)
  Dim first
  Refused = ""
  first = Left(value, 1)
  If Len(value) > 80 Then
    Refused = "At most 80 characters."
  ElseIf StrComp(value, NOT_SET, vbTextCompare) = 0 Then
    Refused = "'" & NOT_SET & "' stands for a key without a value and cannot be one."
  ElseIf Len(value) > 1 And first = Right(value, 1) And (first = "'" Or first = """") Then
    Refused = "The quotation marks around the value would be lost; leave them out."
  ElseIf entry.OptionType = NUMERIC_VALUE Then
    Refused = RefusedNumber(entry, value)
  ElseIf entry.OptionType = CHOICE_VALUE Or entry.OptionType = INSURANCE_VALUE Then
    Refused = RefusedChoice(entry, value)
  ElseIf entry.OptionType = PATH_VALUE And entry.LocalINI And _
      LCase(entry.Section & "/" & entry.Key) = "defaults/datapath" And _
      StrComp(value, entry.CurrentValue, vbTextCompare) <> 0 Then
    Refused = RefusedDataFolder(value)
  End If
End Function

Function RefusedNumber(entry, value)
  Dim point, number, plainNumber
  RefusedNumber = ""
  Set plainNumber = New RegExp
  plainNumber.Pattern = "^[+-]?([0-9]+\.?[0-9]*|\.[0-9]+)$"
  If Not plainNumber.Test(value) Then
    RefusedNumber = "'" & value & "' is not a number."
    Exit Function
  End If
  point = InStr(value, ".")
  ' CDbl reads the decimal sign of the user's country.
  number = CDbl(Replace(value, ".", Mid(CStr(1.5), 2, 1)))
  If (entry.Minimum <> 0 Or entry.Maximum <> 0) And _
      (number < entry.Minimum Or number > entry.Maximum) Then
    RefusedNumber = "Allowed is " & entry.Minimum & " to " & entry.Maximum & "."
  ElseIf point > 0 And Len(value) - point > entry.Decimals Then
    RefusedNumber = "At most " & entry.Decimals & " decimals."
  End If
End Function

Function RefusedChoice(entry, value)
  Dim choice, known
  RefusedChoice = ""
  known = ""
  For Each choice In entry.Choices
    If StrComp(choice.Item, value, vbTextCompare) = 0 Then Exit Function
    known = known & " " & choice.Item
  Next
  RefusedChoice = "'" & value & "' is not one of:" & known & "."
End Function

' Without its data folder no program of the workstation would start, this script among them.
Function RefusedDataFolder(value)
  RefusedDataFolder = ""
  If Left(value, 2) <> "\\" And Mid(value, 2, 2) <> ":\" Then
    RefusedDataFolder = "The data folder needs a full path."
  ElseIf Not fileSystem.FolderExists(value) Then
    RefusedDataFolder = "There is no folder " & value & "."
  ElseIf Not fileSystem.FileExists(fileSystem.BuildPath(value, "defaults.dbf")) Then
    RefusedDataFolder = value & " holds no defaults.dbf."
  End If
End Function

Function FindOption(section, key)
  Dim entry
  For Each entry In options
    If StrComp(entry.Section, section, vbTextCompare) = 0 And _
        StrComp(entry.Key, key, vbTextCompare) = 0 Then
      Set FindOption = entry
      Exit Function
    End If
  Next
  Fail 4, "There is no option " & section & " / " & key & "."
End Function

Function FileOf(entry)
  FileOf = options.GlobalIni
  If entry.LocalINI Then FileOf = options.INIFile
  If FileOf = "" Then FileOf = "(no local INI file found)"
End Function

Function ShownValue(entry)
  ShownValue = entry.CurrentValue
  If StrComp(ShownValue, NOT_SET, vbTextCompare) = 0 Then ShownValue = "(not set)"
End Function

' Events of the catalogue.
Sub options_Modified
  WScript.Echo "The library reports: modified."
End Sub

Sub options_Status(programStatus)
  If programStatus <> "" Then WScript.Echo programStatus
End Sub

Sub options_DLLError(number, description)
  dllErrorText = "Error " & number & ": " & description
End Sub

' The error that the library has just raised.
Function RaisedError
  RaisedError = "Error " & Err.Number & " from " & Err.Source & ": " & Err.Description
End Function

Sub Fail(exitCode, text)
  WScript.Echo "options.vbs: " & text
  WScript.Quit exitCode
End Sub
