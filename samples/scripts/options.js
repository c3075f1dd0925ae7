// Shows and changes the options of a Tovo shop: the library's use from JScript.
//
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] list [SECTION]
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] get SECTION KEY
//   cscript //nologo options.js [/ini:FILE] [/data:FOLDER] set SECTION KEY VALUE [SECTION KEY VALUE ...]
//
// Ends with 0 when done, 1 after an error of the library, 2 for wrong arguments, 3 when a value is
// refused, 4 when there is no such option, 5 when the data folder or the INI file is missing.

var NUMERIC_VALUE = 1, CHOICE_VALUE = 3, INSURANCE_VALUE = 8;
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
  if (count == 0) fail(2, "Name a command: list, get or set.");
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
    default:
      fail(2, "There is no command " + settings.words[0] + "; use list, get or set.");
  }
}

// Creates the catalogue and loads it. The overrides come first: they tell where to load from.
function openCatalogue() {
  try {
    options = new ActiveXObject("TovoDefaults.Options");
  } catch (error) {
    fail(1, "The library is not registered: " + error.message);
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
  if (!fileSystem.FolderExists(options.DataPath))
    fail(5, "There is no data folder '" + options.DataPath + "'.");
  try {
    if (!options.Initialize()) fail(5, "The data folder was not found.");
  } catch (error) {
    failWithError(error);
  }
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
  WScript.Echo("  file    " + (entry.LocalINI ? options.INIFile : options.GlobalIni));
  for (var position = 1; position <= entry.Choices.Count(); ++position) {
    var choice = entry.Choices.Item(position);
    WScript.Echo("  choice  " + choice.Item + "  " + choice.Description);
  }
  if (entry.Comment != "")
    WScript.Echo("  comment " + entry.Comment.split("\r\n").join("\r\n          "));
}

// Checks every value, then sets them all and saves once.
function changeOptions() {
  var words = settings.words, index, saved;
  for (index = 1; index < words.length; index += 3) {
    var refusal = refused(findOption(words[index], words[index + 1]), words[index + 2]);
    if (refusal != "")
      fail(3, words[index] + " / " + words[index + 1] + ": " + refusal + " Nothing was saved.");
  }
  for (index = 1; index < words.length; index += 3) {
    var entry = findOption(words[index], words[index + 1]);
    WScript.Echo(entry.Section + " / " + entry.Key + ": " + shownValue(entry) + " -> " +
        words[index + 2]);
    entry.NewValue = words[index + 2];
  }
  try {
    saved = options.Save();
  } catch (error) {
    failWithError(error);
  }
  if (!saved) fail(1, "Not saved; the INI files are as before.");
  WScript.Echo("Saved. The previous files have the ending .old.");
}

// Why a value does not fit its option; empty when it does. The library itself stores any text.
function refused(entry, value) {
  if (value.length > 80) return "At most 80 characters.";
  if (entry.OptionType == NUMERIC_VALUE) {
    var number = /^[+-]?[0-9]*(\.([0-9]*))?$/.exec(value);
    if (!number || isNaN(parseFloat(value))) return "'" + value + "' is not a number.";
    if ((entry.Minimum != 0 || entry.Maximum != 0) &&
        (parseFloat(value) < entry.Minimum || parseFloat(value) > entry.Maximum))
      return "Allowed is " + entry.Minimum + " to " + entry.Maximum + ".";
    if (number[2] && number[2].length > entry.Decimals)
      return "At most " + entry.Decimals + " decimals.";
  } else if (entry.OptionType == CHOICE_VALUE || entry.OptionType == INSURANCE_VALUE) {
    var known = "";
    for (var position = 1; position <= entry.Choices.Count(); ++position) {
      var item = entry.Choices.Item(position).Item;
      if (sameText(item, value)) return "";
      known += " " + item;
    }
    return "'" + value + "' is not one of:" + known + ".";
  }
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

// Ends the script with an error that the library raised. Numbers below 65536 carry 0x800A0000.
function failWithError(error) {
  var number = error.number >>> 16 == 0x800A ? error.number & 0xFFFF : error.number;
  fail(1, "Error " + number + ": " + error.message);
}

function fail(exitCode, text) {
  WScript.Echo("options.js: " + text);
  WScript.Quit(exitCode);
}
