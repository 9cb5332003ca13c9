"""kea.py FOLDER: Kea with the stand-in server's state (FOLDER/server.json), and hosts that ask it.

Needs network and PID namespaces of its own. Reads a JSON list of [address, MAC, address to ask for
or null], prints the list of the answers: [address, mask, router, lease time], or null for none.
"""

import json
import os
import shutil
import subprocess
import sys
import time
from ipaddress import IPv4Address, IPv4Network
from pathlib import Path

UNIX_EPOCH = 11644473600  # in seconds since 1601, where a FILETIME begins


def subnet_number(networks, address):
    """The first scope is Kea's subnet 1, and so on."""
    return [IPv4Address(address) in network for network in networks].index(True) + 1


def pools(scope):
    """The range without the exclusions: what a Windows server leases by itself."""
    free = [[IPv4Address(scope["range"][end]) for end in ("first", "last")]] if scope["range"] else []
    for start, end in sorted((IPv4Address(start), IPv4Address(end))
                             for start, end in scope.get("exclusions", {}).items() if free):
        first, last = free.pop()
        free += [[first, min(start - 1, last)], [max(first, end + 1), last]]
    return [{"pool": f"{first}-{last}"} for first, last in free if first <= last]


def subnet(number, network, scope):
    """A scope. Reservations count inside and outside of the range, as on a Windows server."""
    options = scope.get("options", {})
    routers = ",".join(element["ip"] for element in options.get("3", []))
    return {"id": number, "subnet": str(network), "interface": f"server{number}",
            "pools": pools(scope),
            "valid-lifetime": options.get("51", [{"dword": 691200}])[0]["dword"],
            "option-data": [{"name": "routers", "data": routers}] * bool(routers),
            "reservations": [{"hw-address": one["mac"].replace("-", ":"), "ip-address": address}
                             for address, one in scope.get("reservations", {}).items()]}


def configuration(subnets):
    return {"Dhcp4": {
        "interfaces-config": {"interfaces": [one["interface"] for one in subnets]},
        # A Windows server knows a host by its MAC unless the host sends another identifier.
        "match-client-id": False, "host-reservation-identifiers": ["hw-address"],
        "lease-database": {"type": "memfile", "name": "leases.csv", "lfc-interval": 0},
        "multi-threading": {"enable-multi-threading": False}, "subnet4": subnets,
        "loggers": [{"name": "kea-dhcp4", "severity": "INFO",
                     "output_options": [{"output": "stdout", "flush": True}]}]}}


def leases(clients, networks):
    """Records that have a lease. One whose expiry is 0 only belongs to a reservation."""
    text = "address,hwaddr,client_id,valid_lifetime,expire,subnet_id,fqdn_fwd,fqdn_rev,hostname," \
           "state,user_context\n"
    for address, client in clients.items():
        ends = client["expires"] // 10_000_000 - UNIX_EPOCH
        if client["expires"]:
            text += f"{address},{client['mac'].replace('-', ':')},,{max(1, ends - int(time.time()))}," \
                    f"{ends},{subnet_number(networks, address)},0,0,,0,\n"
    return text


def ask(interface, mac, named):
    """One host's dhclient. A lease of its own that has ended makes it ask for that address."""
    ended = " ".join(f"{word} 1 2001/01/01 00:00:00;" for word in ("renew", "rebind", "expire"))
    Path("dhclient.leases").write_text(
        f'lease {{ interface "{interface}"; fixed-address {named}; {ended} }}\n' if named else "")
    subprocess.run(["ip", "link", "set", interface, "address", mac.replace("-", ":")], check=True)
    options = "-4 -d -1 --no-pid -cf dhclient.conf -lf dhclient.leases -sf ./answered"
    done = subprocess.run(["./dhclient", *options.split(), interface], capture_output=True,
                          text=True, timeout=30, check=False)
    return done.stdout.split() or None


def play(state, asks):
    networks = [IPv4Network(f"{address}/{scope['mask']}") for address, scope in state["scopes"].items()]
    # A pair of interfaces per scope: the server's end with an address, the hosts' end without.
    subprocess.run(["ip", "-batch", "-"], check=True, text=True, input="".join(
        f"link add server{number} type veth peer name host{number}\n"
        f"address add {network[-2]}/{network.prefixlen} dev server{number}\n"
        f"link set server{number} up\nlink set host{number} up\n"
        for number, network in enumerate(networks, 1)))
    subnets = [subnet(number, network, scope) for number, (network, scope) in
               enumerate(zip(networks, state["scopes"].values()), 1) if not scope["state"]]
    Path("kea.json").write_text(json.dumps(configuration(subnets), indent=1))
    Path("leases.csv").write_text(leases(state["clients"], networks))
    Path("dhclient.conf").write_text("timeout 10; initial-delay 0; request subnet-mask, routers;")
    Path("answered").write_text(
        '#!/bin/sh\n[ "$reason" = BOUND ] || exit 0\n'
        'echo "$new_ip_address $new_subnet_mask $new_routers $new_dhcp_lease_time"\nkill -9 $PPID\n')
    Path("answered").chmod(0o755)
    for program in ("kea-dhcp4", "dhclient"):  # AppArmor confines those of /usr/sbin to the system's
        shutil.copy(shutil.which(program, path="/usr/sbin:/sbin"), ".")
    with open("kea.log", "w+") as log:
        kea = subprocess.Popen(["./kea-dhcp4", "-c", "kea.json"], stdout=log, stderr=log,
                               env={"KEA_LOCKFILE_DIR": ".", "KEA_PIDFILE_DIR": "."})
    while "DHCP4_STARTED" not in Path("kea.log").read_text():
        if kea.poll() is not None:
            sys.exit(Path("kea.log").read_text())
        time.sleep(0.02)
    return [ask(f"host{subnet_number(networks, home)}", mac, named) for home, mac, named in asks]


if __name__ == "__main__":
    os.chdir(sys.argv[1])
    print(json.dumps(play(json.loads(Path("server.json").read_text()), json.load(sys.stdin))))
