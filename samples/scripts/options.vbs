' Shows and changes the options of a Tovo shop: the library's use from VBScript.
'
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] list [SECTION]
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] get SECTION KEY
'   cscript //nologo options.vbs [/ini:FILE] [/data:FOLDER] set SECTION KEY VALUE [SECTION KEY VALUE ...]
'
' Ends with 0 when done, 1 after an error of the library, 2 for wrong arguments, 3 when a value is
' refused, 4 when there is no such option, 5 when the data folder or the INI file is missing.
Option Explicit

Const NUMERIC_VALUE = 1, CHOICE_VALUE = 3, INSURANCE_VALUE = 8
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
  If wordCount = 0 Then Fail 2, "Name a command: list, get or set."
  Select Case LCase(words(0))
    Case "list": If wordCount > 2 Then Fail 2, "list takes one section or none."
    Case "get":  If wordCount <> 3 Then Fail 2, "get takes a section and a key."
    Case "set"
      If wordCount < 4 Or (wordCount - 1) Mod 3 <> 0 Then
        Fail 2, "set takes section, key and value, as often as there are changes."
      End If
    Case Else:   Fail 2, "There is no command " & words(0) & "; use list, get or set."
  End Select
End Sub

' Creates the catalogue and loads it. The overrides come first: they tell where to load from.
Sub OpenCatalogue
  Dim loaded
  On Error Resume Next
  Set options = CreateObject("TovoDefaults.Options")
  If Err.Number <> 0 Then Fail 1, "The library is not registered: " & Err.Description
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
    Fail 5, "There is no data folder '" & options.DataPath & "'."
  End If
  loaded = options.Initialize
  If Err.Number <> 0 Then FailWithError
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
  If entry.LocalINI Then
    WScript.Echo "  file    " & options.INIFile
  Else
    WScript.Echo "  file    " & options.GlobalIni
  End If
  For Each choice In entry.Choices
    WScript.Echo "  choice  " & choice.Item & "  " & choice.Description
  Next
  If entry.Comment <> "" Then
    WScript.Echo "  comment " & Replace(entry.Comment, vbCrLf, vbCrLf & Space(10))
  End If
End Sub

' Checks every value, then sets them all and saves once.
Sub ChangeOptions
  Dim index, entry, refusal, saved
  For index = 1 To wordCount - 1 Step 3
    refusal = Refused(FindOption(words(index), words(index + 1)), words(index + 2))
    If refusal <> "" Then
      Fail 3, words(index) & " / " & words(index + 1) & ": " & refusal & " Nothing was saved."
    End If
  Next
  For index = 1 To wordCount - 1 Step 3
    Set entry = FindOption(words(index), words(index + 1))
    WScript.Echo entry.Section & " / " & entry.Key & ": " & ShownValue(entry) & " -> " & _
        words(index + 2)
    entry.NewValue = words(index + 2)
  Next
  dllErrorText = ""
  On Error Resume Next
  saved = options.Save
  If Err.Number <> 0 Then FailWithError
  If Not saved Then Fail 1, "Not saved; the INI files are as before. " & dllErrorText
  WScript.Echo "Saved. The previous files have the ending .old."
End Sub

' Why a value does not fit its option; empty when it does. The library itself stores any text.
Function Refused(entry, value)
  Dim choice, known, point, number, plainNumber
  Set plainNumber = New RegExp
  plainNumber.Pattern = "^[+-]?[0-9]*\.?[0-9]+$"
  Refused = ""
  If Len(value) > 80 Then Refused = "At most 80 characters."
  If entry.OptionType = NUMERIC_VALUE Then
    If Not plainNumber.Test(value) Then
      Refused = "'" & value & "' is not a number."
      Exit Function
    End If
    point = InStr(value, ".")
    ' CDbl reads the decimal sign of the user's country.
    number = CDbl(Replace(value, ".", Mid(CStr(1.5), 2, 1)))
    If (entry.Minimum <> 0 Or entry.Maximum <> 0) And _
        (number < entry.Minimum Or number > entry.Maximum) Then
      Refused = "Allowed is " & entry.Minimum & " to " & entry.Maximum & "."
    ElseIf point > 0 And Len(value) - point > entry.Decimals Then
      Refused = "At most " & entry.Decimals & " decimals."
    End If
  ElseIf entry.OptionType = CHOICE_VALUE Or entry.OptionType = INSURANCE_VALUE Then
    known = ""
    For Each choice In entry.Choices
      If StrComp(choice.Item, value, vbTextCompare) = 0 Then Exit Function
      known = known & " " & choice.Item
    Next
    Refused = "'" & value & "' is not one of:" & known & "."
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

' Ends the script with the error that the library has just raised.
Sub FailWithError
  Fail 1, "Error " & Err.Number & " from " & Err.Source & ": " & Err.Description
End Sub

Sub Fail(exitCode, text)
  WScript.Echo "options.vbs: " & text
  WScript.Quit exitCode
End Sub
