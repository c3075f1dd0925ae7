' The boxes that the user has to close, in their order:
' BOX cscript | An additional processing module, 'TovoDefaultsTest.Module:Succeed' has been incorrectly defined and will not be run. | 1
' BOX cscript | An additional processing module, 'TovoDefaultsTest.Module:Fail' failed. The returned error description is: no stock | 1
' BOX cscript | An additional processing module, 'TovoDefaultsTest.Module:Fail' has been incorrectly defined and will not be run. | 1
' BOX cscript | There was an error attempting to run the defined additional procedure, 'TovoDefaultsTest.Module:Raise'.\n\nError: -2147220501, the printer is off. | 1
' BOX cscript | There was an error attempting to run the defined additional procedure, 'TovoDefaultsTest.NoSuchClass:Run'.\n\nError: 429, ActiveX component can't create object: TovoDefaultsTest.NoSuchClass is not registered for programs of this bitness, or cannot start (0x800401F3). | 1
' BOX cscript | An additional processing module, 'TovoDefaultsTest.Module:CallBack' failed. The returned error description is: 164 options | 1
' BOX cscript | An additional processing module, 'TovoDefaultsTest.Module:CallBack' has been incorrectly defined and will not be run. | 1
Dim options
Set options = CreateObject("TovoDefaults.Options")
options.DataPath = shop & "\modules"
options.INIFile = shop & "\workstation\TOVO.INI"
Expect "Initialize", options.Initialize, True
Expect "Save", options.Save, True
' The save stands, whatever became of the modules.
Expect "previous file", fso.FileExists(shop & "\workstation\TOVO.old"), True
Finish
