#!/usr/bin/env python3
"""Compares docs/messages.md with the headers, the handlers and the conversations: every API message stands in the table with
its id, is served as the table says, with the message ids that the table names, and is tried by the command beside it."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# header of a service: its resources, and where it is served
SERVICES = {
    "calendar.h": ({0x13}, "calendar/*"),
    "call.h": ({0x01}, "Call*"),
    "file.h": ({0x6D}, "File2*"),
    "full_access.h": ({0xFF}, "FullAccess*"),
    "messaging.h": ({0x66}, "Messaging*"),
    "permissions.h": ({0x23}, "Perm*"),
    "pnd.h": ({0x03}, "pnd/*"),
    "profiles.h": ({0x39}, "UserProfiles*"),
    "provisioning.h": ({0x22}, "Provisioning*"),
    "radio.h": ({0x3E}, "Radio*"),
    "sms.h": ({0x02, 0x14}, "sms/*"),
    "storage.h": ({0xAA}, "Storage*"),
    "supplementary.h": ({0x06}, "SupplementaryServices*"),
    "time.h": ({0x19}, "Time*"),
    "wap.h": ({0x3F}, "WAPConn*"),
}
NO_SERVICE = {"zelapi.h", "zelapi.hpp"}

faults = []


def read(path):
    return path.read_text(encoding="utf-8")


class Row:
    def __init__(self, cells):
        self.id = int(cells[0], 16)
        self.name = cells[1]
        self.is_indication = cells[2].startswith("indication")
        self.exchanges = {(int(a, 16), int(b, 16)) for a, b in re.findall(r"0x(\w\w) → 0x(\w\w)", cells[2])}
        self.message_ids = {int(n, 16) for n in re.findall(r"0x(\w\w)\b", cells[2])}
        # What stands in capitals is for the reader to fill in.
        self.commands = [" ".join(word for word in command.split() if not re.fullmatch(r"[A-Z.]+", word))
                         for command in cells[5].split(", ")]


def read_rows():
    rows = []
    for line in read(ROOT / "docs/messages.md").splitlines():
        if line.startswith("| 0x"):
            cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
            if len(cells) == 6:
                rows.append(Row(cells))
            else:
                faults.append(f"docs/messages.md: not a row of messages: {line}")
    return rows


def check_header(header, resources, rows):
    defined = {name: int(value, 16)
               for name, value in re.findall(r"^#define (ZEL_\w+) 0x([0-9A-Fa-f]{3,4})u\b", read(header), re.M)
               if int(value, 16) >> 8 in resources}
    documented = {row.name: row.id for row in rows}
    for name in sorted(defined.keys() | documented.keys()):
        if defined.get(name) != documented.get(name):
            faults.append(f"{name}: {header.name} defines {defined.get(name)}, the table says {documented.get(name)}")


def table_of(source, name):
    """The lines of a handler's table, or None."""
    found = re.search(rf"\b{name}\[\] = \{{\n(.*?)\n\}};", source, re.S)
    return found and found.group(1)


def value_of(source, text):
    """The number that an initialiser stands for: a literal, or a constant of the same source."""
    if re.fullmatch(r"0x[0-9A-Fa-f]+|\d+", text):
        return int(text, 0)
    found = re.search(rf"\b{re.escape(text)}\s*=\s*(0x[0-9A-Fa-f]+|\d+)", source)
    return int(found.group(1), 0) if found else None


def check_handler(pattern, rows):
    sources = [read(path) for path in sorted((ROOT / "src/handlers").glob(pattern)) if path.suffix == ".cpp"]
    source = "\n".join(sources)
    names = {row.name for row in rows}

    # What a handler serves beside its tables it compares the id with, or gives out.
    beside = {name for name in re.findall(r"(?:==|!=|case|\w =|\?) (ZEL_\w+)", source) if name in names}
    for table, is_indication in (("kOperations", False), ("kIndications", True)):
        expected = {row.name for row in rows if row.is_indication == is_indication}
        listed = {name for one in sources for name in re.findall(r"ZEL_\w+", table_of(one, table) or "")}
        for name in sorted(listed - expected):
            faults.append(f"{name} is in a handler's {table}, but not so in the table")
        for name in sorted(expected - listed - beside):
            faults.append(f"{name} is not served by {pattern}")
    for one in sources:
        for message_id, name in re.findall(r"\{(\w+), (ZEL_\w+)", table_of(one, "kIndications") or ""):
            for row in rows:
                if row.name == name and value_of(source, message_id) not in row.message_ids:
                    faults.append(f"{name}: decoded from message {message_id}, the table names another")

    sent = set()
    for body in re.findall(r"\bExchange \w+ = \{(.*?)\};", source, re.S):
        ids = [value_of(source, text) for text in re.findall(r"\.(?:request|reply) = (\w+)", body)]
        if len(ids) != 2 or None in ids:
            faults.append(f"src/handlers/{pattern}: message ids that cannot be read: {body}")
        else:
            sent.add(tuple(ids))
    documented = set().union(*(row.exchanges for row in rows))
    for request, reply in sorted(sent ^ documented):
        where = "sends" if (request, reply) in sent else "does not send"
        faults.append(f"src/handlers/{pattern} {where} 0x{request:02X} → 0x{reply:02X}; the table says otherwise")


def check_commands(rows):
    said = "\n".join(read(path) for path in sorted((ROOT / "tests/e2e/conversations").glob("*.txt")))
    tried = re.findall(r"^\$ (zelctl .*)", re.sub(r"zelctl (--\w+ (\d+ )?)+", "zelctl ", said), re.M)
    for row in rows:
        for command in row.commands:
            if not any((line + " ").startswith(command + " ") for line in tried):
                faults.append(f"{row.name}: no conversation has \"{command}\"")


def main():
    rows = read_rows()
    for header in sorted((ROOT / "include/zelapi").iterdir()):
        if header.name in NO_SERVICE:
            continue
        if header.name not in SERVICES:
            faults.append(f"{header.name}: which service is it?")
            continue
        resources, pattern = SERVICES[header.name]
        own = [row for row in rows if row.id >> 8 in resources]
        check_header(header, resources, own)
        check_handler(pattern, own)
    check_commands(rows)
    for fault in faults:
        print(fault, file=sys.stderr)
    if faults:
        return 1
    print(f"{len(rows)} messages are documented, served and tried")
    return 0


if __name__ == "__main__":
    sys.exit(main())
