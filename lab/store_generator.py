"""Generates gateways for the stand-ins: stores with random segments and clients, and interfaces. As
a program, prints the store of the sample gateway.

A store is {section: {entry: {value name: text}}}. A plain store contains nothing that a server
refuses or that cmd and netsh misread. Call random.seed() first to repeat a store.
"""

import itertools
import random
import re
import uuid
import xml.etree.ElementTree as ElementTree
from ipaddress import IPv4Address
from pathlib import Path

VENDOR = b"\x00\x04\x70"  # the gateway's block of MAC addresses
NAMES = ["Front Desk", " padded ", "100%", "%n%s%1%", "Café Zürich", "漢字", "A&B <c>", "", "# 7"]
ADDRESS_VALUES = ("IpAddress", "NetMask", "DNS1", "DNS2")


def dotted(address):
    return str(IPv4Address(address))


def number(text):
    return int(IPv4Address(text)) if re.fullmatch(r"[\d.]+", text) else 0xFFFFFFFF


def mask_of(bits):
    return 0xFFFFFFFF << (32 - bits) & 0xFFFFFFFF


def last_of(network, mask):
    return network | mask ^ 0xFFFFFFFF


def make_scopes(plain, count):
    """Segments, and the gateway's interfaces: lists of (address, mask) in search order."""
    segments, interfaces = {}, [[], []]
    for network, address, bits in () if plain else (  # the server refuses these or parts of them
            ("10.1.4.0", "10.1.4.1", 30), ("10.200.0.5", "10.200.0.1", 24),
            ("annex", "10.205.0.1", 24), ("10.201.0.0", "10.9.9.9", 24),
            ("10.203.0.2", "10.203.0.3", 31), ("10.204.0.7", "10.204.0.7", 32)):
        segments[network] = {"Name": "Odd", "Address": address, "Mask": dotted(mask_of(bits))}
    for i in range(1, count - len(segments) + 1):
        mask = mask_of(16 if i == 1 else random.choice((16, 20, 22, 24, 24, 28, 30)))
        network = (10 << 24 | i << 16 | random.getrandbits(16)) & mask
        gateway = dotted(random.randrange(network + 1, last_of(network, mask)))
        scope = {"Name": f"Scope{i}" if plain else random.choice(NAMES)}
        known = random.choice(("store", "interface", "both"))
        if known != "interface":
            stored = gateway if known == "store" else dotted(network + 1)
            scope.update({"Address": stored, "Mask": dotted(mask)})
        if known != "store":
            random.choice(interfaces).append((gateway, dotted(mask)))
        segments[dotted(network)] = scope
    return dict(random.sample(list(segments.items()), len(segments))), interfaces


def make_mac(plain, i):
    tail = i + 1 if plain else random.choice((random.getrandbits(24), random.randrange(40)))
    raw = random.choice((VENDOR, VENDOR, b"\x00\x11\x22", b"\xac\xde\x48")) + tail.to_bytes(3, "big")
    text, form = raw.hex("-"), random.randrange(12)
    if form == 0:
        return text.upper()
    if form == 1 and (not plain or raw[:3] == VENDOR):
        return "-".join(f"{byte:x}" for byte in raw)
    return text if plain or form > 4 else random.choice((
        text.replace("-", ":"), text.replace("-", ""), "", "unknown", text + " spare", text[:-1],
        text[:11], text + "-7f", "00-04-7g" + text[8:], "00-04-70-" + "5-" * 255 + "5", "é" + text))


def make_store(plain, count, scopes=20):
    segments, interfaces = make_scopes(plain, scopes)
    networks = [(number(network), number(scope["Mask"]))
                for network, scope in segments.items() if "Mask" in scope]
    networks += [(number(address), number(mask)) for address, mask in itertools.chain(*interfaces)]
    clients, taken = {}, set()
    while len(clients) < count:
        network, mask = random.choice(networks)
        address = random.randint(network & mask, last_of(network & mask, mask))
        if random.randrange(20) == 0:
            address = 172 << 24 | random.getrandbits(24)  # in no scope
        if plain and address in taken:
            continue
        taken.add(address)
        if random.randrange(15) == 0:
            mask = mask_of(random.choice((8, 25)))
        statuses = ["Reserved", "Reserved", "Dynamic", "reserved"] + [" Reserved "] * (not plain)
        client = {"Name": f"pc-{len(clients)}" if plain else random.choice(NAMES),
                  "IpAddress": dotted(address), "NetMask": dotted(mask), "DNS1": "10.0.0.1",
                  "MAC": make_mac(plain, len(clients)), "DHCPLeaseStatus": random.choice(statuses)}
        if not plain and random.randrange(25) == 0:
            del client[random.choice(list(client))]
        clients[f"{{{random.getrandbits(128):032X}}}"] = client
    return {"Config": {"Server": {"DefaultDHCP": "None"}}, "Segments": segments,
            "Clients": clients}, interfaces


def store_text(store):
    """The store's file as the storage component writes it; a value may be a pair (text, type)."""
    root = ElementTree.Element("store")
    for section, entries in store.items():
        parent = ElementTree.SubElement(root, "section", name=section)
        for entry, values in entries.items():
            item = ElementTree.SubElement(parent, "entry", id=entry)
            for name, text in values.items():
                kind = "address" if name in ADDRESS_VALUES else ""
                if isinstance(text, tuple):
                    text, kind = text
                item.append(ElementTree.Element("value", name=name, text=text))
                if kind:
                    item[-1].set("type", kind)
    ElementTree.indent(root)
    text = ElementTree.tostring(root, encoding="unicode").replace(" />", "/>")
    return f'<?xml version="1.0" encoding="utf-8"?>\n{text}\n'


def sample_store():
    """The store of lab/sample: the records of its CSV files, with the oddities of docs/lab.md."""
    def records(name):
        text = (Path(__file__).parent / "sample" / name).read_text(encoding="cp1252")
        return [line.split(", ") for line in text.splitlines()[2:]]

    segments, clients = {}, {}
    for floor, (name, address, mask, network, *_) in enumerate(records("ScopesInfo.csv")):
        segments[network.rstrip(",")] = {"Name": name, "Address": address, "Mask": mask,
                                         "Remark": f"floor {floor}"}
    segments["192.168.20.0"]["Address"] = "192.168.20.254"  # its interface has another address
    del segments["172.16.8.0"]["Address"], segments["172.16.8.0"]["Mask"]
    for index, (*fields, status) in enumerate(records("ClientsInfo.csv")):
        values = dict(zip(("Name", *ADDRESS_VALUES, "MAC"), fields), DHCPLeaseStatus=status)
        if values["DNS2"] == "0.0.0.0":
            del values["DNS2"]
        if index % 10 == 4:
            values["LastSeen"] = (f"2019-03-{index % 28 + 1:02}", "date")
        clients[f"{{{uuid.uuid5(uuid.NAMESPACE_DNS, values['Name'])}}}".upper()] = values
    by_name = {values["Name"]: values for values in clients.values()}
    by_name["Hobnail"]["IpAddress"] = (str(number("10.1.0.29")), "")
    by_name["Wicket"]["IPADDRESS"] = (by_name["Wicket"].pop("IpAddress"), "address")
    return {"Config": {"Gateway": {"Name": "zephon-gw"}, "Server": {"DefaultDHCP": "None"}},
            "Segments": segments, "Clients": clients}


def read_store(path):
    """Reads a store whose texts come from NAMES: other texts may be escaped in the file."""
    root = ElementTree.parse(path).getroot()
    return {section.get("name"): {
        entry.get("id"): {value.get("name"): value.get("text") for value in entry}
        for entry in section} for section in root}


def registry_text(interfaces):
    """The interfaces as lines of a registry file for a scenario."""
    key = "Vantrel\\Zephon\\Mode\\Interfaces\\"
    return "".join(f"{key}{i}\\Interface = sz:Zeph-On {i}\n" + "".join(
        f"{key}{i}\\{name} = multi_sz:{'|'.join(texts)}\n"
        for name, texts in zip(("IPAddress", "SubnetMask"), zip(*pairs)))
                   for i, pairs in enumerate(interfaces))


if __name__ == "__main__":
    print(store_text(sample_store()), end="")
