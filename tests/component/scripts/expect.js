var shop = WScript.Arguments(0);
var expectations = 0;

function expect(what, actual, expected) {
  expectations++;
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

// The last statement of every script; the number shows that no expectation was skipped.
function finish() {
  WScript.Echo("DONE " + expectations);
}
