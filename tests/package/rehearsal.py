#!/usr/bin/python3
"""rehearsal.py ZIP: unpacks the rehearsal package into an empty folder and runs it under Wine's
cmd, as an administrator would. After each run the registry must be as before."""

import hashlib
import os
import re
import shutil
import subprocess
import sys
import time
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# cmd splits this name wherever the package fails to quote it.
FOLDER = ROOT / "build" / "rehearsal (unpacked) & more"
ENVIRONMENT = {name: value for name, value in os.environ.items()
               if not name.startswith(("DHCPLAB_", "WINE", "DISPLAY"))}
ENVIRONMENT["WINEPREFIX"] = str(ROOT / "build" / "debug" / "wine-rehearsal")
KEY = r"HKLM\SOFTWARE\Vantrel\Data"

CUT_OVER = """\
== 2. Days before: check the files
> check scopes.csv
PASS: 4 records, 0 findings
> check clients.csv
{0}
== 3. Cut over: scopes, their DNS servers, clients
> dhcpmigrate -g scopes.csv -i 192.0.2.2 -d 3600 -o scopes-in.log
> check scopes.csv scopes-in.log
PASS: 4 records, 0 findings, 4 tried, 0 more in the log
> dns.bat >dns.log 2>&1
4 commands, 4 completed successfully; dns.log has the answers
> dhcpmigrate -l clients.csv -i 192.0.2.2 -o clients-in.log
> check clients.csv clients-in.log
{1}
== 4. Verify: what the server holds
> show_server server.json
4 scopes
"""
SAMPLE = """\
== 1. Decide: what the gateway holds
> dhcpmigrate -s scopes.csv -v off
> type scopes.csv
> dhcpmigrate -c clients.csv -v off
> check scopes.csv
PASS: 4 records, 0 findings
> check clients.csv
FAIL: 40 records, 4 findings
""" + CUT_OVER.format("PASS: 40 records, 0 findings",
                      "PASS: 40 records, 0 findings, 40 tried, 0 more in the log") + """\
40 clients
> show_hosts --log clients-in.log --scopes scopes.csv server.json clients.csv
40 of 40
40 of 40
== 5. Roll back: what would run on the server
== Other MACs, on a second server: the store is repaired, the reservations are netsh commands
> dhcpmigrate -m -o mac.log
> dhcpmigrate -c clients.csv -o clients-out.log
> check scopes.csv
PASS: 4 records, 0 findings
> check clients.csv
FAIL: 40 records, 2 findings
> dhcpmigrate -g scopes.csv -i 192.0.2.2 -o scopes-in.log
> reserve.bat >reserve.log 2>&1
16 commands, 16 completed successfully; reserve.log has the answers
> dhcpmigrate -l dynamic.csv -i 192.0.2.2 -o dynamic-in.log
> check dynamic.csv dynamic-in.log
PASS: 24 records, 0 findings, 24 tried, 0 more in the log
> find "of 40" cut-over-hosts.log
0 of 40
0 of 40
== 6. Days after: the clean-up -z as files, without the quotation marks that Front Desk 2 needs
> dhcpmigrate -z 10.1.0.0 -i 192.0.2.2 -w fix-10.1.0.0.bat -o clean-up-10.1.0.0.log
> fix-10.1.0.0.bat >fix-10.1.0.0.log 2>&1
48 commands, 47 completed successfully; fix-10.1.0.0.log has the answers
> dhcpmigrate -z 10.2.0.0 -i 192.0.2.2 -w fix-10.2.0.0.bat -o clean-up-10.2.0.0.log
> fix-10.2.0.0.bat >fix-10.2.0.0.log 2>&1
42 commands, 42 completed successfully; fix-10.2.0.0.log has the answers
> dhcpmigrate -z 192.168.20.0 -i 192.0.2.2 -w fix-192.168.20.0.bat -o clean-up-192.168.20.0.log
> fix-192.168.20.0.bat >fix-192.168.20.0.log 2>&1
18 commands, 18 completed successfully; fix-192.168.20.0.log has the answers
> dhcpmigrate -z 172.16.8.0 -i 192.0.2.2 -w fix-172.16.8.0.bat -o clean-up-172.16.8.0.log
> fix-172.16.8.0.bat >fix-172.16.8.0.log 2>&1
12 commands, 12 completed successfully; fix-172.16.8.0.log has the answers
> find "of 40" days-after-hosts.log
39 of 40
39 of 40
The machine is as it was before: component and registry key are gone.
"""
OWN_FILES = CUT_OVER.format("FAIL: 40 records, 4 findings",
                            "FAIL: 40 records, 1 findings, 40 tried, 0 more in the log") + """\
39 clients
> show_hosts --log clients-in.log --scopes scopes.csv server.json clients.csv
39 of 40
38 of 40
"""
COMMANDS = {
    "dhcpmigrate.exe": ["-l", r"sample\clients.csv", "-i", "192.0.2.2"],
    "netsh.exe": "dhcp server 192.0.2.2 add scope 10.1.0.0 255.255.0.0 Main".split()}
REFUSALS = [
    (r"HKCR\Granite.ZakStorageDB\CLSID", "", "{00000000-0000-0000-0000-000000000001}",
     "Not here: the gateway's storage component is registered (Granite.ZakStorageDB).\n"),
    (KEY, "Path", r"C:\Gateway",
     "Not here: the gateway's registry key is there (HKLM\\SOFTWARE\\Vantrel).\n"),
    (r"HKLM\SYSTEM\CurrentControlSet\Services\DHCPServer", "Type", "service",
     "Not here: a DHCP server is installed (service DHCPServer).\n")]


def wine(*command, **options):
    return [str(ROOT / "script" / "wine-env"), *command], {
        "cwd": FOLDER, "env": ENVIRONMENT, "stdin": subprocess.DEVNULL, **options}


def run(*command, **settings):
    """Output goes to a file: programs that Wine leaves running would keep a pipe open."""
    with open(FOLDER.parent / "rehearsal.log", "w+b") as log:
        words, options = wine(*command, stdout=log, stderr=log, timeout=100)
        options["env"] = {**ENVIRONMENT, **settings}
        code = subprocess.run(words, **options).returncode
        log.seek(0)
        return code, log.read().decode("cp1252").replace("\r\n", "\n")


def registry():
    exported = FOLDER.parent / "rehearsal.reg"
    exported.unlink(missing_ok=True)
    run("reg", "export", r"HKLM\SOFTWARE", "Z:" + str(exported).replace("/", "\\"))
    return exported.read_bytes().decode("utf-16").splitlines()


def rehearse(argument=""):
    return run("cmd", "/c", "rehearse.cmd", *argument.split())


def outline(text):
    lines = r"^(?:== |> |\d+ [sc]|PASS|FAIL|The machine|\w+ ended).*|\d+ of 40"
    found = re.findall(lines, text, flags=re.M)
    return "".join(line.rstrip() + "\n" for line in found)


def check_alone():
    """Programs started without rehearse.cmd must not look like a run on a gateway."""
    alone = FOLDER / "alone"
    alone.mkdir()

    def check(program, expected_code, expected, **settings):
        code, text = run(program, *COMMANDS[program.name], **settings)
        assert code == expected_code and expected in text, f"{program}: {code}\n{text}"

    def take(*names):
        for name in names:
            shutil.copy(FOLDER / "lab" / name, alone)

    before = sorted(FOLDER.rglob("*"))
    check(FOLDER / "lab" / "dhcpmigrate.exe", 1, "DHCPLAB_SERVER_STATE is not set: nothing was done")
    check(FOLDER / "lab" / "netsh.exe", 1, "Unable to determine the DHCP Server version")
    assert sorted(FOLDER.rglob("*")) == before, "a file was left"
    take("dhcpmigrate.exe", "dhcpsapi.dll")
    check(alone / "dhcpmigrate.exe", 0, "Failed with error [1722]")
    (alone / "dhcpsapi.dll").unlink()
    take("DTClient.dll")
    check(alone / "dhcpmigrate.exe", 0, "Setting DHCP Clients", DHCPLAB_TRACE="trace.txt")
    assert "unregister" in (FOLDER / "trace.txt").read_text(), "no trace"


def interrupt():
    """Ends cmd halfway, as closing its window does."""
    words, options = wine("cmd", "/c", "rehearse.cmd", stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL)
    with subprocess.Popen(words, **options) as process:
        deadline = time.monotonic() + 60
        while not (FOLDER / "dhcpmigrate-rehearsal" / "mac.log").exists():
            assert time.monotonic() < deadline, "the rehearsal does not reach its second server"
            time.sleep(0.05)
        process.kill()


def main():
    shutil.rmtree(FOLDER, ignore_errors=True)
    with zipfile.ZipFile(sys.argv[1]) as package:
        package.extractall(FOLDER)
    for line in (FOLDER / "SHA256SUMS.txt").read_text().splitlines():
        expected, name = line.split(" *")
        assert hashlib.sha256((FOLDER / name).read_bytes()).hexdigest() == expected, name
    before = registry()
    check_alone()

    def check(argument, expected_code, expected, seen=lambda text: text):
        code, text = rehearse(argument)
        assert (code, seen(text)) == (expected_code, expected), f"{argument}: {code}\n{text}"

    check("", 0, SAMPLE, outline)
    assert registry() == before, "the rehearsal left something"
    check("sample", 0, OWN_FILES, outline)
    for key, name, value, text in REFUSALS:
        run("reg", "add", key, *(("/v", name) if name else ("/ve",)), "/d", value, "/f")
        with_it = registry()
        check("", 1, text)
        assert registry() == with_it, "the refused rehearsal changed something:" + text
        run("reg", "delete", key.removesuffix("\\CLSID").removesuffix("\\Data"), "/f")
    interrupt()
    assert registry() != before, "the interrupted rehearsal had changed nothing yet"
    check("undo", 0, "Nothing of a rehearsal is left.\n")
    assert registry() == before, "undo left something"
    print("rehearsal: as it should be, and nothing left of it")


if __name__ == "__main__":
    main()
