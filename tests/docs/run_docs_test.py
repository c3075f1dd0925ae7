#!/usr/bin/python3
"""That the checks of the documentation can fail: each kind of mistake is made on a page and found."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import check_errors  # noqa: E402
import check_members  # noqa: E402
import compare  # noqa: E402
import play  # noqa: E402
import static_checks  # noqa: E402
from markdown import read_page  # noqa: E402

ROOT = check_members.ROOT


class StandIn:
    """A machine that answers what it is told to."""

    def __init__(self, answers):
        self.answers = answers
        self.ran = []
        self.scripts = {}
        self.registered = True

    def fresh(self, files, workstation):
        self.files = files

    def path(self, windows_path):
        return os.devnull

    def release(self):
        pass

    def commands(self, commands):
        self.ran += commands
        return [self.answers.get(command, ([], ["unknown"], 9009)) for command in commands]

    def run(self, command):
        return self.commands([" ".join(command)])[0]


def static_problems(text, name="docs/page.md"):
    pages = {name: read_page(name, text)}

    def load(other):
        if other in pages:
            return pages[other]
        with open(os.path.join(ROOT, other), encoding="utf-8") as file:
            return read_page(other, file.read())
    return static_checks.Checks(ROOT, load).problems(pages[name])


def played(text, answers):
    shop = StandIn(answers)
    player = play.Player(read_page("page.md", text), shop)
    player.play()
    return player.problems, shop


def block(kind, *lines):
    return "\n".join(["```" + kind, *lines, "```", ""])


class Static(unittest.TestCase):
    def test_blocks_of_known_kinds_are_accepted(self):
        self.assertEqual(static_problems(block("text", "x") + block("vb", "x = 1")), [])

    def test_a_block_without_a_kind_is_a_problem(self):
        self.assertIn("docs/page.md:3: a block of the kind '(none)'",
                      "".join(static_problems("x\n" + block("", "tovocfg list"))))

    def test_a_block_of_an_unknown_kind_is_a_problem(self):
        self.assertIn("'powershell'", "".join(static_problems(block("powershell", "dir"))))

    def test_an_indented_block_that_is_no_transcript_is_a_problem(self):
        self.assertIn("'indented'", "".join(static_problems("x\n\n    what is this\n")))
        self.assertEqual(static_problems("x\n\n    > tovocfg where\n"), [])

    def test_a_link_to_a_file_that_is_missing_is_a_problem(self):
        self.assertIn("nowhere.md, which does not exist", "".join(static_problems("[x](nowhere.md)")))

    def test_a_link_to_a_heading_that_is_missing_is_a_problem(self):
        text = "# A heading\n\n[x](#a-heading) [y](#another) [z](errors.md#collections)\n"
        self.assertEqual(len(static_problems(text)), 1)
        self.assertIn("#another", static_problems(text)[0])

    def test_a_script_that_is_missing_or_takes_other_arguments_is_a_problem(self):
        self.assertIn("there is no scripts/none.sh",
                      "".join(static_problems(block("sh", "scripts/none.sh"))))
        self.assertIn("does not take fast",
                      "".join(static_problems(block("sh", "scripts/test.sh fast   # quickly"))))
        self.assertEqual(static_problems(block("sh", "scripts/test.sh quick   # quickly")), [])

    def test_a_command_that_nobody_knows_is_a_problem(self):
        self.assertIn("command make", "".join(static_problems(block("sh", "make all"))))

    def test_a_preset_or_program_that_is_missing_is_a_problem(self):
        self.assertEqual(len(static_problems(block("sh", "ctest --preset none"))), 1)
        self.assertEqual(len(static_problems(block("sh", "build/native/tests/model/none 5"))), 1)

    def test_a_file_that_prose_names_has_to_exist(self):
        self.assertEqual(len(static_problems("Start at `src/none.h` and `src/base/error.h`.")), 1)

    def test_what_only_windows_can_do_names_scripts_that_exist(self):
        self.assertEqual(static_problems(block("console windows", "cscript options.vbs list")), [])
        self.assertEqual(len(static_problems(block("console windows", "cscript none.vbs"))), 1)

    def test_usages_are_compared_word_by_word(self):
        for usage, words, fits in ((" [quick|win32]", ["win32"], True), (" [quick]", [], True),
                                   (" [SECONDS [SEED]]", ["5", "7"], True), (" NAME", [], False),
                                   (" [a|b] [TARGET...]", ["a", "x", "y"], True),
                                   (" [a|b]", ["a", "x"], False), ("", ["x"], False)):
            self.assertEqual(static_checks.usage_matches(usage, words), fits, (usage, words))


class Playing(unittest.TestCase):
    TRANSCRIPT = block("console", "> tovocfg where", "Data folder C:\\SHOP")

    def test_what_a_transcript_shows_has_to_come(self):
        answer = {"tovocfg where": (["Data folder C:\\SHOP"], [], 0)}
        self.assertEqual(played(self.TRANSCRIPT, answer)[0], [])
        for other in (["Data folder D:\\SHOP"], [], ["Data folder C:\\SHOP", "and more"]):
            answer = {"tovocfg where": (other, [], 0)}
            self.assertEqual(len(played(self.TRANSCRIPT, answer)[0]), 1, other)

    def test_standard_error_is_part_of_a_transcript(self):
        answer = {"tovocfg where": ([], ["Data folder C:\\SHOP"], 5)}
        self.assertEqual(played(self.TRANSCRIPT, answer)[0], [])

    def test_a_command_of_which_nothing_is_shown_has_to_succeed(self):
        text = block("console", "tovocfg list", "tovocfg none")
        answers = {"tovocfg list": (["x"], [], 0), "tovocfg none": ([], ["no"], 2)}
        problems, shop = played(text, answers)
        self.assertEqual(len(problems), 1)
        self.assertEqual(shop.ran, ["tovocfg list", "tovocfg none"])

    def test_the_INI_file_of_the_page_is_named(self):
        text = "<!-- ini: C:\\TOVO.INI -->\n\n    tovocfg list\n"
        self.assertEqual(played(text, {})[1].ran, ["tovocfg --ini C:\\TOVO.INI list"])

    def test_a_script_has_to_reach_its_end_and_print_what_its_comments_say(self):
        text = block("vb", "WScript.Echo 1    ' -> 1")
        run = "cscript //nologo C:\\SHOP\\example.vbs"
        for lines, count in ((["1", play.END_OF_SCRIPT], 0), (["2", play.END_OF_SCRIPT], 1),
                             (["1"], 2), ([], 2)):
            self.assertEqual(len(played(text, {run: (lines, [], 0)})[0]), count, lines)

    def test_an_output_block_is_compared(self):
        text = block("vb", "WScript.Echo 1") + block("output", "1")
        run = "cscript //nologo C:\\SHOP\\example.vbs"
        self.assertEqual(played(text, {run: (["1", play.END_OF_SCRIPT], [], 0)})[0], [])
        self.assertEqual(len(played(text, {run: (["2", play.END_OF_SCRIPT], [], 0)})[0]), 1)
        self.assertEqual(len(played(block("output", "1"), {})[0]), 1)

    def test_a_named_script_that_nothing_runs_is_a_problem(self):
        text = block("vb first.vbs", "WScript.Echo 1")
        self.assertIn("nothing on the page runs first.vbs", "".join(played(text, {})[0]))
        runs = text + block("console", "cscript //nologo first.vbs")
        problems, shop = played(runs, {"cscript //nologo first.vbs": ([], [], 0)})
        self.assertEqual(problems, [])
        self.assertEqual(shop.files["first.vbs"], b"WScript.Echo 1\r\n")

    def test_what_is_left_out_matches_anything(self):
        self.assertTrue(compare.matches(["a", "...", "z"], ["a", "b", "c", "z"]))
        self.assertTrue(compare.matches(["on ... at", "..."], ["on Monday at"]))
        self.assertFalse(compare.matches(["a", "...", "z"], ["a", "b"]))
        self.assertFalse(compare.matches(["..."[:1]], ["b"]))

    def test_commands_in_prose_have_to_exist(self):
        page = read_page("page.md", "`tovocfg fly` and `tovocfg list --high`, `tovocfg list --json`")
        answers = {"tovocfg --help": (["--data"], [], 0), "tovocfg list --help": (["--json"], [], 0)}
        found = list(play.inline_problems([page], StandIn(answers)))
        self.assertEqual(len(found), 2)
        self.assertIn("no command fly", found[0])
        self.assertIn("no option --high", found[1])


class Members(unittest.TestCase):
    LIBRARY = "\n".join([
        "dispinterface _Options {x} dispatch half",
        "  slot 7 id 00000000 get Item returns _INIOption* flags none convention 4",
        "    Index Variant [in]",
        "  slot 17 id 60030009 method Save returns Boolean flags none convention 4", ""])

    def differences(self, page):
        library, _ = check_members.library_members(self.LIBRARY)
        return list(check_members.differences(check_members.page_members(page)[0], library))

    def test_described_members_agree(self):
        page = ("## Options\n### `Item(Index)`\n\n*Property, read: INIOption.* x\n"
                "| `Save()` | method: Boolean | x |\n")
        self.assertEqual(self.differences(page), [])

    def test_a_member_that_is_missing_or_different_is_found(self):
        page = "## Options\n| `Save(File)` | method | x |\n| `Load()` | method | x |\n"
        self.assertEqual(len(self.differences(page)), 3)


class Errors(unittest.TestCase):
    HEAD = "| number | hexadecimal | text | cause | what to do |\n|---|---|---|---|---|\n"

    def test_numbers_are_those_of_the_header(self):
        header = ("kA = 5; kObjectError = -2147221504; kB = kObjectError + 1; "
                  "kC = static_cast<std::int32_t>(0x80004005);")
        self.assertEqual(sorted(check_errors.library_numbers(header)),
                         [-2147467259, -2147221503, 5])

    def test_a_row_needs_a_cause_and_a_remedy_and_one_number(self):
        numbers, problems = check_errors.check(self.HEAD + "| 5, 9 | | x | y | z |\n")
        self.assertEqual((numbers, problems), ({5, 9}, []))
        self.assertEqual(len(check_errors.check(self.HEAD + "| 5 | | x | | |\n")[1]), 2)
        self.assertEqual(
            len(check_errors.check(self.HEAD + "| -2147467259 | `80004006` | x | y | z |\n")[1]), 1)


if __name__ == "__main__":
    unittest.main()
