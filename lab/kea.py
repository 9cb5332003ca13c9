"""kea.py FOLDER: Kea with the stand-in server's state (FOLDER/state.json), and hosts that ask it.

To be run in network and PID namespaces of its own. stdin is a JSON list of [address, MAC, address to
ask for or null], stdout the list of the answers: [address, mask, router, lease time], null for none.
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


def subnet_number(networks, address):
    """The first scope is Kea's subnet 1, and so on."""
    return [IPv4Address(address) in network for network in networks].index(True) + 1


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


def configuration(subnets, folder):
    return {"Dhcp4": {
        "interfaces-config": {"interfaces": [one["interface"] for one in subnets]},
        # A Windows server knows a host by its MAC unless the host sends another identifier.
        "match-client-id": False, "host-reservation-identifiers": ["hw-address"],
        "lease-database": {"type": "memfile", "name": f"{folder}/leases.csv", "lfc-interval": 0},
        "multi-threading": {"enable-multi-threading": False}, "subnet4": subnets,
        "loggers": [{"name": "kea-dhcp4", "severity": "INFO",
                     "output_options": [{"output": "stdout", "flush": True}]}]}}


def leases(clients, networks):
    """Records that have a lease. One whose expiry is 0 only belongs to a reservation."""
    lines = ["address,hwaddr,client_id,valid_lifetime,expire,subnet_id,fqdn_fwd,fqdn_rev,hostname,"
             "state,user_context\n"]
    for address, client in clients.items():
        expires = client["expires"] // 10_000_000 - UNIX_EPOCH
        if client["expires"]:
            lines.append(f"{address},{client['mac'].replace('-', ':')},,"
                         f"{max(1, expires - int(time.time()))},{expires},"
                         f"{subnet_number(networks, address)},0,0,,0,\n")
    return "".join(lines)


def make_links(networks):
    """A pair of interfaces per scope: the server's end with an address, the hosts' end without."""
    for number, network in enumerate(networks, 1):
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
    command = f"{folder}/dhclient -4 -d -1 --no-pid -cf dhclient.conf -lf dhclient.leases " \
              f"-sf {folder}/answered {interface}"
    done = subprocess.run(command.split(), cwd=folder, capture_output=True, text=True,
                          timeout=3 * PATIENCE_SECONDS, check=False)
    return done.stdout.split() or None


def play(folder, asks):
    state = json.loads((folder / "state.json").read_text())
    networks = [IPv4Network(f"{address}/{scope['mask']}")
                for address, scope in state["scopes"].items()]
    make_links(networks)
    subnets = [subnet(number, network, scope) for number, (network, scope) in
               enumerate(zip(networks, state["scopes"].values()), 1) if not scope["state"]]
    for name, text in {
            "kea.json": json.dumps(configuration(subnets, folder), indent=1),
            "leases.csv": leases(state["clients"], networks),
            "dhclient.conf": f"timeout {PATIENCE_SECONDS}; initial-delay 0; "
                             "request subnet-mask, routers;\n",
            "answered": '#!/bin/sh\n[ "$reason" = BOUND ] || exit 0\necho "$new_ip_address '
                        '$new_subnet_mask $new_routers $new_dhcp_lease_time"\nkill -9 $PPID\n'}.items():
        (folder / name).write_text(text)
    (folder / "answered").chmod(0o755)
    for program in ("kea-dhcp4", "dhclient"):  # AppArmor confines those of /usr/sbin to the system's
        shutil.copy(shutil.which(program, path="/usr/sbin:/sbin"), folder)
    log = folder / "kea.log"
    with open(log, "wb") as out:
        kea = subprocess.Popen(
            [folder / "kea-dhcp4", "-c", folder / "kea.json"], stdout=out, stderr=out,
            env={"KEA_LOCKFILE_DIR": str(folder), "KEA_PIDFILE_DIR": str(folder)})
    while "DHCP4_STARTED" not in log.read_text():
        if kea.poll() is not None:
            raise RuntimeError(log.read_text())
        time.sleep(0.02)
    return [ask(folder, f"host{subnet_number(networks, home)}", mac, named)
            for home, mac, named in asks]  # Kea ends with the namespace


if __name__ == "__main__":
    print(json.dumps(play(Path(sys.argv[1]), json.load(sys.stdin))))
