"""The stand-in server's state as a configuration and leases for Kea, and hosts that ask Kea.

As a program, in network and PID namespaces of its own: reads names of folders, a line each, with
`state.json` and `asks.json` (a list of address, MAC, address to ask for or null), and prints for
each the answers as a JSON list of [address, mask, router, lease time], null for none.
"""

import json
import shutil
import subprocess
import sys
import time
from ipaddress import IPv4Address, IPv4Network
from pathlib import Path

UNIX_EPOCH = 11644473600  # in seconds since 1601, where a FILETIME begins
PATIENCE_SECONDS = 10


def networks(state):
    """Those of the scopes; the first scope is Kea's subnet 1, and so on."""
    return [IPv4Network(f"{address}/{scope['mask']}") for address, scope in state["scopes"].items()]


def subnet_number(state, address):
    return [IPv4Address(address) in network for network in networks(state)].index(True) + 1


def pools(scope):
    """The range without the exclusions: what a Windows server leases by itself."""
    if not scope.get("range"):
        return []
    free = [[IPv4Address(scope["range"]["first"]), IPv4Address(scope["range"]["last"])]]
    for start, end in sorted((IPv4Address(start), IPv4Address(end))
                             for start, end in scope.get("exclusions", {}).items()):
        first, last = free.pop()
        free += [[first, min(start - 1, last)], [max(first, end + 1), last]]
    return [{"pool": f"{first}-{last}"} for first, last in free if first <= last]


def subnet(number, network, scope):
    """A scope. Reservations count inside and outside of the range, as on a Windows server."""
    options = scope.get("options", {})
    return {"id": number, "subnet": str(network), "interface": f"server{number}",
            "pools": pools(scope),
            "valid-lifetime": options.get("51", [{"dword": 691200}])[0]["dword"],
            "option-data": [{"name": "routers", "data": ",".join(
                element["ip"] for element in options["3"])}] if "3" in options else [],
            "reservations": [{"hw-address": one["mac"].replace("-", ":"), "ip-address": address}
                             for address, one in scope.get("reservations", {}).items()]}


def configuration(state, folder):
    subnets = [subnet(number, network, scope) for number, (network, scope) in
               enumerate(zip(networks(state), state["scopes"].values()), 1) if not scope["state"]]
    return {"Dhcp4": {
        "interfaces-config": {"interfaces": [one["interface"] for one in subnets]},
        # A Windows server knows a host by its MAC unless the host sends another identifier.
        "match-client-id": False, "host-reservation-identifiers": ["hw-address"],
        "lease-database": {"type": "memfile", "name": f"{folder}/leases.csv", "lfc-interval": 0},
        "multi-threading": {"enable-multi-threading": False}, "subnet4": subnets,
        "loggers": [{"name": "kea-dhcp4", "severity": "INFO",
                     "output_options": [{"output": "stdout", "flush": True}]}]}}


def leases(state):
    """Records that have a lease. One whose expiry is 0 only belongs to a reservation."""
    lines = ["address,hwaddr,client_id,valid_lifetime,expire,subnet_id,fqdn_fwd,fqdn_rev,hostname,"
             "state,user_context"]
    for address, client in state["clients"].items():
        expires = client["expires"] // 10_000_000 - UNIX_EPOCH
        if client["expires"]:
            lines.append(f"{address},{client['mac'].replace('-', ':')},,"
                         f"{max(1, expires - int(time.time()))},{expires},"
                         f"{subnet_number(state, address)},0,0,,0,")
    return "\n".join(lines) + "\n"


def make_links(state):
    """A pair of interfaces per scope: the server's end with an address, the hosts' end without."""
    for number, network in enumerate(networks(state), 1):
        for command in (f"link add server{number} type veth peer name host{number}",
                        f"address add {network[-2]}/{network.prefixlen} dev server{number}",
                        f"link set server{number} up", f"link set host{number} up"):
            subprocess.run(["ip", *command.split()], check=True)


def ask(folder, interface, mac, named):
    """One host's dhclient. A lease of its own that has ended makes it ask for that address."""
    ended = " ".join(f"{word} 1 2001/01/01 00:00:00;" for word in ("renew", "rebind", "expire"))
    (folder / "dhclient.leases").write_text(
        f'lease {{ interface "{interface}"; fixed-address {named}; {ended} }}\n' if named else "")
    subprocess.run(["ip", "link", "set", interface, "address", mac.replace("-", ":")], check=True)
    command = "{0}/dhclient -4 -d -1 --no-pid -cf {0}/dhclient.conf -lf {0}/dhclient.leases " \
              "-sf {0}/answered {1}".format(folder, interface)
    done = subprocess.run(command.split(), capture_output=True, text=True,
                          timeout=3 * PATIENCE_SECONDS, check=False)
    return done.stdout.split() or None


def play(folder):
    """The answers of a new Kea with this state."""
    state, asks = (json.loads((folder / name).read_text()) for name in ("state.json", "asks.json"))
    (folder / "leases.csv").write_text(leases(state))
    (folder / "kea.json").write_text(json.dumps(configuration(state, folder), indent=1))
    (folder / "dhclient.conf").write_text(
        f"timeout {PATIENCE_SECONDS}; initial-delay 0; request subnet-mask, routers;\n")
    (folder / "answered").write_text(
        '#!/bin/sh\n[ "$reason" = BOUND ] || exit 0\n'
        'echo "$new_ip_address $new_subnet_mask $new_routers $new_dhcp_lease_time"\n'
        'kill -9 $PPID\n')
    (folder / "answered").chmod(0o755)
    for program in ("kea-dhcp4", "dhclient"):  # AppArmor confines those of /usr/sbin to the system's
        shutil.copy(shutil.which(program, path="/usr/sbin:/sbin"), folder)
    settings = {"KEA_LOCKFILE_DIR": str(folder), "KEA_PIDFILE_DIR": str(folder)}
    log = folder / "kea.log"
    with open(log, "wb") as out:
        kea = subprocess.Popen([folder / "kea-dhcp4", "-c", folder / "kea.json"], env=settings,
                               stdout=out, stderr=out)
    try:
        while "DHCP4_STARTED" not in log.read_text():
            if kea.poll() is not None:
                raise RuntimeError(log.read_text())
            time.sleep(0.02)
        return [ask(folder, f"host{subnet_number(state, home)}", mac, named)
                for home, mac, named in asks]
    finally:
        kea.kill()
        kea.wait()


if __name__ == "__main__":
    for index, line in enumerate(sys.stdin):
        work = Path(line.strip())
        if index == 0:
            make_links(json.loads((work / "state.json").read_text()))
        print(json.dumps(play(work)), flush=True)
