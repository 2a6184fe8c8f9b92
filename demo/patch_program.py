#!/usr/bin/python3
"""A patch program for the demo: turns pattern NNN into pattern MMM with an increment.

It is installed in the application folder under the name `Patch.exe`. VlMr writes the job file
`Patch.ini` beside it, starts it without arguments and waits for its end. The job:

    [MAIN]
    PatternFrom=100      the pattern that is held, Destination\\lpt$vpn.100
    PatternTo=101        the pattern that is wanted
    Source=...           folder of the increment v_100.101
    Destination=...      folder of the patterns
    Backup=...           folder that takes the old pattern

Paths have the form `/opt/mirror\\Pattern`: the application folder as the system spells it, then parts
divided by backslashes.

Format of an increment. Text header of four lines, each ended by one line feed, then binary records:

    VLMR INCREMENT 1
    from <length> <SHA-256 in hex>      of the pattern that it applies to
    to <length> <SHA-256 in hex>        of the pattern that it makes
    records <count>

    record := offset (8 bytes, big-endian) length (4 bytes, big-endian) that many bytes

The new pattern is the old one, cut or filled with zero bytes to the new length, with each record's bytes
put at its offset. An increment that does not fit the pattern held, or does not make the promised one,
is refused: nothing is moved or written then.

What the program shall do wrong, so that a mirror can be tried against it, stands as words in
`patch_mode.txt` beside it or in the environment variable VLMR_PATCH_MODE:

    leave-old     the old pattern stays in Destination
    into-source   the new pattern is written to Source instead of Destination
    exit=N        end at once with the code N, nothing done
    no-output     end with the code 0, nothing done
    keep-job      leave the [Log] section of Patch.ini alone
    never-end     wait until a file `patch_end.txt` stands beside it, then do the work
"""

import hashlib
import os
import struct
import sys
import time

MAGIC = b"VLMR INCREMENT 1\n"
RECORD = struct.Struct(">QI")
MODE_FILE = "patch_mode.txt"
END_FILE = "patch_end.txt"


class PatchError(Exception):
    """The increment does not fit; `number` is what the job file gets as ErrorID."""

    def __init__(self, number, text):
        super().__init__(text)
        self.number = number


def describe(pattern):
    return f"{len(pattern)} {hashlib.sha256(pattern).hexdigest()}"


def make_increment(old, new, block=1024):
    """The bytes that turn `old` into `new`; runs of differing blocks become one record."""
    records = []
    start = None
    for offset in range(0, len(new) + block, block):
        differs = offset < len(new) and old[offset : offset + block] != new[offset : offset + block]
        if differs and start is None:
            start = offset
        elif not differs and start is not None:
            records.append((start, new[start:offset]))
            start = None
    head = f"from {describe(old)}\nto {describe(new)}\nrecords {len(records)}\n".encode()
    body = b"".join(RECORD.pack(offset, len(data)) + data for offset, data in records)
    return MAGIC + head + body


def apply_increment(old, increment):
    """The new pattern, or a PatchError."""
    if not increment.startswith(MAGIC):
        raise PatchError(1, "not an increment")
    head, at = [], len(MAGIC)
    for word in ("from ", "to ", "records "):
        end = increment.find(b"\n", at)
        line = increment[at:end].decode("ascii", "replace")
        if end < 0 or not line.startswith(word):
            raise PatchError(1, "broken header")
        head.append(line[len(word) :])
        at = end + 1
    if head[0] != describe(old):
        raise PatchError(2, "made for another pattern")
    new = bytearray(old.ljust(int(head[1].split()[0]), b"\0")[: int(head[1].split()[0])])
    for _ in range(int(head[2])):
        if at + RECORD.size > len(increment):
            raise PatchError(3, "cut short")
        offset, length = RECORD.unpack_from(increment, at)
        at += RECORD.size
        new[offset : offset + length] = increment[at : at + length]
        at += length
    if at != len(increment) or describe(bytes(new)) != head[1]:
        raise PatchError(3, "does not make the promised pattern")
    return bytes(new)


def read_section(path, section):
    values, inside = {}, False
    with open(path, "rb") as job:
        for line in job.read().decode("latin-1").splitlines():
            line = line.strip()
            if line.startswith("["):
                inside = line[1:].split("]")[0].strip().lower() == section.lower()
            elif inside and "=" in line:
                key, value = line.split("=", 1)
                values.setdefault(key.strip().lower(), value.strip())
    return values


def local_path(text):
    """A folder of the job in this system's own notation."""
    return text if os.name == "nt" else text.replace("\\", "/")


def find(folder, name):
    """The path of a file by name, without regard to case when there is no exact match."""
    exact = os.path.join(folder, name)
    if os.path.exists(exact):
        return exact
    for entry in sorted(os.listdir(folder)):
        if entry.lower() == name.lower():
            return os.path.join(folder, entry)
    raise PatchError(4, f"{name} is missing")


def report(job_path, finished, error):
    """Fills the [Log] section that VlMr left empty."""
    values = {"Finished": finished, "Result": "0" if error else "1", "ErrorID": str(error)}
    lines, inside = [], False
    with open(job_path, "rb") as job:
        for line in job.read().decode("latin-1").splitlines():
            if line.startswith("["):
                inside = line.strip().lower() == "[log]"
            elif inside and line.split("=")[0] in values:
                line = line.split("=")[0] + "=" + values[line.split("=")[0]]
            lines.append(line)
    with open(job_path, "wb") as job:
        job.write("".join(line + "\r\n" for line in lines).encode("latin-1"))


def patch(job, modes):
    source, destination, backup = (local_path(job.get(key, "")) for key in ("source", "destination", "backup"))
    old_name = "lpt$vpn." + job.get("patternfrom", "")
    new_name = "lpt$vpn." + job.get("patternto", "")
    with open(find(source, f"v_{job.get('patternfrom', '')}.{job.get('patternto', '')}"), "rb") as file:
        increment = file.read()
    old_path = find(destination, old_name)
    with open(old_path, "rb") as file:
        new = apply_increment(file.read(), increment)
    if "leave-old" not in modes:
        os.makedirs(backup, exist_ok=True)
        os.replace(old_path, os.path.join(backup, old_name))
    target = os.path.join(source if "into-source" in modes else destination, new_name)
    with open(target + ".part", "wb") as file:
        file.write(new)
    os.replace(target + ".part", target)


def read_modes(folder):
    words = os.environ.get("VLMR_PATCH_MODE", "").split()
    try:
        with open(os.path.join(folder, MODE_FILE), encoding="ascii") as file:
            words += file.read().split()
    except FileNotFoundError:
        pass
    return words


def main():
    folder = os.path.dirname(os.path.abspath(sys.argv[0]))
    job_path = os.path.join(folder, "Patch.ini")
    modes = read_modes(folder)
    while "never-end" in modes and not os.path.exists(os.path.join(folder, END_FILE)):
        time.sleep(0.05)
    for mode in modes:
        if mode.startswith("exit="):
            return int(mode[len("exit=") :])
    if "no-output" in modes:
        return 0
    error = 0
    try:
        patch(read_section(job_path, "MAIN"), modes)
    except PatchError as failure:
        error = failure.number
    if "keep-job" not in modes:
        report(job_path, "1", error)
    return error


if __name__ == "__main__":
    sys.exit(main())
