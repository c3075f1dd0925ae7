' Shows how the library and Windows get along on this machine, on a throw-away copy of the sample shop.
' docs/windows-check.md explains how to run it and what its lines mean.
'
'   cscript //nologo windows-check.vbs [/only:N,N] [/shop:FOLDER] [/report:FILE] [/kit] [/boxes]
'
' Ends with 0 when everything that the library promises holds, 1 when something does not, 2 for wrong
' arguments and when there is nothing to check: no library, no sample shop, no room for a copy.
'
' It runs in script hosts that lack parts of VBScript (GetRef, Execute) and of WScript (Sleep,
' ConnectObject), so those are used behind a test, and every check is called by its name.
' It starts itself from the copy with /child: for work in another process and with /hold: for a
' process that keeps a file busy.
Option Explicit

Const LAST_CHECK = 22
Const KIT_CHECK = 21, BOX_CHECK = 22          ' those that are asked for
Const MARKER = "windows-check.marker"     ' stands in every folder that this program may change
Const SAMPLE_MARK = "WorkstationName=FRONT DESK 2"
Const PATIENCE = 60                       ' seconds that another process is waited for
Const NOT_SET = "Not found"
Const BOTH_SAVED = "True, TOVO.INI changed, TOVOGBL.INI changed"
Const NOT_WRITABLE = -2147221501
Const FOR_READING = 1, FOR_APPENDING = 8
Const READ_ONLY = 1, SETTABLE = 39        ' of a file's attributes
Const CLASS_ID = "{3C43CF6B-9492-11D4-B262-0050DA5596B9}"
Const LIBRARY_ID = "{708AC166-84DC-11D4-B262-0050DA5596B9}"
Const KIT_KEY = "HKCU\Software\VB and VBA Program Settings\Tovo\Modules\KitProgram\"

Dim fso, shell
Dim argShop, argOnly, argReport, argKit, argBoxes, argChild, argHold, argFile, argSignal, argOut, argId
Dim workFolder                            ' the copy; empty before it is made
Dim report                                ' the report file, or Nothing
Dim checkNumber, lineNumber, okCount, failedCount, seenCount, notHereCount
Dim runNumber, holders, ids, eventLog, shopSource, folderBefore
Dim driveReturn                           ' the command that gives a borrowed drive letter back
Dim kitWritten                            ' whether a kit program is registered by this program
Dim knownLocal, knownGlobal               ' both INI files of a shop before one is held

Set fso = CreateObject("Scripting.FileSystemObject")
Set shell = CreateObject("WScript.Shell")
Set report = Nothing
Set ids = Nothing
WScript.Quit Main

' ---------------------------------------------------------------------------------------------------
' Arguments, the copy, the report
' ---------------------------------------------------------------------------------------------------

Function Main
  Dim trouble, number
  On Error Resume Next
  Main = 2
  trouble = ReadArguments
  If trouble = "help" Then
    ShowHelp
    Main = 0
    Exit Function
  End If
  If trouble <> "" Then
    WScript.Echo "windows-check: " & trouble
    Exit Function
  End If
  If argChild <> "" Or argHold <> "" Then
    Main = ServeParent
    Exit Function
  End If
  trouble = Prepare
  If Err.Number <> 0 Then trouble = ErrorText("The check could not begin: ")
  Err.Clear
  If trouble = "" Then
    number = 1
    Do While number <= LAST_CHECK
      If Wanted(number) Then RunCheck number
      number = number + 1
    Loop
  End If
  CleanUp
  If trouble <> "" Then
    Tell "windows-check: " & trouble
    Exit Function
  End If
  Tell "Summary: " & okCount & " ok, " & failedCount & " FAILED, " & seenCount & " seen, " & _
      notHereCount & " not available here."
  If Not report Is Nothing Then report.Close
  Main = 0
  If failedCount > 0 Or okCount + seenCount + notHereCount = 0 Then Main = 1
End Function

' Empty text, "help", or what is wrong.
Function ReadArguments
  Dim index, argument, name, value, part
  ReadArguments = ""
  For index = 0 To WScript.Arguments.Count - 1
    argument = WScript.Arguments(index)
    name = LCase(argument)
    value = ""
    If InStr(argument, ":") > 0 Then
      name = LCase(Left(argument, InStr(argument, ":")))
      value = Mid(argument, InStr(argument, ":") + 1)
    End If
    Select Case name
      Case "/?", "-?", "/h", "/help", "--help": ReadArguments = "help": Exit Function
      Case "/kit":     argKit = "yes"
      Case "/boxes":   argBoxes = "yes"
      Case "/only:":   argOnly = value
      Case "/shop:":   argShop = value
      Case "/report:": argReport = value
      Case "/child:":  argChild = value
      Case "/hold:":   argHold = value
      Case "/file:":   argFile = value
      Case "/signal:": argSignal = value
      Case "/out:":    argOut = value
      Case "/id:":     argId = value
      Case Else
        ReadArguments = "There is no option " & argument & "; /? explains them."
        Exit Function
    End Select
    If Right(name, 1) = ":" And value = "" Then
      ReadArguments = "The option " & name & " needs a value behind the colon; /? explains them."
      Exit Function
    End If
  Next
  If argOnly = "" Then Exit Function
  For Each part In Split(argOnly, ",")
    value = 0
    If IsNumeric(part) And Len(part) < 4 And InStr(part, ".") = 0 Then value = CLng(part)
    If value < 1 Or value > LAST_CHECK Then
      ReadArguments = "/only: takes numbers from 1 to " & LAST_CHECK & " with commas between them, not '" & _
          part & "'."
      Exit Function
    End If
  Next
End Function

Sub ShowHelp
  WScript.Echo "Shows how the library and Windows get along, on a throw-away copy of the sample shop."
  WScript.Echo "  cscript //nologo windows-check.vbs [/only:N,N] [/shop:FOLDER] [/report:FILE] [/kit] [/boxes]"
  WScript.Echo "/only:N,N     only the checks of these numbers, 1 to " & LAST_CHECK
  WScript.Echo "/shop:FOLDER  the sample shop, when it is not beside this program; it is copied, not changed"
  WScript.Echo "/report:FILE  writes the lines into a file as well, as Unicode text"
  WScript.Echo "/kit          registers a kit program for this user, for the length of one check"
  WScript.Echo "/boxes        shows the library's message boxes too; somebody has to answer them"
  WScript.Echo "Run it with both script hosts of a 64-bit Windows:"
  WScript.Echo "  %SystemRoot%\System32\cscript.exe and %SystemRoot%\SysWOW64\cscript.exe"
  WScript.Echo "Exit code: 0 all promises hold, 1 one does not, 2 nothing could be checked."
End Sub

Function Wanted(number)
  Wanted = argOnly = ""
  If number = KIT_CHECK Then Wanted = Wanted And argKit <> ""
  If number = BOX_CHECK Then Wanted = Wanted And argBoxes <> ""
  If argOnly <> "" Then Wanted = InStr("," & Replace(argOnly, " ", "") & ",", "," & number & ",") > 0
End Function

' Makes the copy and opens the report. Empty text, or what is missing.
Function Prepare
  Dim options, attempt
  Prepare = ""
  okCount = 0: failedCount = 0: seenCount = 0: notHereCount = 0
  runNumber = 0
  holders = ""
  workFolder = ""
  driveReturn = ""
  kitWritten = False
  If LCase(fso.GetFileName(WScript.FullName)) = "wscript.exe" Then
    Prepare = "Run it with cscript, which writes into the console: cscript //nologo windows-check.vbs"
    Exit Function
  End If
  On Error Resume Next
  Set options = CreateObject("TovoDefaults.Options")
  If Err.Number <> 0 Then
    Prepare = "The library is not registered for this script host (" & Err.Description & _
        "). Install the package of its bitness, or register the library as administrator: regsvr32 tdefault.dll"
    Exit Function
  End If
  Set options = Nothing
  On Error GoTo 0
  shopSource = FindShop
  If shopSource = "" And argShop <> "" Then
    Prepare = argShop & " is not the sample shop: it has no data\defaults.dbf, or its " & _
        "workstation\TOVO.INI is not the sample's. No other shop is ever used."
    Exit Function
  End If
  If shopSource = "" Then
    Prepare = "The sample shop was not found; name it with /shop:FOLDER."
    Exit Function
  End If
  If argReport <> "" Then Prepare = OpenReport
  If Prepare <> "" Then Exit Function
  folderBefore = shell.CurrentDirectory
  For attempt = 1 To 1000
    workFolder = fso.GetSpecialFolder(2) & "\windows-check-" & attempt
    If Not fso.FolderExists(workFolder) Then Exit For
  Next
  fso.CreateFolder workFolder
  WriteText workFolder & "\" & MARKER, "A copy made by windows-check.vbs; it may be deleted." & vbCrLf
  fso.CopyFile WScript.ScriptFullName, workFolder & "\windows-check.vbs"
  Prepare = FolderProblem
  If Prepare = "" Then Tell "windows-check: the copy is in " & workFolder
End Function

' Empty text, or why nothing can be shown in the copy: INI files that cannot name it, or a policy that
' forbids batch files or scripts there, without which most checks would fail for no fault of the library.
Function FolderProblem
  FolderProblem = ""
  If Not IsNarrow(workFolder) Then
    FolderProblem = "The temporary folder, " & workFolder & ", has letters that INI files of this system " & _
        "cannot hold. Let the variable TEMP name another folder, and run it again."
    Exit Function
  End If
  RunLines "echo runs> batch.txt"
  If Not fso.FileExists(workFolder & "\batch.txt") Then
    FolderProblem = "Batch files do not run in " & workFolder & ". A policy may forbid them there: let the " & _
        "variable TEMP name a folder where they run."
  ElseIf ChildWith("", WScript.FullName, "/child:hello") <> "hello" Then
    FolderProblem = "Scripts do not run in " & workFolder & ". A policy may forbid them there: let the " & _
        "variable TEMP name a folder where they run."
  End If
End Function

' Whether the system's code page has all characters of a text.
Function IsNarrow(text)
  IsNarrow = False
  On Error Resume Next
  WriteText workFolder & "\narrow.txt", text
  If Err.Number = 0 Then IsNarrow = ReadText(workFolder & "\narrow.txt") = text
  Err.Clear
End Function

Function OpenReport
  OpenReport = ""
  On Error Resume Next
  Set report = fso.CreateTextFile(argReport, True, True)
  If Err.Number = 0 Then Exit Function
  OpenReport = "The report " & argReport & " cannot be written (" & Err.Description & "); name another file."
  Set report = Nothing
  Err.Clear
End Function

' The sample shop's folder, empty when there is none.
Function FindShop
  Dim folder, level, candidate
  FindShop = ""
  If argShop <> "" Then
    If IsSample(fso.GetAbsolutePathName(argShop)) Then FindShop = fso.GetAbsolutePathName(argShop)
    Exit Function
  End If
  folder = fso.GetParentFolderName(WScript.ScriptFullName)
  For level = 1 To 3
    For Each candidate In Array("\samples\shop", "\shop")
      If FindShop = "" And IsSample(folder & candidate) Then FindShop = folder & candidate
    Next
    folder = fso.GetParentFolderName(folder)
    If folder = "" Then Exit Function
  Next
End Function

Function IsSample(folder)
  IsSample = False
  If Not fso.FileExists(folder & "\data\defaults.dbf") Then Exit Function
  If Not fso.FileExists(folder & "\workstation\TOVO.INI") Then Exit Function
  IsSample = InStr(ReadText(folder & "\workstation\TOVO.INI"), SAMPLE_MARK) > 0
End Function

Sub CleanUp
  Dim attempt
  On Error Resume Next
  If workFolder = "" Then Exit Sub
  GiveBack
  For attempt = 1 To 20
    Err.Clear
    fso.DeleteFolder workFolder, True
    If Not fso.FolderExists(workFolder) Then Exit For
    Rest 250
  Next
  If fso.FolderExists(workFolder) Then
    Tell "windows-check: the copy could not be removed; delete the folder " & workFolder
  End If
  Err.Clear
End Sub

' ---------------------------------------------------------------------------------------------------
' Lines
' ---------------------------------------------------------------------------------------------------

Sub Tell(text)
  WScript.Echo text
  If Not report Is Nothing Then report.WriteLine text
End Sub

Sub Line(tried, what, verdict)
  lineNumber = lineNumber + 1
  Tell checkNumber & "." & lineNumber & " " & tried & ": " & what & " [" & verdict & "]"
End Sub

' What the library promises.
Sub Promise(tried, what, holds)
  If holds Then
    okCount = okCount + 1
    Line tried, what, "ok"
  Else
    failedCount = failedCount + 1
    Line tried, what, "FAILED"
  End If
End Sub

Sub PromiseText(tried, actual, expected)
  If actual = expected Then
    Promise tried, Shown(actual), True
  Else
    Promise tried, Shown(actual) & ", promised is " & Shown(expected), False
  End If
End Sub

' CStr gives the words of the user's language.
Function Word(flag)
  Word = "False"
  If flag Then Word = "True"
End Function

' What is Windows' own affair: told, not judged.
Sub Seen(tried, what)
  seenCount = seenCount + 1
  Line tried, what, "seen"
End Sub

' The same, beside what Wine shows.
Sub SeenBeside(tried, actual, underWine)
  If actual = underWine Then
    Seen tried, Shown(actual) & ", as under Wine"
  Else
    Seen tried, Shown(actual) & ", under Wine " & Shown(underWine)
  End If
End Sub

Sub NotHere(tried, why)
  notHereCount = notHereCount + 1
  Line tried, "not available here: " & why, "not here"
End Sub

' Text between apostrophes, in one line, with what cannot be printed written out.
Function Shown(text)
  Dim index, result
  result = Left(text, 400)
  result = Replace(Replace(Replace(result, vbCr, "\r"), vbLf, "\n"), vbTab, "\t")
  For index = 0 To 31
    result = Replace(result, Chr(index), "<" & Hex(index) & ">")
  Next
  If Len(text) > 400 Then result = result & "... (" & Len(text) & " characters)"
  Shown = "'" & result & "'"
End Function

' The error that was raised last, and clears it.
Function ErrorText(before)
  ErrorText = before & "error " & Err.Number & " from " & Shown(Err.Source) & ": " & Err.Description
  Err.Clear
End Function

' The system's messages end with a line break.
Function OneLine(text)
  OneLine = Trim(Replace(Replace(text, vbCr, ""), vbLf, " "))
End Function

' An error in a check ends that check and is told.
Sub RunCheck(number)
  Dim failure
  On Error Resume Next
  checkNumber = number
  lineNumber = 0
  Tell "-- " & number & " " & Title(number)
  Err.Clear
  CallCheck number
  If Err.Number <> 0 Then
    failure = ErrorText("stopped by ")
    Promise "the check runs to its end", failure, False
  End If
  Err.Clear
  GiveBack
End Sub

' What a check borrowed goes back however it ended: files, the current folder, a drive letter, the
' registration of a kit program.
Sub GiveBack
  On Error Resume Next
  ReleaseHolders
  shell.CurrentDirectory = folderBefore
  ReturnDrive
  RemoveKitProgram
  Err.Clear
End Sub

Function Title(number)
  Dim titles
  titles = Array("", "System and script host", "Registration", "Objects in scripts", "Events in scripts", _
      "INI files: what is read", "INI files: marks and line ends", "INI files: what a save leaves", _
      "Values", "What a save keeps", "Comments of INI files", "Read-only files and folders", _
      "Missing files", "Files that another process holds", "Locks of records", "Folders", _
      "Names of INI files without a folder", "32 and 64 bits", "The FoxPro provider", _
      "Unloading and handles", "Deleted definitions", "The kit program", "Message boxes and the search dialog")
  Title = titles(number)
End Function

Sub CallCheck(number)
  Select Case number
    Case 1:  CheckSystem
    Case 2:  CheckRegistration
    Case 3:  CheckObjects
    Case 4:  CheckEvents
    Case 5:  CheckReading
    Case 6:  CheckMarks
    Case 7:  CheckLayout
    Case 8:  CheckValues
    Case 9:  CheckSaving
    Case 10: CheckComments
    Case 11: CheckReadOnly
    Case 12: CheckMissing
    Case 13: CheckHeld
    Case 14: CheckLocks
    Case 15: CheckFolders
    Case 16: CheckBareName
    Case 17: CheckBitness
    Case 18: CheckProvider
    Case 19: CheckUnloading
    Case 20: CheckDeleted
    Case 21: CheckKitProgram
    Case 22: CheckBoxes
  End Select
End Sub

' ---------------------------------------------------------------------------------------------------
' Files and processes
' ---------------------------------------------------------------------------------------------------

' The bytes as characters of the system's code page; a UTF-16 file read so shows its mark.
Function ReadText(path)
  Dim stream
  ReadText = ""
  If fso.GetFile(path).Size = 0 Then Exit Function
  Set stream = fso.OpenTextFile(path, FOR_READING, False, 0)
  ReadText = stream.ReadAll
  stream.Close
End Function

Function ReadUnicode(path)
  Dim stream
  ReadUnicode = ""
  If fso.GetFile(path).Size < 3 Then Exit Function
  Set stream = fso.OpenTextFile(path, FOR_READING, False, -1)
  ReadUnicode = stream.ReadAll
  stream.Close
End Function

Sub WriteText(path, text)
  Dim stream
  Set stream = fso.CreateTextFile(path, True, False)
  stream.Write text
  stream.Close
End Sub

Sub WriteUnicode(path, text)
  Dim stream
  Set stream = fso.CreateTextFile(path, True, True)
  stream.Write text
  stream.Close
End Sub

' "a|b|" is two lines.
Function Lines(text)
  Lines = Replace(text, "|", vbCrLf)
End Function

Sub SetReadOnly(path, wanted)
  Dim file
  Set file = fso.GetFile(path)
  If wanted Then
    file.Attributes = (file.Attributes And SETTABLE) Or READ_ONLY
  ElseIf (file.Attributes And READ_ONLY) <> 0 Then
    file.Attributes = (file.Attributes And SETTABLE) - READ_ONLY
  End If
End Sub

' Empty text when the file can be opened for writing beside what others do with it, else why not.
Function WriteRefusal(path)
  Dim stream
  WriteRefusal = ""
  On Error Resume Next
  Set stream = fso.OpenTextFile(path, FOR_APPENDING)
  If Err.Number <> 0 Then
    WriteRefusal = "error " & Err.Number & ", " & Err.Description
  Else
    stream.Close
  End If
  Err.Clear
End Function

Function ReadRefusal(path)
  Dim text
  ReadRefusal = ""
  On Error Resume Next
  text = ReadText(path)
  If Err.Number <> 0 Then ReadRefusal = "error " & Err.Number & ", " & Err.Description
  Err.Clear
End Function

' Names of temporary copies that are left in a shop's two folders.
Function Leftovers(shop)
  Dim folder, file
  Leftovers = ""
  For Each folder In Array(shop & "\data", shop & "\workstation")
    For Each file In fso.GetFolder(folder).Files
      If LCase(Right(file.Name, 4)) = ".tmp" Then Leftovers = Leftovers & " " & file.Name
    Next
  Next
  Leftovers = Trim(Leftovers)
End Function

Sub Rest(milliseconds)
  On Error Resume Next
  WScript.Sleep milliseconds
  Err.Clear
End Sub

' A clock in seconds, for differences.
Function Seconds
  Seconds = CDbl(Now) * 86400
End Function

' Runs lines of a batch file in the copy and waits. The exit code of the last one.
' Names in the lines are relative to the copy: batch files are read in another code page.
Function RunLines(text)
  RunLines = shell.Run(BatchOf(text), 0, True)
End Function

Function BatchOf(text)
  Dim path
  runNumber = runNumber + 1
  path = workFolder & "\run-" & runNumber & ".cmd"
  WriteText path, Lines("@echo off|cd /d ""%~dp0""|" & text & "|")
  BatchOf = "cmd /c call """ & path & """"
End Function

' What a command writes.
Function OutputOf(command)
  Dim name
  name = "output-" & (runNumber + 1) & ".txt"
  RunLines command & " > " & name & " 2>&1"
  OutputOf = ""
  If fso.FileExists(workFolder & "\" & name) Then OutputOf = ReadText(workFolder & "\" & name)
End Function

' This program in another process, with a script host and settings in front ("set A=1|"). What it wrote.
Function ChildWith(settings, host, arguments)
  Dim name
  name = "child-" & (runNumber + 1) & ".txt"
  RunLines settings & """" & host & """ //nologo windows-check.vbs /out:" & name & " " & arguments & _
      " > child-console.txt 2>&1"
  ChildWith = ""
  If fso.FileExists(workFolder & "\" & name) Then ChildWith = ReadUnicode(workFolder & "\" & name)
End Function

' Starts a process that keeps a file (relative to the copy) busy, and waits until it does. True when it
' does. Kinds: "write", a script host writing to it; "alone", nobody else may open it; "bytes", its first
' bytes are locked; "records", the bytes are locked that stand for records 1 to 1000 of a table; "edit", a
' row that the provider edits.
Function Hold(kind, file, host)
  Dim signal, command
  signal = "hold-" & (runNumber + 1)
  If kind = "alone" Or kind = "bytes" Or kind = "records" Then
    WriteHoldingProgram
    command = "powershell.exe -NoProfile -NonInteractive -ExecutionPolicy Bypass -File hold.ps1 " & kind & _
        " """ & file & """ " & signal
  Else
    command = """" & host & """ //nologo windows-check.vbs /hold:" & kind & " ""/file:" & file & _
        """ /signal:" & signal
  End If
  shell.Run BatchOf(command & " > " & signal & ".txt 2>&1|echo ended> " & signal & ".ended"), 0, False
  holders = Trim(holders & " " & signal)
  Hold = WaitForFile(signal & ".held", signal & ".ended")
End Function

' True when the first file has come, False when the second has or neither does.
Function WaitForFile(good, bad)
  Dim start
  start = Seconds
  WaitForFile = False
  Do
    If fso.FileExists(workFolder & "\" & good) Then
      WaitForFile = True
      Exit Function
    End If
    If bad <> "" Then
      If fso.FileExists(workFolder & "\" & bad) Then
        WaitForFile = fso.FileExists(workFolder & "\" & good)
        Exit Function
      End If
    End If
    If Seconds - start > PATIENCE Then Exit Function
    Rest 50
  Loop
End Function

' Why the last holder did not hold.
Function HoldProblem
  Dim path
  path = workFolder & "\hold-" & runNumber & ".txt"
  HoldProblem = "the process that should hold the file ended"
  If fso.FileExists(path) Then
    If fso.GetFile(path).Size > 0 Then HoldProblem = HoldProblem & ": " & Left(OneLine(ReadText(path)), 200)
  End If
End Function

Sub ReleaseHolders
  Dim signal
  If holders = "" Then Exit Sub
  For Each signal In Split(holders, " ")
    WriteText workFolder & "\" & signal & ".release", "release"
    WaitForFile signal & ".ended", ""
  Next
  holders = ""
End Sub

Sub WriteHoldingProgram
  If fso.FileExists(workFolder & "\hold.ps1") Then Exit Sub
  ' Record n of a table is locked by the byte 0x7FFFFFFE - n.
  WriteText workFolder & "\hold.ps1", Lines("param([string]$kind, [string]$file, [string]$signal)|" & _
      "$ErrorActionPreference = 'Stop'|" & _
      "$share = if ($kind -eq 'alone') { 'None' } else { 'ReadWrite' }|" & _
      "$path = (Resolve-Path -LiteralPath $file).Path|" & _
      "$stream = [IO.File]::Open($path, 'Open', 'ReadWrite', $share)|" & _
      "if ($kind -eq 'records') { $stream.Lock(0x7FFFFFFE - 1000, 1000) }|" & _
      "if ($kind -eq 'bytes') { $stream.Lock(0, 64) }|" & _
      "Set-Content ""$signal.held"" 'held'|" & _
      "$until = (Get-Date).AddSeconds(300)|" & _
      "while (-not (Test-Path ""$signal.release"") -and (Get-Date) -lt $until) " & _
      "{ Start-Sleep -Milliseconds 50 }|" & _
      "$stream.Close()|")
End Sub

' The script host of the other bitness, empty when there is none.
Function OtherHost
  Dim name
  OtherHost = ""
  name = Expanded("%SystemRoot%") & "\Sysnative\cscript.exe"
  If Not Is64Bit And fso.FileExists(name) Then OtherHost = name
  name = Expanded("%SystemRoot%") & "\SysWOW64\cscript.exe"
  If Is64Bit And fso.FileExists(name) Then OtherHost = name
End Function

Function Is64Bit
  Is64Bit = LCase(Expanded("%PROCESSOR_ARCHITECTURE%")) <> "x86"
End Function

' Some hosts give the zero character at the end as well.
Function Expanded(text)
  Expanded = shell.ExpandEnvironmentStrings(text)
  If Right(Expanded, 1) = Chr(0) Then Expanded = Left(Expanded, Len(Expanded) - 1)
End Function

' A value of the registry, empty when there is none.
Function RegistryText(name)
  RegistryText = ""
  On Error Resume Next
  RegistryText = shell.RegRead(name)
  Err.Clear
End Function

' ---------------------------------------------------------------------------------------------------
' Shops
' ---------------------------------------------------------------------------------------------------

' A fresh copy of the sample shop in the work folder.
Function NewShop(name)
  Dim part, file, ini
  NewShop = workFolder & "\" & name
  If fso.FolderExists(NewShop) Then Err.Raise 58, "NewShop", "The copy " & name & " exists"
  fso.CreateFolder NewShop
  WriteText NewShop & "\" & MARKER, "A copy made by windows-check.vbs; it may be deleted." & vbCrLf
  For Each part In Array("data", "workstation")
    fso.CreateFolder NewShop & "\" & part
    For Each file In fso.GetFolder(shopSource & "\" & part).Files
      fso.CopyFile file.Path, NewShop & "\" & part & "\" & file.Name
      SetReadOnly NewShop & "\" & part & "\" & file.Name, False
    Next
  Next
  ini = LocalIni(NewShop)
  WriteText ini, Replace(ReadText(ini), "C:\SHOP\DATA", NewShop & "\data")
End Function

Function LocalIni(shop)
  LocalIni = shop & "\workstation\TOVO.INI"
End Function

Function GlobalIni(shop)
  GlobalIni = shop & "\data\TOVOGBL.INI"
End Function

' The copy's catalogue, loaded.
Function OpenShop(shop)
  Set OpenShop = OpenAt(shop, shop & "\data")
End Function

' The same with another path to its data folder. Raises what the library raises.
Function OpenAt(shop, dataPath)
  Dim options, candidate
  If Not fso.FileExists(shop & "\" & MARKER) Or Not fso.FolderExists(dataPath) Then
    Err.Raise 75, "OpenAt", shop & " is not a copy of this program, so it is not opened"
  End If
  Set options = CreateObject("TovoDefaults.Options")
  options.DataPath = dataPath
  NameIniFile options, LocalIni(shop)
  If Not options.Initialize Then Err.Raise 76, "OpenAt", "Initialize gave False for " & dataPath
  Set OpenAt = options
  If Not ids Is Nothing Then Exit Function
  Set ids = CreateObject("Scripting.Dictionary")
  For Each candidate In options
    ids(LCase(candidate.Section & "/" & candidate.Key)) = candidate.ID
  Next
End Function

' Naming the file loads the catalogue; Initialize reports what is wrong with that.
Sub NameIniFile(options, path)
  On Error Resume Next
  options.INIFile = path
  Err.Clear
End Sub

' The number of the error with which opening fails; the texts come back in the two variables.
Function OpenError(shop, source, description)
  Dim options
  On Error Resume Next
  Set options = OpenShop(shop)
  OpenError = Err.Number
  source = Err.Source
  description = Err.Description
  Err.Clear
End Function

' The option of "Section/Key".
Function OptionOf(options, name)
  Set OptionOf = options(CStr(ids(LCase(name))))
End Function

' Saves, lets go of what is held, and compares both files with what they were; files that are held
' with what was known of them before. "True" or "False", with what changed and what was left behind.
Function SaveOutcome(options, shop)
  Dim localBefore, globalBefore
  localBefore = ReadIfThere(LocalIni(shop))
  If localBefore = "(held)" Then localBefore = knownLocal
  globalBefore = ReadIfThere(GlobalIni(shop))
  If globalBefore = "(held)" Then globalBefore = knownGlobal
  SaveOutcome = "False"
  If options.Save Then SaveOutcome = "True"
  ReleaseHolders
  If ReadIfThere(LocalIni(shop)) <> localBefore Then SaveOutcome = SaveOutcome & ", TOVO.INI changed"
  If ReadIfThere(GlobalIni(shop)) <> globalBefore Then SaveOutcome = SaveOutcome & ", TOVOGBL.INI changed"
  If Leftovers(shop) <> "" Then SaveOutcome = SaveOutcome & ", left behind " & Leftovers(shop)
End Function

Function ReadIfThere(path)
  ReadIfThere = "(none)"
  If fso.FileExists(path) Then
    If ReadRefusal(path) = "" Then ReadIfThere = ReadText(path) Else ReadIfThere = "(held)"
  End If
End Function

' ---------------------------------------------------------------------------------------------------
' What another process of this program does
' ---------------------------------------------------------------------------------------------------

' Only from the copy: the folder of this script has to be one.
Function ServeParent
  ServeParent = 2
  workFolder = fso.GetParentFolderName(WScript.ScriptFullName)
  If Not fso.FileExists(workFolder & "\" & MARKER) Then
    WScript.Echo "windows-check: /child: and /hold: are for the program's own use."
    Exit Function
  End If
  ServeParent = 1
  On Error Resume Next
  If argHold <> "" Then
    KeepBusy
  Else
    WriteUnicode workFolder & "\" & argOut, ChildText
  End If
  If Err.Number = 0 Then ServeParent = 0 Else WScript.Echo ErrorText("")
End Function

' Holds the file until the parent lets go, ends, or does not come back.
Sub KeepBusy
  Dim stream, connection, rows, start
  If argHold = "edit" Then
    Set connection = CreateObject("ADODB.Connection")
    connection.Open ProviderText(fso.GetParentFolderName(workFolder & "\" & argFile))
    Set rows = CreateObject("ADODB.Recordset")
    rows.Open "SELECT * FROM DEFAULTS WHERE Inisection = 'Backup'", connection, 1, 2
    Do Until rows.EOF
      If Trim(rows.Fields("Key").Value) = "Generations" Then Exit Do
      rows.MoveNext
    Loop
    rows.Fields("Linkfield").Value = "edited"
  Else
    Set stream = fso.OpenTextFile(workFolder & "\" & argFile, FOR_APPENDING)
  End If
  WriteText workFolder & "\" & argSignal & ".held", "held"
  start = Seconds
  Do Until fso.FileExists(workFolder & "\" & argSignal & ".release")
    If Seconds - start > 300 Or Not fso.FolderExists(workFolder) Then Exit Do
    Rest 50
  Loop
  If argHold = "edit" Then rows.CancelUpdate Else stream.Close
End Sub

Function ProviderText(dataFolder)
  ProviderText = "Provider=VFPOLEDB.1;SourceType=dbf;Data Source=" & dataFolder & _
      ";Mode=ReadWrite|Share Deny None;Collating Sequence=GENERAL;Deleted=TRUE;"
End Function

' The answer to /child:. /file: names the shop, relative to the copy.
Function ChildText
  Dim connection, options, start, answer
  If argChild = "hello" Then
    ChildText = "hello"
    Exit Function
  End If
  If argChild = "tables" Then
    ChildText = TablesOf(workFolder & "\" & argFile & "\data")
    Exit Function
  End If
  If argChild = "provider" Then
    On Error Resume Next
    Set connection = CreateObject("ADODB.Connection")
    If Err.Number = 0 Then connection.Open ProviderText(workFolder & "\" & argFile & "\data")
    If Err.Number = 0 Then
      ChildText = "opened, ADO " & connection.Version
    Else
      ChildText = ErrorText("")
    End If
    Err.Clear
    Exit Function
  End If
  On Error Resume Next
  Set options = OpenShop(workFolder & "\" & argFile)
  If Err.Number <> 0 Then
    ChildText = ErrorText("")
    Exit Function
  End If
  Select Case argChild
    Case "dump":   ChildText = DumpOf(options)
    Case "change": ChildText = ChangesOf(options)
    Case "handles": ChildText = HandlesOf(options)
    Case "delete"
      start = Seconds
      answer = options.DeleteOption(argId)
      ChildText = Word(answer) & " " & CStr(CLng(Seconds - start))
  End Select
  If Err.Number <> 0 Then ChildText = ErrorText("")
End Function

' Everything that a host sees, a line for each option and layout.
Function DumpOf(options)
  Dim candidate, choice, layout, count, result
  count = 0
  result = ""
  For Each candidate In options
    count = count + 1
    result = result & count & "|" & candidate.ID & "|" & Word(candidate.LocalINI) & "|" & candidate.Section & _
        "|" & candidate.Key & "|" & candidate.Linkedfield & "|" & candidate.OptionType & "|" & _
        candidate.Minimum & "|" & candidate.Maximum & "|" & candidate.Decimals & "|" & _
        candidate.Default & "|" & candidate.Comment & "|" & candidate.CurrentValue & "|" & _
        candidate.AdditionalProc & "|" & Word(candidate.Commented)
    For Each choice In candidate.Choices
      result = result & "|" & choice.Item & "=" & choice.Description
    Next
    result = result & vbCrLf
  Next
  For Each layout In options.ReportTypes
    result = result & layout.ReportName & "|" & layout.Name & "|" & layout.Description & "|" & _
        Word(layout.CurrentReport) & "|" & PictureText(layout) & vbCrLf
  Next
  DumpOf = result & count & " options"
End Function

' Some script hosts cannot take an array of bytes.
Function PictureText(layout)
  Dim picture
  PictureText = "a picture"
  On Error Resume Next
  picture = layout.Picture
  PictureText = "picture of type " & VarType(picture) & ", " & (UBound(picture) + 1) & " bytes"
  Err.Clear
End Function

' Changes of tables and of INI files by the tables, and what they answer.
Function ChangesOf(options)
  Dim id, before, ini
  ini = workFolder & "\" & argFile & "\data\any.ini"
  WriteText ini, Lines("[Backup]|Generations=7|[Tax]|Rate1=5|")
  before = options.Count
  id = "none"
  ChangesOf = "exists " & Word(options.SectionKeyExists("backup", "GENERATIONS", False, id))
  ChangesOf = ChangesOf & " " & id
  ChangesOf = ChangesOf & "; comments " & Word(options.CommentFile(ini)) & " " & Shown(ReadText(ini))
  ChangesOf = ChangesOf & "; numbers " & NumberingChange(options)
  ChangesOf = ChangesOf & "; kits " & KitChange(options)
  ChangesOf = ChangesOf & "; deleted " & Word(options.DeleteOption(id)) & ", " & (before - options.Count) & " less"
  ChangesOf = ChangesOf & "; exists " & Word(options.SectionKeyExists("backup", "GENERATIONS", False))
End Function

' A save that changes the numbering sets a counter of table Numbers.
Function NumberingChange(options)
  OptionOf(options, "WorkOrders/MAKEWOANDINVOICESAMENUMBER").NewValue = "True"
  NumberingChange = Word(options.Save)
End Function

' The rows of the tables that a save changes, as the provider reads them.
Function TablesOf(dataFolder)
  Dim connection, rows, name, index
  Set connection = CreateObject("ADODB.Connection")
  connection.Open ProviderText(dataFolder)
  TablesOf = ""
  For Each name In Array("Need", "Numbers")
    Set rows = connection.Execute("SELECT * FROM " & name)
    Do Until rows.EOF
      TablesOf = TablesOf & name
      For index = 0 To rows.Fields.Count - 1
        TablesOf = TablesOf & "|" & rows.Fields(index).Value
      Next
      TablesOf = TablesOf & vbCrLf
      rows.MoveNext
    Loop
    rows.Close
  Next
  connection.Close
End Function

' The handles of this process before and after much work; empty text where they cannot be counted.
Function HandlesOf(options)
  Dim count, before
  For count = 1 To 5
    options.Refresh
    options.Save
  Next
  HandleCount
  before = HandleCount
  For count = 1 To 20
    options.Refresh
    options.Save
  Next
  HandlesOf = ""
  If before > 0 Then HandlesOf = before & " before, " & HandleCount & " after"
End Function

' 0 where the system does not tell. The process is the one of this /out: in its command line.
' Asked from the system's folder: a server that the question starts stays for a while in the folder where
' it was started, and the copy could not be removed.
Function HandleCount
  Dim system, process, folder
  HandleCount = 0
  On Error Resume Next
  folder = shell.CurrentDirectory
  shell.CurrentDirectory = fso.GetSpecialFolder(1)
  Set system = GetObject("winmgmts:{impersonationLevel=impersonate}!\\.\root\cimv2")
  For Each process In system.ExecQuery("SELECT * FROM Win32_Process WHERE Name = 'cscript.exe'")
    If InStr(process.CommandLine, "/out:" & argOut & " ") > 0 Then HandleCount = process.HandleCount
  Next
  If Err.Number <> 0 Then HandleCount = 0
  shell.CurrentDirectory = folder
  Err.Clear
End Function

' A save that changes the kit choice rewrites table Need. Not where a kit program is registered: that
' would run instead.
Function KitChange(options)
  KitChange = "not tried, a kit program is registered"
  If KitProgramRegistered Then Exit Function
  OptionOf(options, "OPTIONS/KITCHOICE").NewValue = "2"
  KitChange = Word(options.Save)
End Function

Function KitProgramRegistered
  KitProgramRegistered = RegistryText(KIT_KEY & "Program") <> "" Or RegistryText(KIT_KEY & "Path") <> "" Or _
      RegistryText(KIT_KEY & "Parms") <> ""
End Function

' ---------------------------------------------------------------------------------------------------
' 1 to 4: system, registration, objects, events
' ---------------------------------------------------------------------------------------------------

Sub CheckSystem
  Const PAGES = "HKLM\SYSTEM\CurrentControlSet\Control\Nls\CodePage\"
  Const CURRENT = "HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion\"
  Dim options
  Seen "system", OneLine(OutputOf("ver")) & ", " & RegistryText(CURRENT & "ProductName") & " " & _
      RegistryText(CURRENT & "CurrentBuild")
  If fso.FileExists(fso.GetSpecialFolder(1) & "\winecfg.exe") Then Seen "this is not Windows", "Wine"
  If Is64Bit Then
    Seen "script host", WScript.FullName & ", 64 bits"
  Else
    Seen "script host", WScript.FullName & ", 32 bits"
  End If
  Seen "code pages", "ANSI " & AnsiPage & ", OEM " & RegistryText(PAGES & "OEMCP")
  Seen "numbers and dates of this user", CStr(1.5) & ", " & FormatDateTime(DateSerial(2001, 3, 7), 2)
  Seen "user", Expanded("%USERDOMAIN%\%USERNAME%") & AdministratorText
  Seen "settings of table access (a name between percent signs is not set)", _
      Expanded("TDEFAULT_TABLES=%TDEFAULT_TABLES%, TDEFAULT_LOCK_WAIT=%TDEFAULT_LOCK_WAIT%")
  Set options = CreateObject("TovoDefaults.Options")
  Seen "version of the library", options.Version
End Sub

Function AnsiPage
  AnsiPage = RegistryText("HKLM\SYSTEM\CurrentControlSet\Control\Nls\CodePage\ACP")
End Function

' Elsewhere Chr does not give every byte, and a file's text not every byte of it.
Function OneByteLetters
  OneByteLetters = AnsiPage = "874" Or Left(AnsiPage, 3) = "125"
End Function

' Administrators that have confirmed it belong to the group of this identifier's integrity level.
Function AdministratorText
  AdministratorText = ", rights not known"
  If RunLines("whoami /groups > groups.txt 2>&1") <> 0 Then Exit Function
  AdministratorText = ", as a normal user"
  If InStr(ReadText(workFolder & "\groups.txt"), "S-1-16-12288") > 0 Then
    AdministratorText = ", as administrator"
  End If
End Function

Sub CheckRegistration
  Const CLASSES = "HKCR\CLSID\"
  Dim server, bits, view, answer
  PromiseText "TovoDefaults.Options names the class", _
      UCase(RegistryText("HKCR\TovoDefaults.Options\CLSID\")), CLASS_ID
  server = RegistryText(CLASSES & CLASS_ID & "\InprocServer32\")
  Promise "the class names a library that is there", Shown(server), fso.FileExists(server)
  PromiseText "threading model", RegistryText(CLASSES & CLASS_ID & "\InprocServer32\ThreadingModel"), "Apartment"
  PromiseText "the class names its type library", UCase(RegistryText(CLASSES & CLASS_ID & "\TypeLib\")), LIBRARY_ID
  bits = "win32"
  If Is64Bit Then bits = "win64"
  server = RegistryText("HKCR\TypeLib\" & LIBRARY_ID & "\68.0\0\" & bits & "\")
  Promise "type library 104.0 of this bitness", Shown(server), server <> ""
  Seen "name of the type library", Shown(RegistryText("HKCR\TypeLib\" & LIBRARY_ID & "\68.0\"))
  For Each view In Array("32", "64")
    answer = OneLine(OutputOf("reg query HKCR\CLSID\" & CLASS_ID & "\InprocServer32 /ve /reg:" & view))
    Seen "the " & view & "-bit classes of this machine", Shown(answer)
  Next
  answer = CreateByIdentifier(CLASS_ID)
  If answer <> "" Then
    NotHere "classes that only Options hands out", "objects by class identifier (" & answer & ")"
    Exit Sub
  End If
  answer = CreateByIdentifier("{3C43CF73-9492-11D4-B262-0050DA5596B9}")
  Promise "an INIOption cannot be created", Shown(answer), answer <> ""
End Sub

' Empty text, or why there is no object.
Function CreateByIdentifier(identifier)
  Dim made
  CreateByIdentifier = ""
  On Error Resume Next
  Set made = GetObject("new:" & identifier)
  If Err.Number <> 0 Then CreateByIdentifier = "error " & Err.Number & ", " & OneLine(Err.Description)
  Err.Clear
End Function

Sub CheckObjects
  Dim options, first, count, candidate, shop, ignored, number
  shop = NewShop("objects")
  Set options = OpenShop(shop)
  Set first = options(1)
  SeenBeside "TypeName of the catalogue", TypeName(options), "_Options"
  SeenBeside "TypeName of an option", TypeName(first), "_INIOption"
  SeenBeside "TypeName of the layouts", TypeName(options.ReportTypes), "_Reports"
  PromiseText "options(1) is the default member", first.Section & "/" & first.Key, "Defaults/DataPath"
  PromiseText "by its ID in lower case", options(LCase(first.ID)).Key, "DataPath"
  Promise "options(1) Is options(1)", Word(options(1) Is options(1)), options(1) Is options(1)
  count = 0
  For Each candidate In options
    count = count + 1
  Next
  Promise "For Each gives every option", count & " of " & options.Count, count = options.Count And count = 164
  PromiseText "default member of the choices", OptionOf(options, "Windows/ColourScheme").Choices(2).Item, "1"
  CheckReferences options, shop
  On Error Resume Next
  ignored = options.AddtnlProcError
  number = Err.Number
  Seen "reading a property that can be written only", ErrorText("")
  Promise "it is refused", CStr(number), number <> 0
  Set ignored = options("no such ID")
  PromiseText "an ID that does not exist", CStr(Err.Number) & " " & Err.Source, "5 :Item"
  Err.Clear
  Set ignored = options.Item(1, 2, 3)
  Seen "too many arguments", ErrorText("")
  ignored = options.CommentFile(Nothing)
  Seen "Nothing for a text", ErrorText("")
  On Error GoTo 0
  CheckJScript shop
End Sub

' Variables of a script for parameters by reference.
Sub CheckReferences(options, shop)
  Dim id, found, places, added, words, pricing, path
  id = "before"
  found = Word(options.SectionKeyExists("tax", "RATE1", False, id))
  PromiseText "a variable for the ID of a definition", found & " " & id, _
      "True " & OptionOf(options, "Tax/Rate1").ID
  id = "before"
  found = Word(options.SectionKeyExists("tax", "no such key", False, id))
  PromiseText "it stays when there is none", found & " " & id, "False before"
  places = 2
  Set added = options.Add(False, "Tax", "Added", "", 1, "", "", 0, 9, places)
  PromiseText "a variable for the decimals of a new option", places & " " & added.Decimals, "2 2"
  words = "Sepia"
  PromiseText "a variable for the description of a choice", added.Choices.Add("4", words).Description, "Sepia"
  pricing = False
  path = shop & "\data\style.ini"
  WriteText path, ""
  options.ReportTypes.SaveReports "inv1", pricing, path
  found = ReadText(path)
  PromiseText "variables for the file of a layout, and whether it shows prices", _
      LineWith(found, "InvoiceStyle=I") & " " & LineWith(found, "DedI") & " " & LineWith(found, "Fax"), _
      "InvoiceStyle=INV1 DedInvoiceStyle=INV1D$ FaxReport=inv1"
End Sub

Sub CheckJScript(shop)
  Dim answer
  WriteText workFolder & "\objects.js", Lines("var options = new ActiveXObject('TovoDefaults.Options');|" & _
      "var shop = WScript.ScriptFullName.replace('objects.js', 'objects');|" & _
      "options.DataPath = shop + '\\data';|" & _
      "options.INIFile = shop + '\\workstation\\TOVO.INI';|" & _
      "var count = 0, raised = 0;|" & _
      "options.Initialize();|" & _
      "for (var each = new Enumerator(options); !each.atEnd(); each.moveNext()) count++;|" & _
      "try { count += options('none').Count; } catch (error) { raised = error.number & 0xFFFF; }|" & _
      "WScript.Echo(options(1).Key + ' ' + count + ' ' + raised);|")
  answer = OneLine(OutputOf("""" & WScript.FullName & """ //nologo objects.js"))
  PromiseText "JScript: default member, enumeration, error", answer, "DataPath 164 5"
End Sub

Sub CheckEvents
  Dim shop, options, problem, saved
  shop = NewShop("events")
  Set options = OpenShop(shop)
  eventLog = ""
  problem = Connect(options, "Sink_")
  If problem <> "" Then
    NotHere "event sinks of the script host", problem
    Exit Sub
  End If
  OptionOf(options, "Defaults/WorkstationName").NewValue = "EVENTS"
  saved = options.Save
  Promise "a save with a sink", Word(saved), saved
  PromiseText "its events", eventLog, "Modified;"
  eventLog = ""
  If KitProgramRegistered Then
    NotHere "the event Status", "a kit program is registered for this user, and would be run"
  Else
    OptionOf(options, "OPTIONS/KITCHOICE").NewValue = "2"
    saved = options.Save
    Promise "a save that changes the kit choice", Word(saved), saved
    PromiseText "its events", eventLog, "Status '';Modified;"
  End If
  eventLog = ""
  fso.DeleteFile GlobalIni(shop)
  saved = options.Save
  Promise "a save without TOVOGBL.INI fails", Word(saved), Not saved
  Promise "it tells DLLError, and the number is 53", eventLog, Left(eventLog, 32) = "DLLError 53 'MakeTempCopy:SaveCh"
  WScript.DisconnectObject options
  eventLog = ""
  options.Save
  PromiseText "no event after DisconnectObject", eventLog, ""
  Seen "CreateObject with a prefix", EventsOfPrefix(shop)
  Seen "events of an option (the library raises none by itself)", EventsOfOption(options)
  CheckJScriptEvents
End Sub

Sub CheckJScriptEvents
  WriteText GlobalIni(NewShop("jsevents")), ""
  WriteText workFolder & "\events.js", Lines("var seen = '';|" & _
      "var shop = WScript.ScriptFullName.replace('events.js', 'jsevents');|" & _
      "function Sink_Modified() { seen += 'Modified;'; }|" & _
      "function Sink_DLLError(number, text) { seen += 'DLLError ' + number + ' ' + text.substr(0, 12) + ';'; }|" & _
      "var options = new ActiveXObject('TovoDefaults.Options');|" & _
      "WScript.ConnectObject(options, 'Sink_');|" & _
      "options.DataPath = shop + '\\data';|" & _
      "options.INIFile = shop + '\\workstation\\TOVO.INI';|" & _
      "options.Initialize();|" & _
      "options.Save();|" & _
      "new ActiveXObject('Scripting.FileSystemObject').DeleteFile(options.GlobalIni);|" & _
      "options.Save();|" & _
      "WScript.Echo(seen);|")
  PromiseText "JScript: events of a save, and of one that fails", _
      OneLine(OutputOf("""" & WScript.FullName & """ //nologo events.js")), "Modified;DLLError 53 MakeTempCopy;"
End Sub

' Empty text, or why the host cannot connect.
Function Connect(object, prefix)
  Connect = ""
  On Error Resume Next
  WScript.ConnectObject object, prefix
  If Err.Number <> 0 Then Connect = "WScript.ConnectObject, error " & Err.Number & " " & Err.Description
  Err.Clear
End Function

Function EventsOfPrefix(shop)
  Dim options
  On Error Resume Next
  eventLog = ""
  Set options = WScript.CreateObject("TovoDefaults.Options", "Sink_")
  options.DataPath = shop & "\data"
  options.INIFile = LocalIni(shop)
  options.Initialize
  WriteText GlobalIni(shop), ""
  EventsOfPrefix = Word(options.Save) & ", " & eventLog
  If Err.Number <> 0 Then EventsOfPrefix = ErrorText("")
  Err.Clear
End Function

Function EventsOfOption(options)
  Dim first
  Set first = options(2)
  eventLog = ""
  EventsOfOption = Connect(first, "Option_")
  first.NewValue = "C:\ELSEWHERE"
  If EventsOfOption = "" Then EventsOfOption = "'" & eventLog & "'"
End Function

Sub Sink_Modified
  eventLog = eventLog & "Modified;"
End Sub

Sub Sink_Status(programStatus)
  eventLog = eventLog & "Status '" & programStatus & "';"
End Sub

Sub Sink_DLLError(number, description)
  eventLog = eventLog & "DLLError " & number & " '" & description & "';"
End Sub

Sub Option_INIModified(modified)
  eventLog = eventLog & "INIModified " & modified & ";"
End Sub

' ---------------------------------------------------------------------------------------------------
' 5 to 8: INI files
' ---------------------------------------------------------------------------------------------------

' What the option Defaults/WorkstationName reads when the local INI file has this text.
Function ReadBack(options, shop, text)
  WriteText LocalIni(shop), text
  options.Refresh
  ReadBack = OptionOf(options, "Defaults/WorkstationName").CurrentValue
End Function

Sub CheckReading
  Dim options, shop
  shop = NewShop("reading")
  Set options = OpenShop(shop)
  PromisedReads options, shop
  SeenReads options, shop, "blanks around a key and its value", "[Defaults]|  WorkstationName  =  v w  |", "v w"
  SeenReads options, shop, "tabs around a key", "[Defaults]|" & vbTab & "WorkstationName" & vbTab & "=v|", "v"
  SeenReads options, shop, "blanks inside a header", "[ Defaults ]|WorkstationName=v|", "v"
  SeenReads options, shop, "blanks before a header", "  [Defaults]|WorkstationName=v|", "v"
  SeenReads options, shop, "text behind a header", "[Defaults] text|WorkstationName=v|", "v"
  SeenReads options, shop, "a header without its bracket", "[Defaults|WorkstationName=v|", NOT_SET
  SeenReads options, shop, "equal keys", "[Defaults]|WorkstationName=v|WorkstationName=w|", "v"
  SeenReads options, shop, "equal sections, key in the first", _
      "[Defaults]|WorkstationName=v|[X]|x=1|[Defaults]|WorkstationName=w|", "v"
  SeenReads options, shop, "equal sections, key in the second", _
      "[Defaults]|a=b|[X]|x=1|[Defaults]|WorkstationName=w|", NOT_SET
  SeenReads options, shop, "nothing behind the equals sign", "[Defaults]|WorkstationName=|", ""
  SeenReads options, shop, "a key without an equals sign", "[Defaults]|WorkstationName|", NOT_SET
  SeenReads options, shop, "an equals sign in the value", "[Defaults]|WorkstationName=a=b|", "a=b"
  SeenReads options, shop, "a comment indented", "[Defaults]|  ;WorkstationName=v|WorkstationName=w|", "w"
  SeenReads options, shop, "one quotation mark", "[Defaults]|WorkstationName=""v|", """v"
  SeenReads options, shop, "quotation marks around a part", "[Defaults]|WorkstationName=""v"" w|", """v"" w"
  SeenReads options, shop, "two pairs", "[Defaults]|WorkstationName=""""v""""|", """v"""
  SeenReads options, shop, "different marks", "[Defaults]|WorkstationName=""v'|", """v'"
  SeenReads options, shop, "a pair with nothing in it", "[Defaults]|WorkstationName=""""|", ""
  SeenReads options, shop, "a key before the first header", "WorkstationName=v|[Defaults]|a=b|", NOT_SET
  SeenReads options, shop, "a character 26 in front", "[Defaults]|" & Chr(26) & "|WorkstationName=v|", "v"
  SeenReads options, shop, "a value of 3000 characters", _
      "[Defaults]|WorkstationName=" & String(3000, "x") & "|", String(80, "x")
  SeenReads options, shop, "a change from outside, same size", "[Defaults]|WorkstationName=z|", "z"
  SeenReads options, shop, "at once another one", "[Defaults]|WorkstationName=y|", "y"
  SeenSite options, shop
End Sub

Sub SeenReads(options, shop, tried, text, underWine)
  SeenBeside tried, ReadBack(options, shop, Lines(text)), underWine
End Sub

Sub PromisedReads(options, shop)
  PromiseText "section and key in other letters", ReadBack(options, shop, _
      Lines("[DEFAULTS]|workstationNAME=v|")), "v"
  PromiseText "quotation marks around a value", ReadBack(options, shop, _
      Lines("[Defaults]|WorkstationName=""v w""|")), "v w"
  PromiseText "apostrophes around a value", ReadBack(options, shop, _
      Lines("[Defaults]|WorkstationName='v w'|")), "v w"
  PromiseText "a line that begins with a semicolon", ReadBack(options, shop, _
      Lines("[Defaults]|;WorkstationName=v|WorkstationName=w|")), "w"
  PromiseText "a semicolon behind a value", ReadBack(options, shop, _
      Lines("[Defaults]|WorkstationName=v ; w|")), "v ; w"
  PromiseText "a key that is not there", ReadBack(options, shop, Lines("[Defaults]|a=b|")), NOT_SET
  PromiseText "a section that is not there", ReadBack(options, shop, Lines("[X]|WorkstationName=v|")), NOT_SET
  PromiseText "an empty file", ReadBack(options, shop, ""), NOT_SET
  fso.DeleteFile LocalIni(shop)
  options.Refresh
  PromiseText "no file", OptionOf(options, "Defaults/WorkstationName").CurrentValue, NOT_SET
  PromiseText "a value of 100 characters", ReadBack(options, shop, _
      Lines("[Defaults]|WorkstationName=" & String(100, "x") & "|")), String(80, "x")
End Sub

Sub SeenSite(options, shop)
  Dim pair, parts
  For Each pair In Array("3=3", "12.5=12", "13.5=14", "word=0")
    parts = Split(pair, "=")
    WriteText LocalIni(shop), Lines("[Companyname]|Location=" & parts(0) & "|")
    SeenBeside "Location " & parts(0), CStr(options.Location), parts(1)
  Next
End Sub

Sub CheckMarks
  Dim options, shop, unicode
  Const ENTRIES = "[Defaults]|WorkstationName=v|IdleMinutes=7|"
  shop = NewShop("marks")
  Set options = OpenShop(shop)
  SeenBeside "lines end with LF only", ReadBack(options, shop, Replace(Lines(ENTRIES), vbCr, "")), "v"
  SeenBeside "lines end with CR only", ReadBack(options, shop, Replace(Lines(ENTRIES), vbLf, "")), "v"
  SeenBeside "no end of the last line", ReadBack(options, shop, Lines("[Defaults]|WorkstationName=v")), "v"
  If OneByteLetters Then CheckUtf8Mark options, shop, Lines(ENTRIES)
  If Not OneByteLetters Then NotHere "the mark of UTF-8", "a code page of one byte for each letter"
  WriteUnicode LocalIni(shop), Lines(ENTRIES)
  options.Refresh
  PromiseText "a UTF-16 file", OptionOf(options, "Defaults/WorkstationName").CurrentValue, "v"
  OptionOf(options, "Defaults/WorkstationName").NewValue = "u"
  Seen "a save to it", SaveOutcome(options, shop)
  If OneByteLetters Then
    unicode = Left(ReadText(LocalIni(shop)), 2) = Chr(&HFF) & Chr(&HFE)
    SeenBeside "it is UTF-16 afterwards", Word(unicode), "True"
  End If
  PromiseText "the value reads", OptionOf(options, "Defaults/WorkstationName").CurrentValue, "u"
End Sub

Sub CheckUtf8Mark(options, shop, entries)
  Dim text
  text = Chr(&HEF) & Chr(&HBB) & Chr(&HBF) & entries
  SeenBeside "mark of UTF-8 before a header (Windows is said to miss the header)", _
      ReadBack(options, shop, text), "v"
  OptionOf(options, "Defaults/WorkstationName").NewValue = "w"
  Seen "a save to it", SaveOutcome(options, shop) & ", it begins " & Shown(Left(ReadText(LocalIni(shop)), 60))
  Seen "the value reads", Shown(OptionOf(options, "Defaults/WorkstationName").CurrentValue)
  SeenBeside "mark of UTF-8 on a line of its own", _
      ReadBack(options, shop, Left(text, 3) & vbCrLf & entries), "v"
End Sub

Sub CheckLayout
  Dim options, shop, text, after
  shop = NewShop("layout")
  Set options = OpenShop(shop)
  text = Lines("; top||[Defaults]|; above|  workstationname =  old  |IdleMinutes=20|  ConfirmExit =  True |" & _
      "; below||[Recent]|  Last = 1 |# hash|lonely|Twice=1|Twice=2||[Defaults]|WorkstationName=second|; end")
  ReadBack options, shop, text
  OptionOf(options, "Defaults/WorkstationName").NewValue = "new"
  Seen "a save to a file with comments, blank lines and spacing", SaveOutcome(options, shop)
  after = ReadText(LocalIni(shop))
  PromiseText "the value reads", OptionOf(options, "Defaults/WorkstationName").CurrentValue, "new"
  PromiseText "another value reads", OptionOf(options, "Defaults/IdleMinutes").CurrentValue, "20"
  PromiseText "the file before is kept as TOVO.old", ReadText(shop & "\workstation\TOVO.old"), text
  SeenBeside "the blank line at the top", Left(after, 16), "; top" & vbCrLf & "[Defaults"
  SeenBeside "the line that was changed", LineWith(after, "=new"), "workstationname=new"
  SeenBeside "a line of the same value", LineWith(after, "ConfirmExit"), "ConfirmExit=True"
  SeenBeside "a line of no option", LineWith(after, "Last"), "Last=1"
  SeenBeside "a line that begins with #", LineWith(after, "hash"), "# hash"
  SeenBeside "a line without an equals sign", LineWith(after, "lonely"), "lonely"
  SeenBeside "a second key", LineWith(after, "Twice=2"), "Twice=2"
  SeenBeside "a second section", LineWith(after, "second"), "WorkstationName=second"
  SeenBeside "a comment stays above its key", Word(InStr(after, "; above" & vbCrLf) > 0 And _
      InStr(after, "; above") < InStr(after, "=new")), "True"
  SeenBeside "the last comment, without an end of its line", LineWith(after, "; end"), "; end"
  Seen "new keys: the section, with the comment and the blank line at its end", Shown(SectionText(after, "[Defaults]"))
  Seen "new sections follow", Shown(Mid(after, InStr(after, "; end"), 60))
  ReadBack options, shop, Replace(text, vbCr, "")
  OptionOf(options, "Defaults/WorkstationName").NewValue = "new"
  options.Save
  after = Replace(ReadText(LocalIni(shop)), vbCrLf, "")
  SeenBeside "line ends LF that are left after a save to such a file", _
      CStr(Len(after) - Len(Replace(after, vbLf, ""))), "0"
  ReadBack options, shop, Replace(text, "old", "new")
  OptionOf(options, "Defaults/WorkstationName").NewValue = "new"
  options.Save
  SeenBeside "a save of the value that the line has", _
      LineWith(ReadText(LocalIni(shop)), "workstationname"), "workstationname=new"
End Sub

' The first line that holds a text.
Function LineWith(text, part)
  Dim one
  LineWith = "(no line)"
  For Each one In Split(Replace(text, vbCr, ""), vbLf)
    If LineWith = "(no line)" And InStr(one, part) > 0 Then LineWith = one
  Next
End Function

Function SectionText(text, header)
  Dim start, last
  start = InStr(text, header)
  SectionText = ""
  If start = 0 Then Exit Function
  last = InStr(start + 1, text, "[")
  If last = 0 Then last = Len(text) + 1
  SectionText = Mid(text, start, last - start)
End Function

Sub CheckValues
  Dim options, shop, accents
  shop = NewShop("values")
  Set options = OpenShop(shop)
  accents = "Trois-Rivi" & Chr(&HE8) & "res"
  If AnsiPage = "1252" Then
    PromiseText "accents in an INI file", OptionOf(options, "Companyname/City").CurrentValue, accents
    Stored options, shop, "accents", accents, accents, True
  Else
    Seen "accents in an INI file of page 1252", Shown(OptionOf(options, "Companyname/City").CurrentValue)
  End If
  Stored options, shop, "100 characters", String(100, "y"), String(80, "y"), True
  Stored options, shop, "blanks around", "  v w  ", "v w", True
  Stored options, shop, "a character that the code page may lack", Cyrillic, "?", False
  Stored options, shop, "quotation marks", """q""", "q", False
  Stored options, shop, "apostrophes", "'q'", "q", False
  Stored options, shop, "a semicolon in front", ";v", ";v", False
  Stored options, shop, "an opening bracket in front", "[v]", "[v]", False
  Stored options, shop, "empty text", "", "", False
  Stored options, shop, "a line break", "a" & vbCrLf & "b", "a", False
  OptionOf(options, "Tax/Rate1").NewValue = 7.5
  SeenBeside "the number 7.5 as a new value, by the rules of the user's country", _
      OptionOf(options, "Tax/Rate1").NewValue, "7.5"
  OptionOf(options, "Defaults/ConfirmExit").NewValue = True
  PromiseText "True as a new value, in any language", OptionOf(options, "Defaults/ConfirmExit").NewValue, "True"
End Sub

' The letter U+0416, by way of a UTF-16 file where a script host has no ChrW.
Function Cyrillic
  On Error Resume Next
  Cyrillic = ChrW(&H416)
  If Err.Number = 0 Then Exit Function
  Err.Clear
  WriteText workFolder & "\letter.txt", Chr(&HFF) & Chr(&HFE) & Chr(&H16) & Chr(&H4)
  Cyrillic = ReadUnicode(workFolder & "\letter.txt")
End Function

' Sets, saves, and tells what the option reads then and which line stands in the file.
Sub Stored(options, shop, tried, value, expected, promised)
  Dim actual, saved
  OptionOf(options, "Defaults/WorkstationName").NewValue = value
  saved = Word(options.Save)
  actual = OptionOf(options, "Defaults/WorkstationName").CurrentValue
  If promised Then
    PromiseText tried & " saved (" & saved & ") and read again", actual, expected
  Else
    SeenBeside tried & " saved (" & saved & ") as " & _
        Shown(LineWith(ReadText(LocalIni(shop)), "WorkstationName")) & " and read again", actual, expected
  End If
End Sub

' ---------------------------------------------------------------------------------------------------
' 9 and 10: saving and comments
' ---------------------------------------------------------------------------------------------------

Sub CheckSaving
  Dim options, shop, localBefore, globalBefore, stamps
  shop = NewShop("saving")
  Set options = OpenShop(shop)
  localBefore = ReadText(LocalIni(shop))
  globalBefore = ReadText(GlobalIni(shop))
  stamps = StampsOf(LocalIni(shop))
  OptionOf(options, "Defaults/WorkstationName").NewValue = "BACK OFFICE"
  OptionOf(options, "Tax/Rate1").NewValue = "7.25"
  PromiseText "a save", SaveOutcome(options, shop), BOTH_SAVED
  PromiseText "local value", OptionOf(options, "Defaults/WorkstationName").CurrentValue, "BACK OFFICE"
  PromiseText "global value", OptionOf(options, "Tax/Rate1").CurrentValue, "7.25"
  Promise "TOVO.old is the file before, byte for byte", "compared", _
      ReadText(shop & "\workstation\TOVO.old") = localBefore
  Promise "TOVOGBL.old too", "compared", ReadText(shop & "\data\TOVOGBL.old") = globalBefore
  Promise "another process sees the values at once", "compared", _
      ChildWith("", WScript.FullName, "/child:dump /file:saving") = DumpOf(options)
  If stamps = "" Then
    NotHere "time stamps", "dates of files"
  Else
    Seen "time stamps of TOVO.INI before, made and written", stamps
    Seen "of TOVO.INI after the save", StampsOf(LocalIni(shop))
    Seen "of TOVO.old after the save", StampsOf(shop & "\workstation\TOVO.old")
  End If
  OptionOf(options, "Defaults/WorkstationName").NewValue = "THIRD"
  PromiseText "a second save", Left(SaveOutcome(options, shop), 4), "True"
  Promise "TOVO.old is renewed", "compared", _
      InStr(ReadText(shop & "\workstation\TOVO.old"), "WorkstationName=BACK OFFICE") > 0
End Sub

Function StampsOf(path)
  StampsOf = ""
  On Error Resume Next
  StampsOf = fso.GetFile(path).DateCreated & ", " & fso.GetFile(path).DateLastModified
  If Err.Number <> 0 Then StampsOf = ""
  Err.Clear
End Function

Sub CheckComments
  Dim options, shop, ini, comment, rule, text
  shop = NewShop("comments")
  Set options = OpenShop(shop)
  ini = shop & "\data\any.ini"
  comment = OptionOf(options, "Backup/Generations").Comment
  WriteText ini, Lines("[Backup]|Generations=7||junk|[Last]|x=1|")
  Promise "CommentFile", "called", options.CommentFile(ini)
  PromiseText "the file", ReadText(ini), Lines("[Backup]|;" & comment & "|Generations=7||[Last]|x=1|")
  Promise "RemoveIniComment", "called", options.RemoveIniComment(ini, UCase(comment))
  PromiseText "the file", ReadText(ini), Lines("[Backup]|Generations=7||[Last]|x=1|")
  WriteText ini, ";a" & vbLf & "  k = v " & vbLf & vbLf & ";b"
  Promise "ClearIniComments of a file with LF", "called", options.ClearIniComments(ini)
  PromiseText "the file", ReadText(ini), Lines("  k = v ||")
  If OneByteLetters Then
    text = Chr(&HEF) & Chr(&HBB) & Chr(&HBF) & Lines(";a|k=v|")
    WriteText ini, text
    options.ClearIniComments ini
    Promise "the mark of UTF-8 stays in front", Shown(ReadText(ini)), ReadText(ini) = Left(text, 3) & Lines("k=v|")
  End If
  WriteUnicode ini, Lines(";a|k=v|")
  text = ReadText(ini)
  Promise "a UTF-16 file is left alone", "compared", Not options.ClearIniComments(ini) And ReadText(ini) = text
  Promise "a file that is not there", "not made", _
      Not options.ClearIniComments(shop & "\none.ini") And Not fso.FileExists(shop & "\none.ini")
  WriteText GlobalIni(shop), Lines("[Backup]|Generations=7|")
  Promise "CommentINIKey", "called", options.CommentINIKey(OptionOf(options, "Backup/Generations").ID)
  Set rule = New RegExp
  rule.Pattern = "^\[Backup\]\r\n;The following line was commented by .* on \d\d-\d\d-\d\d\d\d at " & _
      "\d\d:\d\d:\d\d\r\n;Generations=7\r\n$"
  text = ReadText(GlobalIni(shop))
  Promise "the file, with the user's display name and the time", Shown(text), rule.Test(text)
  CheckPermissions options, shop
End Sub

' What is allowed to whom stays when a file is replaced.
Sub CheckPermissions(options, shop)
  Dim before, after, saved
  RunLines "icacls comments\workstation\TOVO.INI /grant *S-1-1-0:(R) > icacls.txt 2>&1"
  before = OutputOf("icacls comments\workstation\TOVO.INI")
  If InStr(before, ":(") = 0 Then
    NotHere "permissions of files that are replaced", "icacls"
    Exit Sub
  End If
  options.ClearIniComments LocalIni(shop)
  after = OutputOf("icacls comments\workstation\TOVO.INI")
  Promise "ClearIniComments keeps who may do what", OneLine(after), _
      AllIn(Allowed(before), Allowed(after)) And AllIn(Allowed(after), Allowed(before))
  saved = Word(options.Save)
  after = OutputOf("icacls comments\workstation\TOVO.INI")
  Seen "after a save (" & saved & "), which writes in place", Word(after = before)
  Seen "TOVO.old after it", OneLine(OutputOf("icacls comments\workstation\TOVO.old"))
End Sub

' The entries that icacls tells, whether inherited or not; their order does not count.
Function Allowed(ByVal text)
  text = Replace(Replace(text, "comments\workstation\TOVO.INI", ""), "(I)", "")
  Allowed = Split(Replace(text, vbCr, ""), vbLf)
End Function

Function AllIn(some, others)
  Dim one, other, found
  AllIn = True
  For Each one In some
    found = False
    For Each other In others
      If Trim(one) = Trim(other) Then found = True
    Next
    If Not found Then AllIn = False
  Next
End Function

' ---------------------------------------------------------------------------------------------------
' 11 to 14: what refuses
' ---------------------------------------------------------------------------------------------------

Sub CheckReadOnly
  Dim options, shop, refusal, before, answer, same
  shop = NewShop("readonly")
  Set options = OpenShop(shop)
  SetReadOnly LocalIni(shop), True
  refusal = WriteRefusal(LocalIni(shop))
  If refusal = "" Then
    NotHere "files marked read-only", "this user may write them"
  Else
    Seen "what a script sees that writes a file marked read-only", refusal
    OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
    PromiseText "a save with such a TOVO.INI", SaveOutcome(options, shop), "False"
    before = ReadText(LocalIni(shop))
    answer = options.ClearIniComments(LocalIni(shop))
    same = ReadText(LocalIni(shop)) = before
    Promise "ClearIniComments of it", Word(answer) & ", file as before: " & Word(same), same And Not answer
    SetReadOnly LocalIni(shop), False
    SetReadOnly GlobalIni(shop), True
    PromiseText "a save with such a TOVOGBL.INI", SaveOutcome(options, shop), "False"
    SetReadOnly GlobalIni(shop), False
    SetReadOnly shop & "\data\defaults.dbf", True
    PromiseNotWritable shop, "Initialize with such a definition table"
    SetReadOnly shop & "\data\defaults.dbf", False
  End If
  SetReadOnly LocalIni(shop), False
  CheckDenied shop
End Sub

' Everybody may read the folder, nobody write to it.
Sub CheckDenied(shop)
  Dim options, localBefore
  Set options = OpenShop(shop)
  RunLines "icacls readonly\data /deny *S-1-1-0:(OI)(CI)(WD,AD) > icacls.txt 2>&1"
  If WriteRefusal(GlobalIni(shop)) = "" Then
    NotHere "a data folder without the right to write", "icacls denies nothing"
    Exit Sub
  End If
  Seen "what a script sees that writes in a folder without that right", WriteRefusal(GlobalIni(shop))
  localBefore = ReadText(LocalIni(shop))
  Connect options, "Sink_"
  eventLog = ""
  OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
  PromiseText "a save", SaveOutcome(options, shop), "False"
  Seen "what it tells", Shown(eventLog)
  Promise "ClearIniComments", "called", Not options.ClearIniComments(GlobalIni(shop))
  PromiseNotWritable shop, "Initialize"
  RunLines "icacls readonly\data /remove:d *S-1-1-0 > icacls.txt 2>&1"
  PromiseText "a save with the right again", SaveOutcome(options, shop), BOTH_SAVED
End Sub

Sub PromiseNotWritable(shop, tried)
  Dim source, description, number, table
  table = shop & "\data\DEFAULTS.dbf"
  number = OpenError(shop, source, description)
  PromiseText tried, number & " " & source & " " & description, NOT_WRITABLE & " TDefault:Initialize " & _
      "The file " & table & " can not bo opened for write access. Make sure this file is not " & _
      "read only and is located on a drive you have write access to"
End Sub

Sub CheckMissingFolder
  Dim options, shop
  shop = NewShop("nofolder")
  Set options = OpenShop(shop)
  Connect options, "Sink_"
  eventLog = ""
  fso.DeleteFolder shop & "\workstation", True
  PromiseText "a save without the folder of TOVO.INI", Word(options.Save), "False"
  Promise "the folder is not made", "looked for", Not fso.FolderExists(shop & "\workstation")
  Seen "what DLLError tells, with the system's text", Shown(eventLog)
End Sub

Sub CheckMissing
  Dim options, shop, source, description, number
  CheckMissingFolder
  shop = NewShop("missing")
  Set options = OpenShop(shop)
  On Error Resume Next
  options.INIFile = shop & "\none.ini"
  PromiseText "INIFile of a file that is not there", Err.Number & " " & LCase(Err.Source) & " " & Err.Description, _
      "53 " & LCase(HostName) & ":setinifile File not found"
  Err.Clear
  On Error GoTo 0
  PromiseText "INIFile stays", LCase(options.INIFile), LCase(LocalIni(shop))
  Connect options, "Sink_"
  eventLog = ""
  fso.DeleteFile GlobalIni(shop)
  PromiseText "a save without TOVOGBL.INI", SaveOutcome(options, shop), "False"
  Promise "it is not made", "looked for", Not fso.FileExists(GlobalIni(shop))
  Seen "what DLLError tells, with the system's text", Shown(eventLog)
  fso.DeleteFile LocalIni(shop)
  Seen "a save without TOVO.INI either", SaveOutcome(options, shop)
  fso.DeleteFile shop & "\data\reports.dbf"
  number = OpenError(shop, source, description)
  Promise "Initialize without table REPORTS fails", number & " " & source & " " & description, number <> 0
  fso.DeleteFile shop & "\data\defaults.dbf"
  number = OpenError(shop, source, description)
  Promise "Initialize without table DEFAULTS", number & " " & source & " " & description, _
      number = 53 And LCase(source) = LCase(HostName & ":Class_Initialize") And _
      LCase(description) = LCase("the table, '" & shop & "\data\defaults.dbf' was not found.")
End Sub

' The script host's name as it stands in sources of errors.
Function HostName
  HostName = fso.GetBaseName(WScript.FullName)
End Function

Sub CheckHeld
  Dim shop
  shop = NewShop("held")
  HeldFiles shop, "write", "a script writes to it"
  shop = NewShop("alone")
  HeldFiles shop, "alone", "nobody else may open it"
End Sub

Sub HeldFiles(shop, kind, how)
  Dim options, name, before, refusal
  name = fso.GetFileName(shop)
  Set options = OpenShop(shop)
  knownLocal = ReadText(LocalIni(shop))
  knownGlobal = ReadText(GlobalIni(shop))
  Connect options, "Sink_"
  If Not Hold(kind, name & "\workstation\TOVO.INI", WScript.FullName) Then
    NotHere "files held so that " & how, HoldProblem
    Exit Sub
  End If
  refusal = WriteRefusal(LocalIni(shop))
  Seen "TOVO.INI held so that " & how & ": a script reads, writes", _
      "'" & ReadRefusal(LocalIni(shop)) & "', '" & refusal & "'"
  OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
  If refusal = "" Then
    Seen "a save", SaveOutcome(options, shop)
    Exit Sub
  End If
  options.Refresh
  Seen "what the option reads meanwhile", Shown(OptionOf(options, "Defaults/WorkstationName").CurrentValue)
  Promise "ClearIniComments", "called", Not options.ClearIniComments(LocalIni(shop))
  OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
  PromiseText "a save meanwhile", SaveMeanwhile(options, shop), "False"
  options.Refresh
  PromiseText "the option when the file is free again", _
      OptionOf(options, "Defaults/WorkstationName").CurrentValue, "FRONT DESK 2"
  If Not Hold(kind, name & "\data\TOVOGBL.INI", WScript.FullName) Then
    NotHere "TOVOGBL.INI held", HoldProblem
    Exit Sub
  End If
  OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
  PromiseText "a save while TOVOGBL.INI is held", SaveMeanwhile(options, shop), "False"
  If Not Hold(kind, name & "\data\defaults.dbf", WScript.FullName) Then
    NotHere "the definition table held", HoldProblem
    Exit Sub
  End If
  PromiseNotWritable shop, "Initialize while the definition table is held"
  Seen "Refresh while it is held", RefreshOutcome(options)
  ReleaseHolders
  options.Refresh
  OptionOf(options, "Defaults/WorkstationName").NewValue = "y"
  PromiseText "a save when all is free", SaveOutcome(options, shop), BOTH_SAVED
End Sub

' As SaveOutcome, with what DLLError told where events can be had.
Function SaveMeanwhile(options, shop)
  eventLog = ""
  SaveMeanwhile = SaveOutcome(options, shop)
  If eventLog <> "" Then Seen "what the save below tells", Shown(eventLog)
End Function

Function RefreshOutcome(options)
  On Error Resume Next
  RefreshOutcome = "no error"
  options.Refresh
  If Err.Number <> 0 Then RefreshOutcome = ErrorText("")
  Err.Clear
End Function

' Windows lets nobody read or write bytes that another program has locked.
Sub CheckLockedBytes
  Dim options, shop, count
  shop = NewShop("bytes")
  Set options = OpenShop(shop)
  count = options.Count
  knownLocal = ReadText(LocalIni(shop))
  If Not Hold("bytes", "bytes\workstation\TOVO.INI", WScript.FullName) Then
    NotHere "bytes locked by another process", HoldProblem
    Exit Sub
  End If
  Connect options, "Sink_"
  Seen "the first bytes of TOVO.INI locked: a script reads it", "'" & ReadRefusal(LocalIni(shop)) & "'"
  OptionOf(options, "Defaults/WorkstationName").NewValue = "x"
  PromiseText "a save meanwhile", SaveMeanwhile(options, shop), "False"
  If Not Hold("bytes", "bytes\data\defaults.dbf", WScript.FullName) Then
    NotHere "bytes of the definition table locked", HoldProblem
    Exit Sub
  End If
  Seen "the first bytes of the definition table locked: Refresh", RefreshOutcome(options)
  ReleaseHolders
  options.Refresh
  Promise "Refresh when they are free", options.Count & " options", options.Count = count
End Sub

Sub CheckLocks
  Dim options, shop, id, answer, host, count
  CheckLockedBytes
  shop = NewShop("locks")
  Set options = OpenShop(shop)
  id = OptionOf(options, "Backup/Generations").ID
  count = options.Count
  If Hold("records", "locks\data\defaults.dbf", WScript.FullName) Then
    options.Refresh
    Promise "the catalogue is read while records are locked", options.Count & " options", options.Count = count
    answer = ChildWith("set TDEFAULT_TABLES=embedded|set TDEFAULT_LOCK_WAIT=0|", WScript.FullName, _
        "/child:delete /file:locks /id:" & id)
    Promise "DeleteOption of a locked record, without waiting: result, seconds", Shown(answer), _
        Left(answer, 6) = "False "
    answer = ChildWith("set TDEFAULT_TABLES=embedded|set TDEFAULT_LOCK_WAIT=3000|", WScript.FullName, _
        "/child:delete /file:locks /id:" & id)
    Promise "the same with a wait of 3 seconds", Shown(answer), _
        Left(answer, 6) = "False " And Val(Mid(answer, 7)) >= 2
    Promise "its key is still in TOVOGBL.INI", "looked for", _
        InStr(ReadText(GlobalIni(shop)), "Generations=") > 0
    ReleaseHolders
    answer = ChildWith("set TDEFAULT_TABLES=embedded|", WScript.FullName, "/child:delete /file:locks /id:" & id)
    Promise "when the records are free", Shown(answer), Left(answer, 5) = "True "
  Else
    NotHere "records locked by another process", HoldProblem
  End If
  host = ProviderHost("locks")
  If host = "" Then
    NotHere "a row that the FoxPro provider edits", "the provider in any script host"
    Exit Sub
  End If
  shop = NewShop("edited")
  If Not Hold("edit", "edited\data\defaults.dbf", host) Then
    NotHere "a row that the FoxPro provider edits", HoldProblem
    Exit Sub
  End If
  answer = ChildWith("set TDEFAULT_TABLES=embedded|set TDEFAULT_LOCK_WAIT=2000|", WScript.FullName, _
      "/child:delete /file:edited /id:" & id)
  Promise "DeleteOption of a row that the FoxPro provider edits", Shown(answer), Left(answer, 6) = "False "
  ReleaseHolders
  answer = ChildWith("set TDEFAULT_TABLES=embedded|", WScript.FullName, "/child:delete /file:edited /id:" & id)
  Promise "when the provider has let go", Shown(answer), Left(answer, 5) = "True "
End Sub

Function Val(text)
  Val = 0
  If IsNumeric(text) Then Val = CDbl(text)
End Function

' ---------------------------------------------------------------------------------------------------
' 15 to 19: places, bitness, provider, process
' ---------------------------------------------------------------------------------------------------

Sub CheckFolders
  Dim options, shop, name, drive, source, description, number
  name = "shop of e and blanks"
  If OneByteLetters Then name = Replace(name, " e ", " " & Chr(&HE9) & " ")
  shop = NewShop(name)
  Set options = OpenShop(shop)
  OptionOf(options, "Tax/Rate1").NewValue = "6"
  PromiseText "a folder with blanks and an accent: a save", SaveOutcome(options, shop), BOTH_SAVED
  PromiseText "the value reads", OptionOf(options, "Tax/Rate1").CurrentValue, "6"
  shop = NewShop("O'Hara")
  number = OpenError(shop, source, description)
  Promise "a folder with an apostrophe is refused as not writable", number & " " & description, number = NOT_WRITABLE
  shop = NewShop("places")
  Elsewhere shop, "a path of the network", UncOf(shop & "\data")
  drive = FreeDrive
  If drive = "" Then
    NotHere "a substituted drive", "a free drive letter"
    Exit Sub
  End If
  driveReturn = "subst " & drive & " /d"
  RunLines "subst " & drive & " . > subst.txt 2>&1"
  Elsewhere shop, "a substituted drive", drive & "\places\data"
  ReturnDrive
  If fso.FolderExists(drive & "\places") Then Seen "the drive " & drive & " stays", "remove it with subst " & drive & " /d"
End Sub

Sub ReturnDrive
  If driveReturn = "" Then Exit Sub
  RunLines driveReturn & " > drive.txt 2>&1"
  driveReturn = ""
End Sub

' Opens and saves the copy by another path to its data folder.
Sub Elsewhere(shop, tried, dataPath)
  Dim options, value
  If Not fso.FolderExists(dataPath) Then
    NotHere tried, dataPath & " cannot be reached by this user"
    Exit Sub
  End If
  Set options = OpenAt(shop, dataPath)
  Promise tried & ", " & dataPath & ": options", CStr(options.Count), options.Count = 164
  PromiseText "its GlobalIni", options.GlobalIni, dataPath & "\TOVOGBL.INI"
  value = CStr(runNumber)
  OptionOf(options, "Tax/Rate1").NewValue = value
  Promise "a save there", SaveOutcome(options, shop), _
      InStr(ReadText(GlobalIni(shop)), "Rate1=" & value & vbCrLf) > 0
End Sub

' The share that every Windows makes of a drive, for administrators.
Function UncOf(path)
  UncOf = "\\localhost\" & Left(path, 1) & "$" & Mid(path, 3)
End Function

Function FreeDrive
  Dim letter
  FreeDrive = ""
  For letter = Asc("G") To Asc("Y")
    If FreeDrive = "" And Not fso.DriveExists(Chr(letter) & ":") Then FreeDrive = Chr(letter) & ":"
  Next
End Function

Sub CheckBareName
  Dim options, shop, folder, name
  shop = NewShop("bare")
  folder = shop & "\current"
  fso.CreateFolder folder
  fso.CopyFile LocalIni(shop), folder & "\TOVO.INI"
  Set options = OpenShop(shop)
  shell.CurrentDirectory = folder
  NameIniFile options, ""
  SeenBeside "with TOVO.INI in the current folder, INIFile is", options.INIFile, folder & "\TOVO.INI"
  fso.DeleteFile folder & "\TOVO.INI"
  Seen "without it", Shown(options.INIFile)
  shell.CurrentDirectory = folderBefore
  options.DataPath = ""
  Seen "DataPath of the TOVO.INI in the Windows folder", Shown(options.DataPath)
  options.DataPath = shop & "\data"
  PromiseText "GlobalIni comes from the data path", options.GlobalIni, shop & "\data\TOVOGBL.INI"
  shell.CurrentDirectory = shop
  For Each name In Array(".\workstation\TOVO.INI", "workstation\TOVO.INI")
    NameIniFile options, name
    PromiseText "INIFile " & name & " is given back as it is", options.INIFile, name
    SeenBeside "what its options read", OptionOf(options, "Defaults/WorkstationName").CurrentValue, "FRONT DESK 2"
  Next
  shell.CurrentDirectory = folderBefore
  NameIniFile options, LocalIni(shop)
  PromiseText "INIFile with its folder", LCase(options.INIFile), LCase(LocalIni(shop))
End Sub

Sub CheckBitness
  Dim shop, mine, other, host
  shop = NewShop("bitness")
  mine = ChildWith("", WScript.FullName, "/child:dump /file:bitness")
  Promise "another script host of this bitness reads the catalogue", Len(mine) & " characters", _
      Right(mine, 11) = "164 options"
  host = OtherHost
  If host = "" Then
    NotHere "the script host of the other bitness", "this system has one only"
    Exit Sub
  End If
  other = ChildWith("", host, "/child:dump /file:bitness")
  If Left(other, 10) = "error 429 " Then
    NotHere "the library in " & host, other
    Exit Sub
  End If
  CompareDumps "32 and 64 bits read the same", mine, other
End Sub

Sub CompareDumps(tried, one, another)
  Dim these, those, index
  If one = another Then
    Promise tried, Len(one) & " characters", True
    Exit Sub
  End If
  these = Split(one, vbCrLf)
  those = Split(another, vbCrLf)
  For index = 0 To UBound(these)
    If index > UBound(those) Then Exit For
    If these(index) <> those(index) Then
      Promise tried, "first difference " & Shown(these(index)) & " and " & Shown(those(index)), False
      Exit Sub
    End If
  Next
  Promise tried, (UBound(these) + 1) & " and " & (UBound(those) + 1) & " lines", False
End Sub

' A script host in which the FoxPro provider opens a shop of the copy; empty when there is none.
Function ProviderHost(name)
  Dim host
  ProviderHost = ""
  For Each host In Array(WScript.FullName, OtherHost)
    If host <> "" And ProviderHost = "" Then
      If Left(ChildWith("", host, "/child:provider /file:" & name), 6) = "opened" Then ProviderHost = host
    End If
  Next
End Function

Sub CheckProvider
  Dim shop, host, answer, embedded, provider
  shop = NewShop("provider")
  Seen "the provider in this script host", OneLine(ChildWith("", WScript.FullName, "/child:provider /file:provider"))
  answer = ChildWith("set TDEFAULT_TABLES=provider|", WScript.FullName, "/child:dump /file:provider")
  Seen "TDEFAULT_TABLES=provider here", Shown(Left(OneLine(answer), 300))
  answer = ChildWith("set TDEFAULT_TABLES=other|", WScript.FullName, "/child:dump /file:provider")
  Promise "TDEFAULT_TABLES=other is refused", Shown(OneLine(answer)), InStr(answer, "TDEFAULT_TABLES is ""other""") > 0
  shop = NewShop("changes0")
  answer = ChildWith("set TDEFAULT_TABLES=embedded|", WScript.FullName, "/child:change /file:changes0")
  Promise "changes by the embedded engine", Shown(answer), InStr(answer, "; deleted True, 1 less; exists False") > 0
  host = ProviderHost("provider")
  If host = "" Then
    NotHere "embedded engine and provider compared", "the provider in any script host"
    Exit Sub
  End If
  Seen "compared in", host
  embedded = ChildWith("set TDEFAULT_TABLES=embedded|", host, "/child:dump /file:provider")
  provider = ChildWith("set TDEFAULT_TABLES=provider|", host, "/child:dump /file:provider")
  CompareDumps "embedded engine and provider give the same catalogue", embedded, provider
  shop = NewShop("changes1")
  shop = NewShop("changes2")
  embedded = ChildWith("set TDEFAULT_TABLES=embedded|", host, "/child:change /file:changes1")
  provider = ChildWith("set TDEFAULT_TABLES=provider|", host, "/child:change /file:changes2")
  CompareDumps "they answer changes in the same way", embedded, provider
  Seen "the answers", Shown(provider)
  embedded = ChildWith("set TDEFAULT_TABLES=provider|", host, "/child:dump /file:changes1")
  provider = ChildWith("set TDEFAULT_TABLES=embedded|", host, "/child:dump /file:changes2")
  CompareDumps "each reads what the other changed", embedded, provider
  embedded = ChildWith("", host, "/child:tables /file:changes1")
  provider = ChildWith("", host, "/child:tables /file:changes2")
  CompareDumps "tables Need and Numbers are the same afterwards", embedded, provider
End Sub

Sub CheckUnloading
  Dim options, shop, text
  shop = NewShop("handles")
  text = ChildWith("", WScript.FullName, "/child:handles /file:handles")
  If text = "" Or Left(text, 6) = "error " Then
    NotHere "handles of a script host", "the number of handles " & text
  Else
    Seen "handles of a script host that loads and saves 20 times", text
  End If
  shop = NewShop("unloading")
  Set options = OpenShop(shop)
  text = OneLine(OutputOf("tasklist /m tdefault.dll"))
  If InStr(LCase(text), "tdefault.dll") = 0 Then
    NotHere "the library in the list of modules", "tasklist " & Left(text, 100)
    Exit Sub
  End If
  Seen "tasklist /m tdefault.dll with a catalogue open", text
  Set options = Nothing
  Seen "when it is released (script hosts need not unload it at once)", OneLine(OutputOf("tasklist /m tdefault.dll"))
End Sub

' ---------------------------------------------------------------------------------------------------
' 20 and 21: deleted definitions, the kit program
' ---------------------------------------------------------------------------------------------------

Sub CheckDeleted
  Dim options, shop, count, comment, text
  shop = NewShop("deleted")
  Set options = OpenShop(shop)
  count = options.Count
  comment = OptionOf(options, "Backup/Generations").Comment
  WriteText GlobalIni(shop), Lines("[Backup]|; note|;" & comment & "|Generations=7|Other=1|Generations=8|lonely|" & _
      "[Last]|x=1|")
  PromiseText "DeleteOption of one key among others", Deletion(options, "Backup/Generations"), "True, 163 options"
  text = ReadText(GlobalIni(shop))
  Promise "its key and comment are gone, the other key stays", Shown(text), InStr(text, "=7") = 0 And _
      InStr(text, ";" & comment) = 0 And InStr(text, "Other=1" & vbCrLf) > 0
  SeenBeside "an equal key behind it", LineWith(text, "=8"), "Generations=8"
  SeenBeside "another comment of the section", LineWith(text, "note"), "; note"
  WriteText GlobalIni(shop), Lines("; top|[Tax]|; note|Rate2=1|lonely|[Last]|x=1|[Tax]|Rate2=2|")
  PromiseText "DeleteOption of the last key of a section", Deletion(options, "Tax/Rate2"), "True, 162 options"
  text = ReadText(GlobalIni(shop))
  Promise "the section is gone, the next one stays", Shown(text), InStr(text, "Rate2=1") = 0 And _
      InStr(text, "[Last]" & vbCrLf & "x=1" & vbCrLf) > 0
  SeenBeside "a comment and a line without an equals sign in it", _
      LineWith(text, "note") & ", " & LineWith(text, "lonely"), "(no line), (no line)"
  SeenBeside "a second section of the name", LineWith(text, "=2"), "Rate2=2"
  text = Lines("[Last]|x=1|")
  WriteText GlobalIni(shop), text
  PromiseText "DeleteOption of a key that is not there", Deletion(options, "Tax/Rate1"), "True, 161 options"
  PromiseText "the file", ReadText(GlobalIni(shop)), text
End Sub

Function Deletion(options, name)
  Dim done
  done = Word(options.DeleteOption(CStr(ids(LCase(name)))))
  Deletion = done & ", " & options.Count & " options"
End Function

' Registered are the command processor, which leaves a file behind; a program with a blank in its path; and
' one that is not there. The options of the copy decide what is run, and no shop of the user is open.
Sub CheckKitProgram
  Dim options, shop, system, saved
  If argKit = "" Then
    NotHere "the kit program", "leave to register one for this user meanwhile; add /kit"
    Exit Sub
  End If
  If KitProgramRegistered Then
    NotHere "the kit program", "an unused registration: one stands there for this user"
    Exit Sub
  End If
  shop = NewShop("kit")
  Set options = OpenShop(shop)
  Connect options, "Sink_"
  system = fso.GetSpecialFolder(1)
  shell.CurrentDirectory = workFolder
  RegisterKitProgram system & "\", "cmd.exe", "/c echo ran> kit-ran.txt"
  saved = KitSave(options, "2")
  Promise "a kit program is run to its end", saved, _
      Left(saved, 4) = "True" And fso.FileExists(workFolder & "\kit-ran.txt")
  fso.CreateFolder workFolder & "\kit folder"
  fso.CopyFile system & "\hostname.exe", workFolder & "\kit folder\hostname.exe"
  RegisterKitProgram workFolder & "\kit folder", "hostname.exe", ""
  saved = KitSave(options, "0")
  Promise "one with a blank in its path is not started, and the save fails", saved, Left(saved, 5) = "False"
  RegisterKitProgram workFolder, "none.exe", ""
  saved = KitSave(options, "0")
  Promise "one that is not there: the save fails", saved, Left(saved, 5) = "False"
  RemoveKitProgram
  saved = KitSave(options, "0")
  Promise "without a registration the tables are changed", saved, Left(saved, 4) = "True"
End Sub

' The answer of a save that changes the kit choice, and its events where they can be had.
Function KitSave(options, choice)
  eventLog = ""
  OptionOf(options, "OPTIONS/KITCHOICE").NewValue = choice
  KitSave = Word(options.Save) & ", " & eventLog
End Function

Sub RegisterKitProgram(path, program, parameters)
  kitWritten = True
  shell.RegWrite KIT_KEY & "Path", path
  shell.RegWrite KIT_KEY & "Program", program
  shell.RegWrite KIT_KEY & "Parms", parameters
End Sub

' Only what this program has written. Emptied first: an empty value names no program, wherever deleting
' is refused.
Sub RemoveKitProgram
  Dim name
  If Not kitWritten Then Exit Sub
  On Error Resume Next
  For Each name In Array("Program", "Path", "Parms")
    shell.RegWrite KIT_KEY & name, ""
    shell.RegDelete KIT_KEY & name
  Next
  Err.Clear
  If KitProgramRegistered Then
    Tell "windows-check: the registration of a kit program could not be removed; delete the values of " & KIT_KEY
  End If
  kitWritten = False
End Sub

' ---------------------------------------------------------------------------------------------------
' 22: message boxes, with somebody who answers
' ---------------------------------------------------------------------------------------------------

Sub CheckBoxes
  Dim options, shop, missing, drive
  If argBoxes = "" Then
    NotHere "message boxes", "somebody who answers them; add /boxes"
    Exit Sub
  End If
  shop = NewShop("boxes")
  missing = shop & "\nowhere"
  Set options = OpenShop(shop)
  options.DataPath = missing
  AskBox options, missing, "No"
  AskBox options, missing, "Cancel"
  drive = FreeDrive
  If drive <> "" Then
    driveReturn = "net use " & drive & " /delete"
    RunLines "net use " & drive & " \\localhost\" & Left(shop, 1) & "$ /persistent:no > use.txt 2>&1"
  End If
  Tell "Answer the next box with Yes, look at the drives in the dialog, and close it with Cancel."
  Promise "Yes, then Cancel in the dialog", "closed", Not options.Initialize
  If drive <> "" Then
    Answered "Did the dialog list drive " & drive & " as 'Networked drive \\localhost\" & Left(shop, 1) & "$'? " & _
        "(No when it was not listed at all: only administrators can map it.)", "the mapped drive is listed", False
    ReturnDrive
  End If
  Answered "Were all texts of the dialog whole and sharp, and could every control be reached with the Tab key?", _
      "the dialog", False
  options.DataPath = shop & "\data"
End Sub

Sub AskBox(options, missing, answer)
  Tell "Answer the next box with " & answer & ". Its title is to be 'Tovo Data Path Not Found', its text:"
  Tell "  The data path, '" & missing & "' was not found."
  Tell "  Do you want " & "<this program>" & " to seach for the path?"
  Promise "the question, answered with " & answer, "closed", Not options.Initialize
  Answered "Had the box this title and text, a question mark, and the buttons Yes, No and Cancel? The program's " & _
      "name may be any. The misspelt word is right.", "title, text and buttons of the box", True
End Sub

Sub Answered(question, tried, promised)
  Dim yes
  yes = MsgBox(question, vbYesNo, "windows-check") = vbYes
  If promised Then
    Promise tried, "answered " & Word(yes), yes
  Else
    Seen tried, "answered " & Word(yes)
  End If
End Sub
