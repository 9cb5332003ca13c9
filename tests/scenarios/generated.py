#!/usr/bin/python3
"""Runs the program on generated stores and compares the results with an independent model, below.
--seed N repeats a failure."""

import argparse
import copy
import difflib
import itertools
import json
import random
import re
import subprocess
import sys
import time

from run import ROOT, Failure, World, add_build_options, build_lock, readable

sys.path.insert(0, str(ROOT / "lab"))
from store_generator import (VENDOR, dotted, last_of, make_store, number, read_store, registry_text,
                             store_text)

SERVER, LEASE = "10.0.0.2", 600000
AUTOMATIC = f"-a -i {SERVER} -d {LEASE}"


def same(what, expected, actual):
    if expected != actual:
        texts = [(value if isinstance(value, str) else
                  json.dumps(value, indent=1, sort_keys=True)).splitlines()
                 for value in (expected, actual)]
        raise Failure("\n".join(itertools.islice(difflib.unified_diff(
            *texts, f"{what} (expected)", f"{what} (actual)", lineterm=""), 60)))


# The model.

def parse_mac(text):
    """A group includes the dash after it; parsing stops at the first invalid group."""
    mac = bytearray(6)
    for k in range(6):
        group = re.match(r"([0-9a-f]{1,2})-" if k < 5 else r"([0-9a-f]{2}|[0-9a-f](?=\s|\Z))", text,
                         re.I | re.A)
        if not group:
            break
        mac[k] = int(group[1], 16)
        text = text[group.end():]
    return bytes(mac)


def hardware_of(text):
    """Each token between dashes gives one byte, the low byte of its number."""
    tokens = [re.match(r"\s*([0-9a-f]+)", token, re.I | re.A) for token in text.split("-")]
    return bytes(min(int(token[1], 16), 0x7FFFFFFF) & 0xFF if token else 0 for token in tokens)


class Server:
    """The DHCP server: what it returns for the imports, and its state afterwards."""

    def __init__(self):
        self.scopes, self.clients, self.hardware = {}, {}, set()

    def add_scope(self, name, gateway, mask, network):
        first, last = number(network), last_of(number(network), number(mask))
        if first & number(mask) != first:
            return 87
        if any(first <= last_of(number(other), number(scope["mask"])) and number(other) <= last
               for other, scope in self.scopes.items()):
            return 20052
        scope = self.scopes[network] = {"mask": mask, "name": name, "comment": "", "state": 0,
                                        "range": None, "exclusions": {}, "reservations": {},
                                        "options": {}}
        if last - first < 2:
            return 20023
        scope["range"] = {"first": dotted(first + 1), "last": dotted(last - 1)}
        if number(gateway) & number(mask) != first:
            return 20023
        scope["exclusions"][gateway] = gateway
        scope["options"] = {"3": [{"ip": gateway}], "51": [{"dword": LEASE}]}
        return 0

    def add_client(self, name, address, mask, _dns1, _dns2, mac, status):
        mac = hardware_of(mac)
        network = next((network for network, scope in self.scopes.items()
                        if number(address) & number(scope["mask"]) == number(network)), None)
        if len(mac) > 255 or network is None:
            return 87
        if address in self.clients or (network, mac) in self.hardware:
            return 20013
        self.hardware.add((network, mac))
        self.clients[address] = {
            "mac": mac.hex("-"), "name": name, "comment": "", "expires": LEASE,
            "type": 100, "ownerName": "DHCPLAB", "ownerAddress": SERVER}
        if status != "Reserved":
            return 0
        if number(address) & number(mask) != number(network):
            return 20005  # the client's mask gives another network
        self.scopes[network]["reservations"][address] = {"mac": mac.hex("-"), "types": 3}
        return 0


def narrow(text):
    return text.encode("cp1252", "replace").decode("cp1252")


def repaired(store, after, interfaces):
    """Returns the store after the repairs and the console line for each MAC. Takes random MACs from
    `after`, the actual store, if they are valid."""
    store, console, used = copy.deepcopy(store), [], set()
    for entry, client in store["Clients"].items():
        if "Name" not in client or "MAC" not in client:
            continue
        told = f"Client [{narrow(client['Name'])}] checking MAC [{client['MAC']}] -> "
        mac, result = parse_mac(client["MAC"]), "OK"
        if mac[:3] != VENDOR:
            mac, result = VENDOR + mac[3:], "Prefix invalid"
            if mac in used:
                mac, result = parse_mac(after["Clients"][entry]["MAC"]), "Duplicated"
                if mac in used or mac[:3] != VENDOR:
                    raise Failure(f"{entry} got the address {mac.hex('-')}")
            used.add(mac)
            client["MAC"] = mac.hex("-")
            result += f" : changed to [{mac.hex('-')}]"
        console.append(told + result)
    for network, scope in store["Segments"].items():
        found = (pair for pair in itertools.chain(*interfaces)
                 if number(pair[0]) & number(pair[1]) == number(network))
        scope.update(zip(("Address", "Mask"), next(found, ())))
    store["Config"]["Server"]["DefaultDHCP"] = "Default"
    store["DHCPServers"] = {SERVER: {"Name": "Default", "Address": SERVER}}
    return store, console


def migrated(store, server):
    """Returns the console lines of both imports from a repaired store; changes the server."""
    console = []

    def add(kind, labels, fields, call, told=""):
        if not fields[0].startswith("#"):  # a comment line in the CSV file
            fields = [narrow(text).strip(" \t") for text in fields]
            code = call(*fields)
            texts = ", ".join(f"{label} [{text}]" for label, text in zip(labels, fields))
            console.append(f"{kind} to add in DHCP server : {texts}{told} -> " +
                           (f"Failed with error [{code}]." if code else "OK"))

    for network, scope in store["Segments"].items():
        add("Scope", ("Name", "IP Address", "NetMask", "Scope"),
            [scope["Name"], scope["Address"], scope["Mask"], network], server.add_scope,
            ", Comments []")
    for client in store["Clients"].values():
        add("Client", ("Name", "IP Address", "NetMask", "DNS1", "DNS2", "MAC Address",
                       "Lease Status"),
            [client.get("Name", ""),
             *(client.get(key, "0.0.0.0") for key in ("IpAddress", "NetMask", "DNS1", "DNS2")),
             client.get("MAC", ""), client.get("DHCPLeaseStatus", "")], server.add_client)
    return console


# The tests.

def run(options, store, interfaces, command, faults=""):
    """Runs the program on this store. Returns its world and the run."""
    world = World(f"generated/{options.test}", options)
    world.store.write_text(store_text(store), encoding="utf-8")
    (world.base / "faults").write_text(faults, encoding="utf-8")
    for line in registry_text(interfaces).splitlines():
        world.add_registry(re.sub(r"\\(\w+) = ", r": \1 = ", line))
    return world, world.run(["dhcpmigrate", *command.split()]) if command else None


def console_of(world, done):
    return world.masks.apply(readable(done.console)).replace("\\n", "").splitlines()


def server_state(world):
    """Returns the server's state, with LEASE in place of each expiry that matches it."""
    state = json.loads(world.state.read_text(encoding="utf-8"))
    for client in state["clients"].values():
        leased = client["expires"] / 1e7 - 11644473600 - LEASE
        if world.masks.started - 1 <= leased <= time.time():
            client["expires"] = LEASE
    return {"scopes": state["scopes"], "clients": state["clients"]}


def round_trip(options):
    """The server must hold each record of the store. A second run changes nothing, because the
    server refuses records that exist."""
    store, interfaces = make_store(False, 1000)
    world, done = run(options, store, interfaces, AUTOMATIC)
    server = Server()
    for _ in range(2):
        after = read_store(world.store)
        store, repairs = repaired(store, after, interfaces)
        same("store", store, after)
        imports = migrated(after, server)
        same("server", {"scopes": server.scopes, "clients": server.clients}, server_state(world))
        same("console", world.masks.apply("\n".join(repairs + imports)).split("\n"),
             [line for line in console_of(world, done) if " -> " in line])
        done = world.run(["dhcpmigrate", *AUTOMATIC.split()])


def faults(options):
    """Each call fails in turn: all steps still run, and only the record of that call is missing."""
    store, interfaces = make_store(True, 2, scopes=2)
    world, whole = run(options, store, interfaces, AUTOMATIC)
    told, code = console_of(world, whole), 0x80070005  # an error for the store, too
    calls = [line for line in whole.calls() if re.match("store |Dhcp", line)]
    for call, line in enumerate(calls, 1):
        try:
            world, done = run(options, store, interfaces, AUTOMATIC, f"any #{call} = {code}\n")
            said = console_of(world, done)
            lost = [text for text in told if text not in said]
            same("progress", [], [text for text in lost if not re.match("Client|Scope", text)])
            same("refusals", int(re.match("Dhcp(?!GetSubnetInfo)", line) is not None),
                 sum(text.endswith(f"Failed with error [{code}].") for text in said))
            # One record has three lines. More are lost only with a list, the store or a scope.
            if not re.match("store (Cr|In|Enumerate |EnumerateWithValue 1 0 S)|DhcpCreateS", line):
                same("lost records", lost[:3], lost)
        except Failure as failure:
            raise Failure(f"call {call} fails: {line}\n{failure}") from failure


def main():
    tests = {test.__name__: test for test in (round_trip, faults)}
    parser = argparse.ArgumentParser(description=__doc__)
    add_build_options(parser)
    parser.add_argument("--seed", type=int, default=5)
    parser.add_argument("test", choices=tests)
    options = parser.parse_args()
    random.seed(options.seed)
    with build_lock(options):
        try:
            tests[options.test](options)
        except (Failure, subprocess.TimeoutExpired) as problem:
            sys.exit(f"FAILED  --seed {options.seed} {options.test}\n{problem}")


if __name__ == "__main__":
    main()
