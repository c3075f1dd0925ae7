#!/usr/bin/python3
"""Runs what the documentation shows.

    run_docs.py check [PAGE...]       what needs no Windows program: kinds of blocks, links, anchors,
                                      files that are named, usage of the repository's scripts
    run_docs.py play BUILD PAGE       the examples of a page, under Wine
    run_docs.py commands BUILD        that tovocfg knows the commands and options that prose names
    run_docs.py demo BUILD            scripts/demo.sh ends as README.md says
    run_docs.py pages                 the pages that "play" has something to do for

Blocks, by the first word of their fence:

    console    commands of Windows. Below a line "> COMMAND" stands all that it prints; without such
               lines every line is a command, which has to end with 0. "windows" behind the kind: only
               Windows can do it; of such a block only the scripts that it names have to exist
    vb, js     a script; with a file name behind it, it is only put there for a console block to run.
               "prelude" runs in front of every script of its kind below that has no name.
               "' -> TEXT" (or "// ->") at the end of a line tells a line that it prints
    cpp        a program, always with a file name; an sh block compiles it, a console block runs it
    sh         commands in a clone of this repository: the compiler is run, of scripts the arguments
               are compared with their --help
    sql        statements for the tables of the page's blocks "sql tables"
    output     what the block before it prints
    text, ini, json, idl   data

Every block begins with a new copy of the sample shop, unless "continued" stands behind its kind.
"..." stands for text that is left out, alone on a line for lines. Comments of a page for this program:
<!-- ini: FILE --> is put in front of the arguments of tovocfg, <!-- workstation: FOLDER --> is where
TOVO.INI lies. Before the next block, <!-- before: COMMAND --> is carried out, and during it
<!-- hold: FILE [read] --> is open in another program, which lets others only read it, or nothing;
<!-- codes: 0 1 --> are exit codes that its commands may have where nothing is shown.
"""

import os
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import play  # noqa: E402
import static_checks  # noqa: E402
from markdown import read_page  # noqa: E402
from shop import ROOT, Shop  # noqa: E402


def page_names():
    names = ["README.md", "CONTRIBUTING.md", "CHANGELOG.md", "hosts/tovocfg/README.md",
             "samples/shop/README.md", "packaging/README.md"]
    for folder, _, files in os.walk(os.path.join(ROOT, "docs")):
        names += [os.path.relpath(os.path.join(folder, name), ROOT) for name in sorted(files)
                  if name.endswith(".md")]
    return [name for name in names if os.path.exists(os.path.join(ROOT, name))]


def load(name):
    with open(os.path.join(ROOT, name), encoding="utf-8") as file:
        return read_page(name, file.read())


def check(names):
    checks = static_checks.Checks(ROOT, load)
    found = [problem for name in names for problem in checks.problems(load(name))]
    print("\n".join(found) if found else f"{len(names)} pages in order")
    return 1 if found else 0


def play_page(build, name):
    page = load(name)
    shop = Shop(build, name.replace("/", "-").removesuffix(".md"))
    try:
        player = play.Player(page, shop)
        player.play()
    finally:
        shop.end()
    print("\n".join(player.problems) if player.problems else f"{name}: {player.played} examples ran")
    return 1 if player.problems else 0


def check_commands(build):
    shop = Shop(build, "commands")
    shop.install()
    try:
        found = list(play.inline_problems([load(name) for name in page_names()], shop))
    finally:
        shop.end()
    print("\n".join(found) if found else "all commands that are named exist")
    return 1 if found else 0


def play_demo(build):
    """The demo in a prefix of its own, with the products that are built, against the page's output."""
    shop = Shop(build, "demo")
    try:
        done = subprocess.run([os.path.join(ROOT, "scripts", "demo.sh"), "--built"], text=True,
                              env=shop.environment, stdout=subprocess.PIPE, check=False,
                              stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, timeout=300)
    finally:
        shop.end()
    blocks = load("README.md").blocks
    shown = next(after.lines for block, after in zip(blocks, blocks[1:])
                 if "scripts/demo.sh" in block.text and after.kind == "text")
    print(done.stdout)
    return 0 if done.returncode == 0 and done.stdout.rstrip().endswith("\n".join(shown)) else 1


def main(words):
    if words[:1] == ["check"]:
        return check(words[1:] or page_names())
    if words[:1] == ["play"] and len(words) == 3:
        return play_page(words[1], words[2])
    if words[:1] == ["commands"] and len(words) == 2:
        return check_commands(words[1])
    if words[:1] == ["demo"] and len(words) == 2:
        return play_demo(words[1])
    if words == ["pages"]:
        print("\n".join(name for name in page_names() if play.has_examples(load(name))))
        return 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
