#!/usr/bin/python3
"""Runs all functional tests, several files at a time.

    python3 tests/functional/run_functional.py --executable PATH [--filter PATTERN] [--keep] [--jobs N]
                                                [--timeout-factor F]

PATTERN selects files (`http_modes`) and, within the others, tests by a part of their name.
"""

import argparse
import concurrent.futures
import fnmatch
import importlib
import os
import re
import subprocess
import sys
import time
from pathlib import Path

FOLDER = Path(__file__).resolve().parent
NOT_TESTS = {"framework.py", "run_functional.py"}


def test_files():
    return sorted(file for file in FOLDER.glob("*.py") if file.name not in NOT_TESTS)


def matching_tests(file, pattern):
    """Names of the tests in a file that match; all of them when the file's name does."""
    names = re.findall(r"^def (test_\w+)\(", file.read_text(encoding="utf-8"), re.MULTILINE)
    if fnmatch.fnmatch(file.stem, f"*{pattern}*"):
        return names, True
    return [name for name in names if fnmatch.fnmatch(name, f"*{pattern}*")], False


def print_one_system_tests():
    """The tests that run with one executable only, with the reason."""
    sys.path.insert(0, str(FOLDER))
    total = 0
    for file in test_files():
        tests = {name: test for name, test in vars(importlib.import_module(file.stem)).items() if name.startswith("test_")}
        total += len(tests)
        for name, test in tests.items():
            if hasattr(test, "only_on"):
                print("only on {}: {}: {} ({})".format(test.only_on[0], file.stem, name[5:].replace("_", " "), test.only_on[1]))
    print(f"{total} functional tests in all")
    for suffix, system in (("posix", "linux"), ("windows", "windows")):
        for file in sorted(FOLDER.parent.glob(f"*/*_{suffix}_test.cpp")):
            count = len(re.findall(r"^(?:TYPED_)?TEST(?:_F|_P)?\(", file.read_text(encoding="utf-8"), re.MULTILINE))
            print(f"only on {system}: {file.parent.name}/{file.name}: {count} unit tests (it is about that system's own half)")


def run_file(file, options):
    names, whole = matching_tests(file, options.filter)
    if not names:
        return None
    command = [sys.executable, "-B", str(file), "--executable", options.executable]
    command += ["--timeout-factor", options.timeout_factor]
    command += [] if whole else ["--filter", options.filter]
    command += ["--keep"] if options.keep else []
    started = time.monotonic()
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
    return done.returncode, done.stdout, time.monotonic() - started


def main():
    parser = argparse.ArgumentParser(description="Runs all functional tests.")
    parser.add_argument("--executable")
    parser.add_argument("--one-system", action="store_true", help="list the tests that run on one system only")
    parser.add_argument("--filter", default="*", metavar="PATTERN")
    parser.add_argument("--keep", action="store_true")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1, metavar="N")
    parser.add_argument("--timeout-factor", default="1", metavar="F")
    options = parser.parse_args()
    if options.one_system:
        print_one_system_tests()
        return
    if not options.executable:
        parser.error("--executable is needed")

    totals = [0, 0, 0]
    broken = []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        running = {pool.submit(run_file, file, options): file for file in test_files()}
        for future in concurrent.futures.as_completed(running):
            result = future.result()
            if result is None:
                continue
            code, output, seconds = result
            print(f"=== {running[future].name} ({seconds:.1f} s)")
            print(output, end="", flush=True)
            counts = re.search(r"^(\d+) passed, (\d+) failed, (\d+) skipped$", output, re.MULTILINE)
            if counts:
                totals = [total + int(count) for total, count in zip(totals, counts.groups())]
            if code not in (0, 77) or not counts:
                broken.append(running[future].name)
    if broken:
        print("failed: " + ", ".join(sorted(broken)))
    print(f"{totals[0]} passed, {max(totals[1], len(broken))} failed, {totals[2]} skipped")
    sys.exit(1 if broken or not any(totals) else 0)


if __name__ == "__main__":
    main()
