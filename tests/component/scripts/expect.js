var shop = WScript.Arguments(0);

function expect(what, actual, expected) {
  if (String(actual) !== String(expected)) {
    WScript.Echo("FAIL " + what + ": '" + actual + "' instead of '" + expected + "'");
  }
}

function createAtShop() {
  var options = new ActiveXObject("TovoDefaults.Options");
  options.DataPath = shop + "\\data";
  options.INIFile = shop + "\\workstation\\TOVO.INI";
  return options;
}

