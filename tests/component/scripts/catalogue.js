var options = createAtShop();
expect("Initialize", options.Initialize(), true);

// The default member, by position and by ID in another letter case.
var first = options(1);
expect("key", first.Section + "/" + first.Key, "Defaults/DataPath");
expect("Item by ID", options(first.ID.toLowerCase()).Key, "DataPath");
expect("same object", options.Item(1) == first, true);
expect("truth", first.LocalINI, true);

// Enumeration.
var count = 0;
for (var each = new Enumerator(options); !each.atEnd(); each.moveNext()) {
  count++;
  if (count == 1) expect("first of the enumeration", each.item().ID, first.ID);
}
expect("enumerated", count, options.Count);
var names = [];
for (var layouts = new Enumerator(options.ReportTypes()); !layouts.atEnd(); layouts.moveNext()) {
  names.push(layouts.item().ReportName);
}
expect("layouts", names.join(" "), "INV1 INV2 INVSTUB RCPT40");
expect("layouts counted", options.ReportTypes().Count(), 4);

// Errors.
function errorOf(body) {
  try {
    body();
  } catch (error) {
    return error;
  }
  return { number: 0, message: "none" };
}
var failure = errorOf(function () { options.INIFile = shop + "\\none.ini"; });
expect("number", failure.number & 0xFFFF, 53);
expect("facility", (failure.number >>> 16).toString(16), "800a");
expect("message", failure.message, "File not found");
expect("no such option", errorOf(function () { return options("none"); }).number & 0xFFFF, 5);
expect("write-only property", errorOf(function () { return options.AddtnlProcError; }).number != 0, true);

// A save and its event.
var calls = [];
var handler = { Modified: function () { calls.push("Modified"); } };
var relay = new ActiveXObject("TovoDefaultsTest.EventRelay");
relay.Connect(options, handler);
first.NewValue = "C:\\OTHER";
expect("Save", options.Save(), true);
expect("events", calls.join(" "), "Modified");
expect("saved", options(1).CurrentValue, "C:\\OTHER");
relay.Disconnect();

finish();
