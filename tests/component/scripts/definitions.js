var fso = new ActiveXObject("Scripting.FileSystemObject");

function contents(path) {
  var stream = fso.OpenTextFile(path, 1);
  var text = stream.AtEndOfStream ? "" : stream.ReadAll();
  stream.Close();
  return text;
}

function write(path, lines) {
  var stream = fso.CreateTextFile(path, true);
  stream.Write(lines.join("\r\n") + "\r\n");
  stream.Close();
}

var options = createAtShop();
expect("Initialize", options.Initialize(), true);
var option = null;
for (var each = new Enumerator(options); !each.atEnd(); each.moveNext()) {
  if (each.item().Section == "Backup" && each.item().Key == "Generations") option = each.item();
}
var comment = option.Comment;
var ini = shop + "\\data\\any.ini";

write(ini, ["[Backup]", "Generations=7"]);
expect("CommentFile", options.CommentFile(ini), true);
expect("commented", contents(ini), "[Backup]\r\n;" + comment + "\r\nGenerations=7\r\n");
expect("CommentFile again", options.CommentFile(ini), true);
expect("the same", contents(ini), "[Backup]\r\n;" + comment + "\r\nGenerations=7\r\n");
expect("RemoveIniComment", options.RemoveIniComment(ini, comment.toUpperCase()), true);
expect("removed", contents(ini), "[Backup]\r\nGenerations=7\r\n");
write(ini, [";a", "", "k=v"]);
expect("ClearIniComments", options.ClearIniComments(ini), true);
expect("cleared", contents(ini), "\r\nk=v\r\n");

expect("SectionKeyExists", options.SectionKeyExists("Backup", "Generations", false), true);
expect("SectionKeyExists of none", options.SectionKeyExists("Backup", "None", false), false);

write(options.GlobalIni, ["[Backup]", "Generations=7", "[Else]", "x=1"]);
expect("CommentINIKey", options.CommentINIKey(option.ID), true);
var pattern = /^\[Backup\]\r\n;The following line was commented by .* on \d\d-\d\d-\d{4} at \d\d:\d\d:\d\d\r\n;Generations=7\r\n\[Else\]\r\nx=1\r\n$/;
expect("disabled", pattern.test(contents(options.GlobalIni)), true);

write(options.GlobalIni, ["[Backup]", "Generations=7", "[Else]", "x=1"]);
expect("DeleteOption", options.DeleteOption(option.ID), true);
expect("the last key takes its section along", contents(options.GlobalIni), "[Else]\r\nx=1\r\n");
expect("deleted", options.SectionKeyExists("Backup", "Generations", false), false);
expect("DeleteOption again", options.DeleteOption(option.ID), false);

finish();
