// Shows and changes the options of a Tovo shop: the library's use from JScript.
//
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] list [SECTION]
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] get SECTION KEY
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] set SECTION KEY VALUE [SECTION KEY VALUE ...]
//
// Ends with 0 when done, 1 after an error of the library or when a saved value reads back as another,
// 2 for wrong arguments, 3 when a value is refused, 4 when there is no such option, 5 when the data
// folder or the INI file is missing.

var NUMERIC_VALUE = 1, CHOICE_VALUE = 3, PATH_VALUE = 4, FONT_VALUE = 7, INSURANCE_VALUE = 8;
var NOT_SET = "not found";      // what a key reads, in any case, that its INI file does not hold

var fileSystem = new ActiveXObject("Scripting.FileSystemObject");
var settings = { ini: "", data: "", words: [] };
var options;

readArguments();
openCatalogue();
if (settings.words[0] == "list") listOptions();
if (settings.words[0] == "get") showOption();
if (settings.words[0] == "set") changeOptions();
WScript.Quit(0);

// Splits the command line into the two settings and the words. Word 0 is the command.
function readArguments() {
  for (var index = 0; index < WScript.Arguments.Length; ++index) {
    var argument = String(WScript.Arguments.Item(index));
    if (argument.substr(0, 5).toLowerCase() == "/ini:")
      settings.ini = fileSystem.GetAbsolutePathName(argument.substr(5));
    else if (argument.substr(0, 6).toLowerCase() == "/data:")
      settings.data = fileSystem.GetAbsolutePathName(argument.substr(6));
    else
      settings.words.push(argument);
  }
  var count = settings.words.length;
  if (count == 0) fail(2, "Name a command: list, get or set; /? explains them.");
  settings.words[0] = settings.words[0].toLowerCase();
  switch (settings.words[0]) {
    case "list":
      if (count > 2) fail(2, "list takes one section or none.");
      break;
    case "get":
      if (count != 3) fail(2, "get takes a section and a key.");
      break;
    case "set":
      if (count < 4 || (count - 1) % 3 != 0)
        fail(2, "set takes section, key and value, as often as there are changes.");
      break;
    case "/?": case "-?": case "/h": case "-h": case "/help": case "--help": case "help":
      showHelp();
      break;
    default:
      fail(2, "There is no command " + settings.words[0] + "; use list, get or set.");
  }
}

function showHelp() {
  WScript.Echo("Shows and changes the options of a Tovo shop.");
  WScript.Echo("  options.js list [SECTION]");
  WScript.Echo("  options.js get SECTION KEY");
  WScript.Echo("  options.js set SECTION KEY VALUE [SECTION KEY VALUE ...]");
  WScript.Echo("/ini:FILE names the local INI file, instead of TOVO.INI on the search path;");
  WScript.Echo("/data:FOLDER the data folder, instead of the one that the INI file names.");
  WScript.Quit(0);
}

// Creates the catalogue and loads it. The overrides come first: they tell where to load from.
function openCatalogue() {
  try {
    options = new ActiveXObject("TovoDefaults.Options");
  } catch (error) {
    fail(1, "The library is not registered for this script host (" + error.message +
      "). Register it once: regsvr32 tdefault.dll");
  }
  if (settings.data != "") options.DataPath = settings.data;
  if (settings.ini != "") {
    if (!fileSystem.FileExists(settings.ini)) fail(5, "There is no INI file " + settings.ini + ".");
    try {
      options.INIFile = settings.ini;
    } catch (error) {
      // It also loads; Initialize reports what is wrong with that.
    }
  }
  // Without this test the library would ask the user with a message box.
  if (!fileSystem.FolderExists(options.DataPath)) fail(5, missingFolder());
  try {
    if (!options.Initialize()) fail(5, "The data folder was not found.");
  } catch (error) {
    fail(1, raisedError(error));
  }
}

function missingFolder() {
  if (settings.data != "") return "There is no data folder " + settings.data + "; check /data:.";
  if (options.INIFile == "")
    return "There is no TOVO.INI on the search path, so the data folder is not known; " +
        "use /ini:FILE or /data:FOLDER.";
  if (options.DataPath == "")
    return "The key DataPath of section [Defaults] in " + options.INIFile +
        " names no data folder; set it, or use /data:FOLDER.";
  return "There is no data folder " + options.DataPath + ", which " + options.INIFile +
      " names; correct it, or use /data:FOLDER.";
}

// Calls visit(option) for each option until it returns true; returns that option, else null.
function findFirst(visit) {
  for (var each = new Enumerator(options); !each.atEnd(); each.moveNext())
    if (visit(each.item())) return each.item();
  return null;
}

function listOptions() {
  var wanted = settings.words.length == 2 ? settings.words[1] : "";
  var count = 0;
  findFirst(function (entry) {
    if (wanted == "" || sameText(entry.Section, wanted)) {
      WScript.Echo("[" + entry.Section + "] " + entry.Key + " = " + shownValue(entry));
      ++count;
    }
    return false;
  });
  if (count == 0) fail(4, "There is no section " + wanted + ".");
  WScript.Echo(count + " of " + options.Count + " options");
}

function showOption() {
  var entry = findOption(settings.words[1], settings.words[2]);
  WScript.Echo(entry.Section + " / " + entry.Key);
  WScript.Echo("  value   " + shownValue(entry));
  WScript.Echo("  default " + entry.Default);
  var file = entry.LocalINI ? options.INIFile : options.GlobalIni;
  WScript.Echo("  file    " + (file == "" ? "(no local INI file found)" : file));
  for (var position = 1; position <= entry.Choices.Count(); ++position) {
    var choice = entry.Choices.Item(position);
    WScript.Echo("  choice  " + choice.Item + "  " + choice.Description);
  }
  if (entry.Comment != "")
    WScript.Echo("  comment " + entry.Comment.split("\r\n").join("\r\n          "));
}

// Checks every value, then sets them all, saves once and compares what was asked with what reads back.
function changeOptions() {
  var words = settings.words, ids = {}, index, saved, entry;
  for (index = 1; index < words.length; index += 3) {
    entry = findOption(words[index], words[index + 1]);
    // An INI file does not keep the blanks around a value.
    words[index + 2] = words[index + 2].replace(/^ +| +$/g, "");
    var refusal = refused(entry, words[index + 2]), name = words[index] + " / " + words[index + 1];
    if (refusal != "") fail(3, name + ": " + refusal + " Nothing was saved.");
    // The library leaves out the options of a file that it does not find.
    if (entry.LocalINI && options.INIFile == "")
      fail(5, name + " belongs to the local INI file, but there is no TOVO.INI on the search path; " +
          "use /ini:FILE. Nothing was saved.");
  }
  var dataFolderBefore = options.DataPath;
  for (index = 1; index < words.length; index += 3) {
    entry = findOption(words[index], words[index + 1]);
    WScript.Echo(entry.Section + " / " + entry.Key + ": " + shownValue(entry) + " -> " +
        words[index + 2]);
    entry.NewValue = words[index + 2];
    ids[index] = entry.ID;
  }
  try {
    saved = options.Save();
  } catch (error) {
    // A save that fails gives false. What raises an error is reading the options again after it.
    fail(1, "Saved; the previous files have the ending .old. But reading the options again " +
        "failed: " + raisedError(error));
  }
  if (!saved) fail(1, "Not saved; the INI files are as before.");
  WScript.Echo("Saved. The previous files have the ending .old.");
  var differences = 0;
  for (index = 1; index < words.length; index += 3)
    if (differs(ids[index], words[index + 1], words[index + 2], dataFolderBefore)) ++differences;
  if (differences > 0)
    fail(1, "Set another value: an INI file holds only the characters of the system's code page, " +
        "and a font has seven parts.");
}

// Tells when an option reads back as something else than was set.
function differs(id, key, value, dataFolderBefore) {
  var entry = findFirst(function (each) { return each.ID == id; });
  // A new data folder or site leads to another file or key, which tells nothing about the save.
  if (!entry || !sameText(entry.Key, key)) return false;
  if (!entry.LocalINI && !sameText(options.DataPath, dataFolderBefore)) return false;
  // A font is spread over several keys; the first part stands under its own.
  var asked = entry.OptionType == FONT_VALUE ? value.split("|")[0] : value;
  if (sameText(entry.CurrentValue, asked)) return false;
  WScript.Echo("options.js: " + entry.Section + " / " + entry.Key + " reads '" +
      entry.CurrentValue + "' after the save, not '" + asked + "'.");
  return true;
}

// Why a value does not fit its option; empty when it does. The library itself stores any text.
function refused(entry, value) {
  if (value.length > 80) return "At most 80 characters.";
  if (sameText(value, NOT_SET))
    return "'Not found' stands for a key without a value and cannot be one.";
  if (/^(".*"|'.*')$/.test(value))
    return "The quotation marks around the value would be lost; leave them out.";
  switch (entry.OptionType) {
    case NUMERIC_VALUE:
      return refusedNumber(entry, value);
    case CHOICE_VALUE:
    case INSURANCE_VALUE:
      return refusedChoice(entry, value);
    case PATH_VALUE:
      if (entry.LocalINI && sameText(entry.Section + "/" + entry.Key, "Defaults/DataPath") &&
          !sameText(value, entry.CurrentValue))
        return refusedDataFolder(value);
  }
  return "";
}

function refusedNumber(entry, value) {
  var number = /^[+-]?([0-9]+(\.[0-9]*)?|\.[0-9]+)$/.exec(value);
  if (!number) return "'" + value + "' is not a number.";
  if ((entry.Minimum != 0 || entry.Maximum != 0) &&
      (parseFloat(value) < entry.Minimum || parseFloat(value) > entry.Maximum))
    return "Allowed is " + entry.Minimum + " to " + entry.Maximum + ".";
  var point = value.indexOf(".");
  if (point >= 0 && value.length - point - 1 > entry.Decimals)
    return "At most " + entry.Decimals + " decimals.";
  return "";
}

function refusedChoice(entry, value) {
  var known = "";
  for (var position = 1; position <= entry.Choices.Count(); ++position) {
    var item = entry.Choices.Item(position).Item;
    if (sameText(item, value)) return "";
    known += " " + item;
  }
  return "'" + value + "' is not one of:" + known + ".";
}

// Without its data folder no program of the workstation would start, this script among them.
function refusedDataFolder(value) {
  if (!/^(\\\\|.:\\)/.test(value)) return "The data folder needs a full path.";
  if (!fileSystem.FolderExists(value)) return "There is no folder " + value + ".";
  if (!fileSystem.FileExists(fileSystem.BuildPath(value, "defaults.dbf")))
    return value + " holds no defaults.dbf.";
  return "";
}

function findOption(section, key) {
  var found = findFirst(function (entry) {
    return sameText(entry.Section, section) && sameText(entry.Key, key);
  });
  if (!found) fail(4, "There is no option " + section + " / " + key + ".");
  return found;
}

function shownValue(entry) {
  return sameText(entry.CurrentValue, NOT_SET) ? "(not set)" : entry.CurrentValue;
}

function sameText(left, right) {
  return left.toLowerCase() == right.toLowerCase();
}

// An error that the library raised. Numbers below 65536 carry 0x800A0000.
function raisedError(error) {
  var number = error.number >>> 16 == 0x800A ? error.number & 0xFFFF : error.number;
  return "Error " + number + ": " + error.message;
}

function fail(exitCode, text) {
  WScript.Echo("options.js: " + text);
  WScript.Quit(exitCode);
}
