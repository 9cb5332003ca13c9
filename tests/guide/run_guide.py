#!/usr/bin/python3
"""Runs the commands of the guide on the lab and compares their output with the text.

    ```console       `C:\\move> ` begins a command for cmd; its output follows. A line `...`
                     matches any lines, `…` any text in a line. Blank lines are ignored.
    ```windows       is not run: neither Wine nor the lab has these commands
    ```csv NAME      (or json, text) becomes NAME in the working directory, in the ANSI code page
    ```bat NAME      must equal recipes/NAME, which is in the working directory of all blocks
    <!-- lab -->     starts again with the sample gateway, an empty server and an empty folder.
                     Faults (docs/lab.md), separated by ";", may follow: <!-- lab: FAULTS -->
    <!-- edit NAME: OLD = NEW; ... -->  what the text asks the reader to change in that file

Any other fence is an error, so that no command is skipped by mistake. `--show` prints the output.
"""

import argparse
import difflib
import re
import shutil
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "scenarios"))
from run import World, add_build_options, build_lock, windows_path

PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md")),
         ROOT / "tests" / "guide" / "check.md"]
STEP = re.compile(r"<!-- (lab|edit [\w.-]+):?(.*?)-->|^```([^\n]*)\n(.*?)^```$", re.M | re.S)
COMMAND = re.compile(r"^C:\\move> ", re.M)
MARK = "= = = = ="


class Guide(World):
    """The lab and the working directory of a page, from one `lab` comment to the next."""

    def __init__(self, faults, options):
        super().__init__("guide", options)
        self.take_sample()
        self.settings.update({
            "WINEDEBUG": "-all",
            "DHCPLAB_SERVER_STATE": windows_path(self.folders["work"] / "server.json")})
        for name in ("find.exe", "findstr.exe"):
            shutil.copy(options.build / "tests" / "guide" / "guide_find.exe",
                        self.folders["program"] / name)
        for recipe in (ROOT / "recipes").glob("*.cmd"):
            self.write(recipe.name, recipe.read_text(encoding="ascii"))
        (self.base / "faults").write_text(faults.replace(";", "\n"), encoding="utf-8")

    def write(self, name, text):
        (self.folders["work"] / name).write_bytes(text.replace("\n", "\r\n").encode("cp1252"))

    def edit(self, name, changes):
        path = self.folders["work"] / name
        for change in changes.split(";"):
            old, new = (text.strip().encode("cp1252") for text in change.split(" = "))
            assert path.read_bytes().count(old) == 1, f"{name} does not have {old} once"
            path.write_bytes(path.read_bytes().replace(old, new))

    def answers(self, commands):
        """Returns the output of each command. One cmd runs them all, so that variables last."""
        before, script = self.base.with_name("guide-before"), self.base / "commands"
        shutil.rmtree(before, ignore_errors=True)
        shutil.copytree(self.base, before, ignore=shutil.ignore_patterns("program"))
        script.write_text("".join(f"{line}\n" for command in ("@echo off", *commands)
                                  for line in (command, f"echo {MARK}")), encoding="cp1252")
        # Input is a file: Wine's cmd stops reading a pipe after the first program that it starts.
        with open(script, "rb") as typed, open(self.base / "answers", "w+b") as out:
            self.wine(["cmd"], stdin=typed, stdout=out, stderr=subprocess.STDOUT).wait(timeout=60)
            out.seek(0)
            text = out.read().decode("cp1252").replace("\r\n", "\n")
        if any(path.is_file() and b"Can't recognize" in path.read_bytes()
               for path in (self.base / "answers", *self.folders["work"].iterdir())):
            print("Wine's cmd could not start a program; the block runs again")
            for name in ("work", "data", "temp"):
                shutil.rmtree(self.folders[name])
            shutil.copytree(before, self.base, dirs_exist_ok=True)
            return self.answers(commands)
        return text.split(MARK + "\n")[1:len(commands) + 1]

    def check(self, block, show):
        """Returns the differences between the block and the real output, as texts."""
        intro, *steps = re.split(COMMAND, block)
        problems = [f"begins with no command:\n{block}"] if intro.strip() or not steps else []
        texts = [step.partition("\n")[::2] for step in steps]
        answers = self.answers([command for command, _ in texts])
        answers += ["(cmd has ended)"] * (len(texts) - len(answers))
        for (command, expected), actual in zip(texts, answers):
            if show:
                print(f"C:\\move> {command}\n{actual.rstrip()}")
            problems += self.difference(command, expected, actual)
        return problems

    @staticmethod
    def difference(command, expected, actual):
        expected, actual = ([line.rstrip() for line in text.splitlines() if line.strip()]
                            for text in (expected, actual))
        pattern = "".join(r"(?:.*\n)*" if line == "..." else
                          ".*".join(map(re.escape, line.split("…"))) + "\n" for line in expected)
        if re.fullmatch(pattern, "".join(line + "\n" for line in actual)):
            return []
        diff = difflib.unified_diff(expected, actual, "text", "answer", lineterm="")
        return [f"> {command}", *diff]


def run_page(page, options):
    problems, guide, run = [], None, 0
    for step in STEP.finditer(page.read_text(encoding="utf-8")):
        comment, details, fence, block = step.groups()
        kind, _, name = (comment or fence).partition(" ")
        if comment == "lab" or guide is None:
            guide = Guide((details or "").strip(), options)
        if kind == "edit":
            guide.edit(name, details)
        elif kind == "console":
            problems += guide.check(block, options.show)
            run += len(COMMAND.findall(block))
            problems += re.findall(r"^MISUSE.*", guide.log.read_text(encoding="utf-8"), re.M)
        elif name and kind in ("csv", "json", "text"):
            guide.write(name, block)
        elif kind == "bat" and (ROOT / "recipes" / name).read_text(encoding="ascii") != block:
            problems.append(f"not the file in recipes: {name}")
        elif kind not in ("lab", "windows", "xml", "bat"):
            problems.append(f"an unknown fence: {fence!r}")
    print("\n".join([f"{'FAILED' if problems else 'ok    '} {run:3} commands in {page.name}",
                     *problems]))
    return not problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    add_build_options(parser)
    parser.add_argument("--show", action="store_true")
    parser.add_argument("pages", nargs="*", type=Path, default=PAGES)
    options = parser.parse_args()
    with build_lock(options, "wine-guide"):
        return 0 if all([run_page(page, options) for page in options.pages]) else 1


if __name__ == "__main__":
    sys.exit(main())
