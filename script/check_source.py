#!/usr/bin/env python3
"""House rules that a compiler does not know; each with its reason. Fails and lists the places.

- `_WIN32` and the headers of one system stand in src/platform/ only: elsewhere one source must mean one behaviour.
- Nothing in parsing, comparing or logging may depend on a locale: a mirror must read an index the same way everywhere.
- Sources end with a line end, hold no tabs or trailing blanks and no carriage returns."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SYSTEM_HEADERS = re.compile(
    r'#\s*include\s*<(unistd|fcntl|dirent|poll|signal|spawn|dlfcn|link|netdb|sys/[^>]+|arpa/[^>]+|netinet/[^>]+|'
    r'windows|winsock2|ws2tcpip|tlhelp32|shlobj)\.h>|#\s*include\s*<sys/')
LOCALE = re.compile(
    r'\b(std::)?(tolower|toupper|isspace|isdigit|isalpha|isalnum|strtod|strtof|strtol|strtoul|stoi|stol|stof|stod|atoi|'
    r'atof|atol|strftime|setlocale|sscanf|printf|sprintf|snprintf|strcasecmp|stringstream|ostringstream|'
    r'istringstream|regex)\b\s*[(<]?')
CODE = re.compile(r'//.*$|"(\\.|[^"\\])*"')


def files():
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\n")
    return [ROOT / name for name in listed if name and (ROOT / name).is_file()]


def main():
    faults = []
    for path in files():
        name = path.relative_to(ROOT).as_posix()
        if path.suffix not in (".h", ".cpp", ".py", ".md", ".cmake", ".txt", ".json", "") or "/data/" in name \
                or "/corpus/" in name:
            continue
        raw = path.read_bytes()
        if b"\0" in raw:
            continue
        text = raw.decode("utf-8", "replace")
        if text and not text.endswith("\n"):
            faults.append(f"{name}: no line end at the end")
        for number, line in enumerate(text.split("\n"), 1):
            place = f"{name}:{number}"
            if line.rstrip(" \t\r") != line:
                faults.append(f"{place}: trailing blank or carriage return")
            if path.suffix not in (".h", ".cpp"):
                continue
            if "\t" in line:
                faults.append(f"{place}: tab")
            bare = CODE.sub("", line)
            platform = name.startswith("src/platform/") or name.startswith("tests/support/") \
                or name.startswith("tests/platform/")
            if not platform and ("_WIN32" in bare or "__linux__" in bare):
                faults.append(f"{place}: a system's name outside src/platform/")
            if not platform and name.startswith("src/") and SYSTEM_HEADERS.search(line):
                faults.append(f"{place}: a system's header outside src/platform/")
            if name.startswith("src/") and not platform and LOCALE.search(bare):
                faults.append(f"{place}: depends on a locale; use core/text.h, core/number.h")
    print("\n".join(faults) if faults else "source rules: nothing found")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
