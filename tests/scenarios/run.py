#!/usr/bin/python3
"""Runs scenarios: the real program under Wine, plain files in, plain files compared.

docs/testing.md describes the files of a scenario. Each run leaves what it used and made under
<build>/scenarios/<name>, so a failure can be looked at and repeated by hand.
"""

import argparse
import difflib
import fcntl
import json
import math
import os
import re
import shlex
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HERE = Path(__file__).resolve().parent
WINE_ENV = str(ROOT / "script" / "wine-env")
STORAGE_CLSID = "{b2f6a7c4-58d1-4c0e-8f3b-94e17d2a6c05}"
STORAGE_IID = "{e60eec85-ad99-4c17-9e77-aba03d28ce17}"
STORAGE_TYPELIB = "{b8c857ca-f21b-428b-ae26-799b5353b341}"
TIMEOUT_SECONDS = 60

# Switch of a `without` file -> what is then missing beside the program.
STAND_INS = {
    "dhcpsapi": "dhcpsapi.dll",
    "storage": "zakstorage.dll",
    "dtclient": "DTClient.dll",
    "adapters": "iphlpapi.dll",
    "typelib": "",  # the storage component is there, its type library is not
}
# Files of a scenario that are not put into the program's current folder.
NOT_INPUT = {
    "command", "console", "store.xml", "store.after.xml", "registry", "server", "state.json",
    "state.after.json", "adapters", "env", "without", "calls", "trace", "dt.log", "events",
    "gui",
    "gui.expected", "sample", "README.md",
}
SAMPLE = ROOT / "lab" / "sample"


class Failure(Exception):
    pass


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def lines_of(path):
    """The lines that say something; '#' starts a comment line."""
    if not path.exists():
        return []
    text = path.read_text(encoding="utf-8")
    return [line for line in text.splitlines() if line.strip() and not line.startswith("#")]


def words_of(line):
    splitter = shlex.shlex(line, posix=True, punctuation_chars=False)
    splitter.whitespace_split = True
    splitter.commenters = ""
    splitter.escape = ""  # backslashes belong to Windows' paths
    return list(splitter)


class Masks:
    """The only place that hides what differs from run to run."""

    def __init__(self, folders):
        self.folders = []
        for name, path in folders.items():
            text = windows_path(path)
            self.folders += [(text.replace("\\", "\\\\"), name), (text, name)]
        self.random_macs = []
        self.started = time.time()

    def learn(self, text):
        """Random tails are what the MAC update itself says it has drawn."""
        for mac in re.findall(r"Duplicated : changed to \[(00-04-70-[-0-9a-f]{8})\]", text):
            if mac not in self.random_macs:
                self.random_macs.append(mac)

    def apply(self, text):
        for path, name in self.folders:
            text = re.sub(re.escape(path), lambda _: f"<{name}>", text, flags=re.IGNORECASE)
        text = re.sub(r"\b[0-9a-f]{4}(-[0-9a-f]{4}){3}\b", "<unique>", text)
        for number, mac in enumerate(self.random_macs, 1):
            tail = f"<random {number}>"
            text = text.replace(mac, "00-04-70-" + tail)
            text = text.replace(mac.replace("-", ""), "000470" + tail)
        text = re.sub(r'(": ?)?(?<!\d)(1[3-9]\d{16})(?!\d)', self.relative_time, text)
        # lab_statistics: process id and start time.
        text = re.sub(r"^(\S+\.exe) +\d+  (running|ended  )  [-\d]{10} [:\d]{8}",
                      r"\1 <process> \2 <time>", text, flags=re.M)
        # The diagnostics' own log begins its lines with the local time.
        return re.sub(r"^\d+/\d+/\d+ \d+:\d\d:\d\d:\d\d\d : ", "<time> : ", text, flags=re.M)

    def relative_time(self, match):
        """A FILETIME as the distance from the run, which is the lease duration; in JSON quoted."""
        unix = int(match[2]) / 1e7 - 11644473600
        longest = int(unix - self.started)
        shortest = math.ceil(unix - time.time())
        # A run of more than a second leaves a choice: leases are round numbers.
        roundest = max(range(shortest, longest + 1), default=longest,
                       key=lambda seconds: len(str(seconds)) - len(str(seconds).rstrip("0")))
        text = f"<now + {roundest} s>"
        return f'{match[1]}"{text}"' if match[1] else text


def registry_value(kind, data):
    if kind in ("sz", "dword"):
        quoted = data.replace("\\", "\\\\").replace('"', '\\"')
        return f'"{quoted}"' if kind == "sz" else f"dword:{int(data, 0):08x}"
    if kind == "expand_sz":
        number, raw = 2, (data + "\0").encode("utf-16-le")
    elif kind == "multi_sz":
        texts = data.split("|") if data else []
        number, raw = 7, "".join(text + "\0" for text in texts + [""]).encode("utf-16-le")
    elif kind.startswith("hex"):  # hex(7) = 31,00: the bytes as they are
        return f"{kind}:{data}"
    else:
        raise Failure(f"registry: unknown type {kind}")
    return f"hex({number:x}):" + ",".join(f"{byte:02x}" for byte in raw)


def registry_script(lines, substitute, folders, storage):
    """A .reg text: our keys emptied, then the usual settings, then the scenario's lines.

    A line is `Key\\Value = type:data` below HKLM\\SOFTWARE; `Key\\Value = none` takes a usual
    setting away. The value @ is a key's default one. `storage` is the component's DLL, or empty.
    """
    values = {("Vantrel\\Data", "Path"): registry_value("sz", windows_path(folders["data"]))}
    for line in lines:
        match = re.fullmatch(r"(.+)\\([^\\=]+?)\s*=\s*(?:(none)|([a-z_]+(?:\(\w+\))?):(.*))", line)
        if not match:
            raise Failure(f"registry: cannot read {line!r}")
        key, name, none, kind, data = match.groups()
        if none:
            values.pop((key, name), None)
        else:
            values[key, name] = registry_value(kind, substitute(data))

    software = "HKEY_LOCAL_MACHINE\\SOFTWARE"
    classes = software + "\\Classes"
    temp = registry_value("sz", windows_path(folders["temp"]))
    text = ["REGEDIT4", "", f"[-{software}\\Vantrel]", f"[-{classes}\\Granite.ZakStorageDB]",
            f"[-{classes}\\CLSID\\{STORAGE_CLSID}]",
            f"[-{classes}\\Interface\\{STORAGE_IID}]",
            f"[-{classes}\\TypeLib\\{STORAGE_TYPELIB}]",
            "[HKEY_CURRENT_USER\\Environment]", f'"TEMP"={temp}', f'"TMP"={temp}']
    if storage:
        server = registry_value("sz", windows_path(folders["program"] / storage))
        text += [f"[{classes}\\Granite.ZakStorageDB\\CLSID]", f'@="{STORAGE_CLSID}"',
                 f"[{classes}\\CLSID\\{STORAGE_CLSID}\\InprocServer32]",
                 f"@={server}", '"ThreadingModel"="Both"']
    for (key, name), value in values.items():
        text += [f"[{software}\\{key}]", (name if name == "@" else f'"{name}"') + f"={value}"]
    # Version 5 texts are UTF-16; the hex forms above need it.
    text[0] = "Windows Registry Editor Version 5.00"
    return "\r\n".join(text) + "\r\n"


class Scenario:
    def __init__(self, source, lab, build, gui_driver):
        self.source = source
        self.name = str(source.relative_to(HERE))
        self.lab = lab
        self.gui_driver = gui_driver
        self.base = build / "scenarios" / self.name
        self.folders = {name: self.base / name for name in ("program", "work", "data", "temp")}
        self.state = self.base / "state.json"
        self.journal = self.base / "calls"
        self.trace = self.base / "trace"
        self.masks = Masks(self.folders)
        self.without = set(lines_of(self.source / "without"))
        self.without_display = "display" in self.without
        self.without.discard("display")
        # A prefix where something ran without a display opens no windows for a while.
        self.prefix = build / ("wine-no-display" if self.without_display else "wine-scenarios")
        self.actual = {}

    def substitute(self, text, escaped=False):
        for name, path in self.folders.items():
            path = windows_path(path)
            text = text.replace(f"<{name}>", path.replace("\\", "\\\\") if escaped else path)
        return text

    def environment(self):
        env = {name: value for name, value in os.environ.items()
               if not name.startswith(("DHCPLAB_", "WINE", "DISPLAY"))}
        if self.without_display:
            env["DISPLAY"] = ":9999"
        # The path is for batch files: their netsh is the lab's.
        env.update({"WINEPREFIX": str(self.prefix), "TZ": "UTC",
                    "WINEPATH": windows_path(self.folders["program"]),
                    "DHCPLAB_JOURNAL": windows_path(self.journal),
                    "DHCPLAB_SERVER_STATE": windows_path(self.state),
                    "DHCPLAB_TRACE": windows_path(self.trace),
                    "DHCPLAB_ADAPTERS": windows_path(self.base / "adapters")})
        if (self.base / "server").exists():
            env["DHCPLAB_FAULTS"] = windows_path(self.base / "server")
        if (self.source / "events").exists():
            env["WINEDEBUG"] = "-all,trace+eventlog,warn+eventlog,err+eventlog"
        for line in lines_of(self.source / "env"):
            name, _, value = line.partition("=")
            env[name.strip()] = self.substitute(value.strip())
        return env

    def prepare(self):
        shutil.rmtree(self.base, ignore_errors=True)
        for folder in self.folders.values():
            folder.mkdir(parents=True)
        for unknown in self.without - set(STAND_INS):
            raise Failure(f"without: unknown stand-in {unknown}")
        missing = {STAND_INS[name] for name in self.without}
        for program in self.lab.iterdir():
            if program.suffix in (".exe", ".dll") and program.name not in missing:
                try:
                    os.link(program, self.folders["program"] / program.name)
                except OSError:
                    shutil.copy(program, self.folders["program"])
        for entry in self.source.iterdir():
            if entry.is_file() and entry.name not in NOT_INPUT:
                shutil.copyfile(entry, self.folders["work"] / entry.name)
        (self.base / "adapters").touch()  # rather none than the machine's own
        store = self.folders["data"] / "Zephon.XML"
        sources = [("store.xml", store), ("state.json", self.state),
                   ("server", self.base / "server"), ("adapters", self.base / "adapters")]
        inputs = [(self.source / name, target) for name, target in sources]
        with_sample = (self.source / "sample").exists()
        if with_sample:
            inputs = [(SAMPLE / "Zephon.XML", store),
                      (SAMPLE / "adapters.txt", self.base / "adapters")] + inputs
        for source, target in inputs:
            if source.exists():
                shutil.copyfile(source, target)

        storage = "" if "storage" in self.without else STAND_INS["storage"]
        if "typelib" in self.without:
            storage = "zakstorageNoTypeLib.dll"
        script = registry_script(lines_of(self.source / "registry"), self.substitute,
                                 self.folders, storage)
        if with_sample:
            interfaces = (SAMPLE / "interfaces.reg").read_text(encoding="utf-8")
            script += interfaces.partition("\n")[2].replace("\n", "\r\n")
        (self.base / "settings.reg").write_text(script, encoding="utf-16", newline="")
        self.wine(["regedit", "/S", windows_path(self.base / "settings.reg")])

    def wine(self, command, **options):
        return subprocess.run([WINE_ENV] + command, env=self.environment(),
                              stdin=subprocess.DEVNULL, cwd=self.folders["work"],
                              timeout=TIMEOUT_SECONDS, **options)

    def wine_output(self, command):
        """Files, not pipes: the desktop that Wine starts with a first window inherits them, lives
        longer than the program, and would keep us waiting for the end of a pipe."""
        with open(self.base / "stdout", "w+b") as out, open(self.base / "stderr", "w+b") as err:
            done = self.wine(command, stdout=out, stderr=err)
            out.seek(0)
            err.seek(0)
            return done, self.text_of(out.read()), self.text_of(err.read())

    def run_commands(self):
        text = (self.source / "command").read_text(encoding="utf-8")
        runs = [line for line in text.splitlines() if not line.startswith("#")]
        console = []
        for line in runs:
            if line.startswith("!faults"):
                faults = line[len("!faults"):].replace(";", "\n")
                (self.base / "server").write_text(faults, encoding="utf-8")
                console.append(f"$ {line[1:].strip()}\n")
                continue
            other = line.startswith("!")
            words = words_of(self.substitute(line[1:] if other else line))
            program = words.pop(0) if other else "dhcpmigrate"
            path = self.folders["program"] / (program + ".exe")
            program_path = windows_path(path) if path.exists() else program
            done, output, errors = self.wine_output([program_path] + words)
            if done.returncode != 0:
                raise Failure(f"{program} {line}: exit code {done.returncode}")
            errors = self.take_events(errors)
            if errors:
                raise Failure(f"{program} {line}: wrote to stderr: {errors!r}")
            if len(runs) > 1:
                console.append(f"$ {program} {line.lstrip('!').strip()}\n")
            console.append(output)
        return "".join(console)

    def take_events(self, errors):
        """Wine has no event log; it says on stderr what would be written."""
        kinds = {"trace": "information", "warn": "warning", "err": "error"}
        # Wine's own remark when a file dialog looks at the drives.
        errors = re.sub(r"^wine: Read access denied for device .*\n", "", errors, flags=re.M)
        event = re.compile(r'^[0-9a-f]+:(\w+):eventlog:ReportEventW L"(.*)"\n', re.M)
        self.actual["events"] += "".join(
            f"{kinds[kind]} {text}\n" for kind, text in event.findall(errors))
        return event.sub("", errors)

    @staticmethod
    def text_of(data):
        return data.decode("cp1252").replace("\r\n", "\n")

    def run(self):
        self.prepare()
        self.actual["events"] = ""
        driver = None
        if (self.source / "gui").exists():
            script = self.base / "gui"
            steps = (self.source / "gui").read_text(encoding="utf-8")
            script.write_text(self.substitute(steps, escaped=True), encoding="cp1252")
            with open(self.base / "gui.expected", "wb") as seen:
                driver = subprocess.Popen([WINE_ENV, str(self.gui_driver), windows_path(script)],
                                          env=self.environment(), stdin=subprocess.DEVNULL,
                                          stdout=seen)
        try:
            console = self.run_commands()
        finally:
            if driver:
                driver.wait(timeout=TIMEOUT_SECONDS)
        if driver:
            self.actual["gui.expected"] = self.text_of((self.base / "gui.expected").read_bytes())
        self.actual["console"] = console
        self.collect()

    def collect(self):
        if self.journal.exists():
            calls = self.journal.read_text(encoding="utf-8")
        else:
            calls = ""
        misuse = [line for line in calls.splitlines() if line.startswith("MISUSE")]
        if misuse:
            raise Failure("the program misused a stand-in:\n" + "\n".join(misuse))
        self.actual["calls"] = calls
        self.actual["trace"] = self.trace_lines()
        store = self.folders["data"] / "Zephon.XML"
        self.actual["store.after.xml"] = (
            store.read_text(encoding="utf-8") if store.exists() else "")
        self.actual["state.after.json"] = (
            self.state.read_text(encoding="utf-8") if self.state.exists() else "null\n")
        for made in sorted(self.folders["work"].rglob("*")):
            if made.is_file():
                name = "files/" + str(made.relative_to(self.folders["work"]))
                self.actual[name] = made.read_bytes().decode("latin-1")
        fault_log = self.folders["temp"] / "DT.LOG"
        self.actual["dt.log"] = self.text_of(fault_log.read_bytes()) if fault_log.exists() else ""
        left = {path.name for path in self.folders["temp"].iterdir()} - {"DT.LOG", "Zephon.XML"}
        if left:
            raise Failure("temporary files are left: " + ", ".join(sorted(left)))

        for name in list(self.actual):
            self.masks.learn(self.actual[name])
        self.actual = {name: self.masks.apply(text) for name, text in self.actual.items()}

    def trace_lines(self):
        """Level, file tag, function tag and text; line numbers would change with every edit."""
        text = self.text_of(self.trace.read_bytes()) if self.trace.exists() else ""
        return re.sub(r"^(\d+\|[^|]*\|[^|]*)\|\d+\|", r"\1|", text, flags=re.M)

    def expected_files(self):
        """Name -> path; the console is part of every scenario, the others when they are there."""
        paths = {name: self.source / name for name in
                 ("console", "gui.expected", "calls", "trace", "events", "store.after.xml",
                  "state.after.json", "dt.log")}
        paths = {name: path for name, path in paths.items() if path.exists()}
        paths["console"] = self.source / "console"
        for path in (self.source / "files").rglob("*"):
            if path.is_file():
                paths[str(path.relative_to(self.source))] = path
        return paths

    @staticmethod
    def encoding_of(name):
        return "latin-1" if name.startswith("files/") else "utf-8"

    def compare(self):
        problems = []
        expected_files = self.expected_files()
        if (self.source / "files").exists():
            known = {"files/" + entry.name for entry in self.source.iterdir()} | set(expected_files)
            problems += [f"{name}: made, but not expected" for name in self.actual
                         if name.startswith("files/") and name not in known]
        for name, path in expected_files.items():
            if not path.exists():
                problems.append(f"{name}: the expected file is missing")
                continue
            if name not in self.actual:
                problems.append(f"{name}: the program did not make this file")
                continue
            expected = path.read_bytes().decode(self.encoding_of(name))
            actual = self.actual[name]
            if name == "state.after.json":
                same = json.loads(expected) == json.loads(actual)
            else:
                same = expected == actual
            if not same:
                problems += difflib.unified_diff(
                    [repr(line)[1:-1] for line in expected.splitlines(True)],
                    [repr(line)[1:-1] for line in actual.splitlines(True)],
                    f"{name} (expected)", f"{name} (actual)", lineterm="")
        if problems:
            raise Failure("\n".join(problems))

    def update(self):
        for name, path in self.expected_files().items():
            if name in self.actual:
                path.write_bytes(self.actual[name].encode(self.encoding_of(name)))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, default=ROOT / "build" / "debug",
                        help="build folder; the runs are kept in its folder scenarios")
    parser.add_argument("--lab", type=Path, help="folder with the program and the stand-ins")
    parser.add_argument("--gui-driver", type=Path, help="program that works the windows")
    parser.add_argument("--update", action="store_true",
                        help="rewrite the expected files that are there; review them with git diff")
    parser.add_argument("scenarios", nargs="*", help="names below tests/scenarios; default: all")
    options = parser.parse_args()
    build = options.build.resolve()
    lab = (options.lab or build / "lab").resolve()
    gui_driver = (options.gui_driver or build / "tests" / "gui" / "gui_driver.exe").resolve()

    names = options.scenarios or [str(found.parent.relative_to(HERE))
                                  for found in sorted(HERE.rglob("command"))]
    failed = 0
    # The registry is shared by all scenarios of a build.
    (build / "scenarios").mkdir(parents=True, exist_ok=True)
    with open(build / "scenarios" / ".lock", "w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        for name in names:
            scenario = Scenario((HERE / name).resolve(), lab, build, gui_driver)
            try:
                scenario.run()
                if options.update:
                    scenario.update()
                scenario.compare()
                print(f"ok      {scenario.name}")
            except (Failure, subprocess.TimeoutExpired) as problem:
                failed += 1
                print(f"FAILED  {scenario.name}   (see {scenario.base})\n{problem}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
