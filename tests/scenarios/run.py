#!/usr/bin/python3
"""Runs scenarios: runs the real program under Wine and compares what it did with a transcript.

docs/testing.md describes transcripts. The files of each scenario stay in
<build>/scenarios/<name>, so that a failure can be examined and repeated by hand.
"""

import argparse
import difflib
import fcntl
import os
import re
import shlex
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "lab"))
from store_generator import sample_store, store_text

HERE = Path(__file__).resolve().parent
SAMPLE = ROOT / "lab" / "sample"
WINE_ENV = str(ROOT / "script" / "wine-env")
STORAGE_CLSID = "{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}"
STORAGE_IID = "{e60eec85-ad99-4c17-9e77-aba03d28ce17}"
STORAGE_TYPELIB = "{b8c857ca-f21b-428b-ae26-799b5353b341}"
TIMEOUT_SECONDS = 60
# Names for "@ without" -> the DLL that is then missing beside the program.
STAND_INS = {"dhcpsapi": "dhcpsapi.dll", "storage": "zakstorage.dll", "dtclient": "DTClient.dll",
             "adapters": "iphlpapi.dll", "display": None, "typelib": None}


class Failure(Exception):
    pass


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def words_of(line):
    """Splits as a shell does, except that a backslash is an ordinary character of Windows paths."""
    splitter = shlex.shlex(line, posix=True, punctuation_chars=False)
    splitter.whitespace_split = True
    splitter.commenters = splitter.escape = ""
    return list(splitter)


def readable(data):
    """Returns the program's output as lines ended by CR LF. A blank line becomes \\n at the end
    of the line before (or at the very start); other invisible characters become names like <LF>."""
    text = data.decode("cp1252", "backslashreplace").replace("\n", "<LF>").replace("\r<LF>", "\n")
    text = re.sub(r"[\0-\x08\x0b-\x1f\x7f]", lambda c: f"<{ord(c[0]):02X}>", text)
    text = text.replace("<0D>", "<CR>")
    if text and not text.endswith("\n"):
        text += "<no line end>\n"
    text = re.sub(r"\A\n+(?=.)", lambda blank: "\\n" * len(blank[0]), text)
    return re.sub(r"(?<!\n)\n(\n+)", lambda blank: "\\n" * len(blank[1]) + "\n", text)


class Masks:
    """Masks the values that differ from run to run. Nothing else may mask."""

    def __init__(self, folders):
        self.folders = []
        for name, path in folders.items():
            text = windows_path(path)
            self.folders += [(text.replace("\\", "\\\\"), name), (text, name)]
        self.random_macs = []
        self.started = time.time()

    def apply(self, text):
        for path, name in self.folders:
            text = re.sub(re.escape(path), lambda _: f"<{name}>", text, flags=re.IGNORECASE)
        text = re.sub(r"\b[0-9a-f]{4}(-[0-9a-f]{4}){3}\b", "<unique>", text)
        # Only a MAC that the program itself reports as drawn is random.
        for mac in re.findall(r"Duplicated : changed to \[(00-04-70-[-0-9a-f]{8})\]", text):
            if mac not in self.random_macs:
                self.random_macs.append(mac)
        for number, mac in enumerate(self.random_macs, 1):
            text = text.replace(mac, f"00-04-70-<random {number}>")
        text = re.sub(r"(?<!\d)1[3-9]\d{16}(?!\d)", self.relative_time, text)
        # Output of lab_statistics: process ID and start time.
        text = re.sub(r"(\S+\.exe) +\d+  [-\d]{10} [:\d]{8}", r"\1 <process> <time>", text)
        # Lines of DT.LOG begin with the local time.
        return re.sub(r"\b\d+/\d+/\d+ \d+:\d\d:\d\d:\d\d\d : ", "<time> : ", text)

    def relative_time(self, match):
        """Returns a FILETIME relative to the start of the run, rounded to 15 minutes."""
        seconds = int(match[0]) / 1e7 - 11644473600 - self.started
        return f"<now + {round(seconds / 900) * 900} s>"


def registry_value(kind, data):
    """Returns a value as a .reg file has it. Bars separate a list; hex(n):31,00 are bytes."""
    if kind.startswith("hex"):
        return f"{kind}:{data}"
    data = {"sz": data, "expand_sz": data, "multi_sz": data.replace("|", "\0") + "\0"}[kind] + "\0"
    raw = ",".join(f"{byte:02x}" for byte in data.encode("utf-16-le"))
    return f"hex({({'sz': 1, 'expand_sz': 2, 'multi_sz': 7})[kind]}):{raw}"


class Run:
    """What one run of a program did. `console` holds bytes; `log` holds the calls on the stand-ins
    and the trace lines, in the order of time."""

    def __init__(self, console, errors, log):
        self.console = console
        # Wine has no event log: it writes the events to stderr.
        kinds = {"trace": "information", "warn": "warning", "err": "error"}
        event = re.compile(r'^[0-9a-f]+:(\w+):eventlog:ReportEventW L"(.*)"\n', re.M)
        self.events = [f"event: {kinds[kind]} {text}" for kind, text in event.findall(errors)]
        # A file dialog looks at the drives, and Wine itself then writes this line.
        self.errors = re.sub(r"^wine: Read access denied for device .*\n", "",
                             event.sub("", errors), flags=re.M)
        self.log = log.splitlines()

    def calls(self):
        return [line for line in self.log if not re.match(r"\d+\|", line)]


class World:
    """The program's surroundings: folders, registry, stand-ins and their settings."""

    imported = {}  # prefix -> the registry script imported last

    def __init__(self, name, options):
        self.options = options
        self.base = options.build / "scenarios" / name
        self.folders = {name: self.base / name for name in ("program", "work", "data", "temp")}
        self.state, self.log = self.base / "state.json", self.base / "log"
        self.store = self.folders["data"] / "Zephon.XML"
        self.masks = Masks(self.folders)
        self.without, self.sample = set(), False
        data = registry_value("sz", windows_path(self.folders["data"]))
        self.registry = {("Vantrel\\Data", "Path"): data}
        self.settings = {
            # With WINEPATH batch files find the lab's netsh.
            "TZ": "Asia/Kathmandu", "WINEPATH": windows_path(self.folders["program"]),
            "WINEDEBUG": "-all,trace+eventlog,warn+eventlog,err+eventlog",
            "DHCPLAB_JOURNAL": windows_path(self.log), "DHCPLAB_TRACE": windows_path(self.log),
            "DHCPLAB_SERVER_STATE": windows_path(self.state), "DHCPLAB_JOURNAL_FREES": "0",
            "DHCPLAB_TRACE_MASK": "1", "DHCPLAB_FAULTS": windows_path(self.base / "faults"),
            "DHCPLAB_ADAPTERS": windows_path(self.base / "adapters")}
        shutil.rmtree(self.base, ignore_errors=True)
        for folder in self.folders.values():
            folder.mkdir(parents=True)
        for empty in ("adapters", "faults", "log"):
            (self.base / empty).touch()
        self.link_programs()

    def link_programs(self):
        missing = {STAND_INS[name] for name in self.without}
        for program in self.options.lab.iterdir():
            target = self.folders["program"] / program.name
            target.unlink(missing_ok=True)
            if program.suffix in (".exe", ".dll") and program.name not in missing:
                os.link(program, target)

    def take_sample(self):
        """Uses the store, interfaces and adapters of the sample gateway."""
        self.sample = True
        self.store.write_text(store_text(sample_store()), encoding="utf-8")
        shutil.copyfile(SAMPLE / "adapters.txt", self.base / "adapters")

    def substitute(self, text, escaped=False):
        for name, path in self.folders.items():
            path = windows_path(path)
            text = text.replace(f"<{name}>", path.replace("\\", "\\\\") if escaped else path)
        return re.sub(r"\{(.+?)\*(\d+)\}", lambda piece: piece[1] * int(piece[2]), text)

    def add_registry(self, line):
        """Adds values below HKLM\\SOFTWARE, written as `Key: Value = type:data, ...`."""
        key, _, values = self.substitute(line).partition(": ")
        for value in values.split(", "):
            name, kind, data = re.fullmatch(r"(\w+|@) = ([a-z_]+(?:\(\w+\))?):(.*)", value).groups()
            self.registry[key, name] = registry_value(kind, data)

    def registry_script(self):
        """Deletes the keys of all scenarios and sets these. The hex forms need a text in UTF-16."""
        software = "HKEY_LOCAL_MACHINE\\SOFTWARE"
        classes = software + "\\Classes"
        temp = registry_value("sz", windows_path(self.folders["temp"]))
        text = ["Windows Registry Editor Version 5.00", f"[-{software}\\Vantrel]",
                f"[-{classes}\\Granite.ZakStorageDB]", f"[-{classes}\\CLSID\\{STORAGE_CLSID}]",
                f"[-{classes}\\Interface\\{STORAGE_IID}]", f"[-{classes}\\TypeLib\\{STORAGE_TYPELIB}]",
                "[HKEY_CURRENT_USER\\Environment]", f'"TEMP"={temp}', f'"TMP"={temp}']
        if "storage" not in self.without:
            server = "zakstorageNoTypeLib.dll" if "typelib" in self.without else "zakstorage.dll"
            server = registry_value("sz", windows_path(self.folders["program"] / server))
            text += [f"[{classes}\\Granite.ZakStorageDB\\CLSID]", f'@="{STORAGE_CLSID}"',
                     f"[{classes}\\CLSID\\{STORAGE_CLSID}\\InprocServer32]",
                     f"@={server}", '"ThreadingModel"="Both"']
        for (key, name), value in self.registry.items():
            text += [f"[{software}\\{key}]", f'"{name}"={value}'.replace('"@"', "@")]
        if self.sample:
            text += (SAMPLE / "interfaces.reg").read_text(encoding="utf-8").split("\n")[1:]
        return "\r\n".join(text) + "\r\n"

    def environment(self):
        env = {name: value for name, value in os.environ.items()
               if not name.startswith(("DHCPLAB_", "WINE", "DISPLAY"))}
        # After a run without a display, Wine opens no windows in that prefix for a while.
        shown = "display" not in self.without
        prefix = self.options.build / (self.options.prefix if shown else "wine-no-display")
        return {**env, "WINEPREFIX": str(prefix), **self.settings,
                **({} if shown else {"DISPLAY": ":9999"})}

    def wine(self, command, **options):
        """Starts a program with the present settings and returns its process."""
        env, script = self.environment(), self.registry_script()
        common = {"env": env, "cwd": self.folders["work"], "stdin": subprocess.DEVNULL,
                  "stderr": subprocess.DEVNULL, **options}
        if self.imported.get(env["WINEPREFIX"]) != script:
            self.imported[env["WINEPREFIX"]] = script
            settings = self.base / "settings.reg"
            settings.write_text(script, encoding="utf-16", newline="")
            subprocess.run([WINE_ENV, "regedit", "/S", windows_path(settings)], check=True,
                           timeout=TIMEOUT_SECONDS, env=env, stderr=subprocess.DEVNULL)
        path = self.folders["program"] / (command[0] + ".exe")
        command[:1] = [windows_path(path) if path.exists() else command[0]]
        return subprocess.Popen([WINE_ENV] + command, **common)

    def run(self, words):
        """Runs a program and waits for it. Output goes to files, not pipes: the desktop that Wine
        starts with the first window inherits the handles and would keep a pipe open."""
        before = self.log.stat().st_size
        with open(self.base / "stdout", "w+b") as out, open(self.base / "stderr", "w+b") as err:
            process = self.wine([*words], stdout=out, stderr=err)
            try:
                code = process.wait(timeout=TIMEOUT_SECONDS)
            finally:
                process.kill()  # the next run could find its windows
            out.seek(0)
            err.seek(0)
            done = Run(out.read(), err.read().decode("utf-8", "replace"),
                       self.log.read_bytes()[before:].decode("utf-8", "backslashreplace"))
        wrong = [line for line in done.log if line.startswith("MISUSE")]
        wrong += [f"left behind: {path}" for path in self.folders["temp"].glob("*-*-*-*")]
        if code != 0 or done.errors or wrong:
            raise Failure("\n".join([f"{shlex.join(words)}: exit code {code}", done.errors] +
                                    wrong))
        return done


class Scenario:
    """A transcript: its steps are executed, and its text is rebuilt from the results."""

    def __init__(self, folder, options):
        self.folder = folder
        self.world = World(str(folder.relative_to(HERE)), options)
        self.calls, self.trace, self.events, self.hidden, self.lines = False, True, False, None, 1000
        self.known = set()  # files that are input or were shown
        for source in folder.iterdir():
            if source.is_file() and source.name != "transcript":
                self.copy(source, self.world.folders["work"] / source.name)
        for name, target in (("store.xml", self.world.store), ("state.json", self.world.state)):
            if (folder / name).exists():
                self.copy(folder / name, target)

    def copy(self, source, target):
        shutil.copyfile(source, target)
        self.known.add(target)

    def indented(self, data):
        lines = readable(data).splitlines()
        more = len(lines) - self.lines
        lines[self.lines:] = [f"... {more} more lines"] * (more > 0 and self.lines > 0)
        return "".join(f"  {line}\n" for line in lines)

    def set(self, name, text):
        world = self.world
        if name in ("trace", "calls", "events"):
            setattr(self, name, text != "off")
            if name == "trace" and self.trace:
                world.settings["DHCPLAB_TRACE_MASK"] = text
        elif name == "lines":
            self.lines = int(text) if text else 1000
        elif name == "hide":
            self.hidden = text
        elif name == "env":
            key, _, value = text.partition("=")
            world.settings[key] = world.substitute(value)
        elif name in ("faults", "adapters"):
            text = world.substitute(text).replace(", ", "\n")
            (world.base / name).write_text(text, encoding="utf-8")
        elif name == "without":
            world.without = set(text.split())
            world.link_programs()
        elif name == "incomplete":  # keeps the names sorted, as GetProcAddress needs
            client = world.folders["program"] / "DTClient.dll"
            client.unlink(missing_ok=True)
            code = (world.options.lab / "DTClient.dll").read_bytes()
            for entry in text.encode().split():
                code = code.replace(entry + b"\0", entry[:-1] + bytes([entry[-1] + 1, 0]))
            client.write_bytes(code)
        elif name == "registry":
            world.add_registry(text)
        elif name in ("store", "state"):
            self.copy(self.folder / text, getattr(world, name))
        elif name == "sample":
            world.take_sample()
        elif name == "same":  # equals the file of the sample gateway
            made, known = world.folders["work"] / text, SAMPLE / text
            self.known.add(made)
            same = made.exists() and made.read_bytes() == known.read_bytes()
            return "" if same else "  differs\n"
        elif name == "show":
            path = Path(world.substitute(text).replace("\\", "/").removeprefix("Z:"))
            path = world.folders["work"] / path
            self.known.add(path)
            return self.indented(path.read_bytes()) if path.exists() else "  <no file>\n"
        else:
            raise Failure(f"unknown setting {name!r}")
        return ""

    def run(self, program, line, steps):
        """Runs the command, with the steps at the same time. Returns the lines below it: what the
        windows showed, the console, the log."""
        driver = None
        if steps:
            script = self.world.base / "gui"
            text = "\n".join(steps).replace("; ", "\n")
            script.write_text(self.world.substitute(text, escaped=True), encoding="cp1252")
            with open(self.world.base / "seen", "wb") as seen:
                driver = self.world.wine([str(self.world.options.gui_driver),
                                          windows_path(script)], stdout=seen)
        try:
            done = self.world.run(program + words_of(self.world.substitute(line)))
        finally:
            if driver:
                driver.wait(timeout=TIMEOUT_SECONDS)
        seen = self.world.base / "seen"
        text = ""
        if driver:
            text = re.sub(r"^(?=.)", "  ", readable(seen.read_bytes()), flags=re.M)
        text += self.indented(done.console)
        log = done.log
        if program and "dtclient" not in self.world.without and log[:1] == [
                'register|dhcpmigrate.exe|""|""'] and log[-1:] == ["unregister"]:
            log = log[1:-1]  # omit a normal registration
        # Trace lines without the line numbers, which change with every edit of the source.
        log = [re.sub(r"^(\d+\|[^|]*\|[^|]*)\|\d+\|", r"\1|", line) for line in log
               if (self.trace if re.match(r"\d+\|", line) else
                   self.calls or re.match("register|unregister|filter|WARNING", line))
               and not (self.hidden and re.search(self.hidden, line))]
        place = None
        for line in log + done.events * self.events:
            level, tag, what = re.match(r"(?:(\d+)\|([^|]*\|[^|]*)\|)?(.*)", line).groups()
            if tag and tag == place:  # join consecutive texts of one function
                text = text[:-1] + " // " + (f"{level}|" if level != first else "") + what + "\n"
            else:
                text, place, first = text + f"| {line}\n", tag, level
        return text

    def play(self):
        """Returns the transcript with the results of this run in place of the old ones."""
        lines = (self.folder / "transcript").read_text(encoding="utf-8").splitlines()
        lines = [line for line in lines if not line.startswith(("  ", "| "))]
        played, steps = "", []
        for line in lines:
            kind, rest = line[:1], line[2:]
            played += line + "\n"
            if kind == "@":
                for setting in rest.split("; "):
                    shown = self.set(*(setting.split(" ", 1) + [""])[:2])
                    played += self.world.masks.apply(shown)
            elif kind in ("$", "!"):
                program = ["dhcpmigrate"] if kind == "$" else []
                played += self.world.masks.apply(self.run(program, rest, steps))
                steps = []
            elif kind == "?":  # for the next run
                steps.append(rest)
            elif line and kind != "#":
                raise Failure(f"transcript: cannot read {line!r}")
        made = [path for folder in ("program", "temp", "work")
                for path in self.world.folders[folder].rglob("*")
                if path.is_file() and path.suffix not in (".exe", ".dll") and path not in self.known]
        return played + "".join(f"  made, but not shown: {path.name}\n" for path in sorted(made))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    add_build_options(parser)
    parser.add_argument("--update", action="store_true",
                        help="rewrites the transcripts; review them with git diff")
    parser.add_argument("scenarios", nargs="*", help="names below tests/scenarios; default: all")
    options = parser.parse_args()
    failed = 0
    with build_lock(options):
        for name in options.scenarios or sorted(found.parent.name
                                                for found in HERE.glob("*/transcript")):
            transcript = HERE / name / "transcript"
            try:
                played = Scenario(transcript.parent, options).play()
                if options.update:
                    transcript.write_text(played, encoding="utf-8")
                expected = transcript.read_text(encoding="utf-8")
                if played != expected:
                    raise Failure("\n".join(difflib.unified_diff(
                        expected.splitlines(), played.splitlines(), "expected", "actual",
                        lineterm="")))
                print(f"ok      {name}", flush=True)
            except (Failure, subprocess.TimeoutExpired) as problem:
                failed += 1
                print(f"FAILED  {name}   (see {options.build / 'scenarios' / name})\n{problem}")
    return 1 if failed else 0


def add_build_options(parser):
    parser.add_argument("--build", type=lambda path: Path(path).resolve(),
                        default=ROOT / "build" / "debug",
                        help="build folder; the runs are kept in its folder scenarios")


def build_lock(options, prefix="wine-scenarios"):
    """Locks the prefix, because its programs share one registry. Closing the file unlocks it."""
    options.prefix = prefix
    options.lab = options.build / "lab"
    options.gui_driver = options.build / "tests" / "gui" / "gui_driver.exe"
    (options.build / "scenarios").mkdir(parents=True, exist_ok=True)
    lock = open(options.build / "scenarios" / f".{prefix}", "w", encoding="ascii")
    fcntl.flock(lock, fcntl.LOCK_EX)
    return lock


if __name__ == "__main__":
    sys.exit(main())
