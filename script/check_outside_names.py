#!/usr/bin/env python3
"""Shows that no text from outside becomes a path but through core/outside_name. Fails and lists the places.

Names come from an index, a "latest.ini", an archive and an FTP listing. `PathBelow` and `FileIn` are the one way from
such a name to a path, because they check it. So in the folders where outside texts are at hand

- no folder is put together with anything but fixed text: a sum whose left part is a folder and whose right part is
  no literal is found, whatever the variables are called, unless its right part stands in ALLOWED with the reason why
  it is no outside name, or it is a line of the log;
- nothing turns slashes into backslashes by hand;
- `ShownBelow`, which checks nothing, is called in the two places that check beside it.

    script/check_outside_names.py               the sources
    script/check_outside_names.py --self-test   whether careless lines are found and careful ones are not
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOORS = ("transfer", "index", "patterns", "ftpsources", "notify", "app")

# File -> right parts that may follow a folder there.
OWN_LISTING = "a name that the program has listed in the same folder"
OWN_NAME = "a name of this program's own making"
CHECKED = "the version has passed IsUsableVersion, or names a file of the working folder"
ALLOWED = {
    "index/index_writer.cpp": {"name": OWN_LISTING, "std::string(name)": OWN_LISTING, "version": "a wildcard of a listing only; the version is a number's text"},
    "patterns/housekeeping.cpp": {"name": OWN_LISTING},
    "patterns/pattern_store.cpp": {"name": OWN_LISTING, "published": OWN_LISTING, "std::string(kAnyPattern)": OWN_NAME},
    "patterns/patch_job.cpp": {"PatternName(to)": CHECKED, "PatternName(from)": CHECKED, "IncrementName(from, to)": CHECKED},
    "patterns/incremental_build.cpp": {"PatternName(new_pattern)": CHECKED, "PatternName(version)": CHECKED},
    "ftpsources/trojan_system_cleaner.cpp": {"name": OWN_LISTING},
    "ftpsources/pattern_cleanup.cpp": {"name": OWN_LISTING, "kStem).append(name, kStem.size())": "shown only"},
    "ftpsources/intelligent_ftp.cpp": {"PatternName(version)": "FetchByName has checked the same name, or it is of the working folder"},
    "ftpsources/cpr_pattern.cpp": {"std::string(name)": "`In` is called with fixed names and names of a listing; outside names go through FileIn"},
    "notify/mail_queue.cpp": {"name": OWN_NAME},
    "transfer/zip.cpp": {"piece": "a list of the callers' own names", "archive_name": OWN_NAME},
}
# Their folders are no local ones: tables of an executable file, addresses on a server.
WITHOUT_FOLDERS = {"ftpsources/file_version.cpp", "transfer/ftp_url.cpp"}
SHOWN = {"index/service_fetch.cpp", "index/update_session.cpp"}

LITERAL = re.compile(r'R"\((.*?)\)"|"((?:\\.|[^"\\])*)"', re.DOTALL)
# What is a folder wherever it stands: the shared paths, and whatever is named after a folder.
FOLDER_TERM = re.compile(
    r"\bpaths_?\b|Root\(\)|Folder\(\)|(Published|Staged)Patterns\(|FolderOf\(|\b\w*(folder|root|directory|dir)\w*\b", re.IGNORECASE)
ASSIGNED = re.compile(r"(?:std::string(?:_view)?|auto)&?\s+(\w+)\s*(?:=|\(|\{)\s*([^;]*);")
# What is asked about a path gives no path.
ASKED = re.compile(r"\bfiles_?\.|\bini_?\.|Read\w*\(|Find\w*\(|List\w*\(|Length\(|\bfetch_\.|\bzip_\.|\bsettings\.|NameOf\(|StageMakingFolders\(|\bStage\(")
BY_HAND = re.compile(r"std::replace\(|ReplaceAll\([^;]*\"/\"|=\s*'\\\\\\\\'")


def strip(text):
    """The code with comments blanked and each literal as a number in quotes, so that its text cannot be taken for code."""
    literals = []

    def keep(match):
        literals.append(match.group(0))
        return f'"{len(literals) - 1}"'

    out, at = [], 0
    for match in re.finditer(f"{LITERAL.pattern}|//[^\\n]*", text, re.DOTALL):
        out.append(text[at:match.start()])
        out.append("" if match.group(0).startswith("//") else keep(match))
        at = match.end()
    return "".join(out) + text[at:], literals


def statements(code):
    """(line number, statement) pairs."""
    line, start = 1, 0
    for match in re.finditer(r"[;{}]", code):
        piece = code[start:match.end()]
        lead = len(piece) - len(piece.lstrip())
        yield line + piece[:lead].count("\n"), piece.strip()
        line += piece.count("\n")
        start = match.end()


def sums(statement):
    """The terms of every sum in a statement, nested calls included, "/" of a path counting as a sum's sign."""
    spans, stack = [], [0]
    for at, char in enumerate(statement):
        if char in "([":
            stack.append(at + 1)
        elif char in ")]" and len(stack) > 1:
            spans.append((stack.pop(), at))
    spans.append((0, len(statement)))
    for begin, end in spans:
        depth, term, terms = 0, "", []
        for char in statement[begin:end]:
            depth += (char in "([") - (char in ")]")
            if depth == 0 and char in "+/":
                terms.append(term.strip())
                term = ""
            elif depth == 0 and char in ",?=<&|;":
                yield terms + [term.strip()]
                terms, term = [], ""
            else:
                term += char
        yield terms + [term.strip()]


def is_literal(term):
    return re.fullmatch(r'(std::string(_view)?\()?\s*("\d+"\s*)+\)?;?', term) is not None or re.fullmatch(r"\d*|\)", term) is not None


def faults_of(name, text, used=None):
    """Line numbers and reasons, for one file below src/; what of ALLOWED was met goes into `used`."""
    used = set() if used is None else used
    code, literals = strip(text)
    faults = []
    folders = set()
    for number, statement in statements(code):
        if re.search(r"\bShownBelow\(", statement) and name not in SHOWN:
            faults.append((number, "ShownBelow checks nothing: use PathBelow or FileIn"))
        if BY_HAND.search(statement) and any('"/"' in literal or "'/'" in statement for literal in literals or [""]):
            faults.append((number, "separators changed by hand: use PathBelow"))
        made = ASSIGNED.search(statement)
        is_log = re.search(r"\b(Log|ReportError|NotifyError|PrepareMail)\(", statement)
        for terms in sums(statement):
            terms = [re.sub(r"^(return|const std::string \w+)\s+", "", term) for term in terms]
            for at, term in enumerate(terms[:-1]):
                if not (FOLDER_TERM.search(term) or any(re.search(rf"\b{re.escape(f)}\b", term) for f in folders)):
                    continue
                for right in terms[at + 1:]:
                    right = right.rstrip(";}").strip()
                    if is_literal(right) or re.fullmatch(r"k[A-Z]\w*", right):
                        continue
                    if right in ALLOWED.get(name, {}):
                        used.add((name, right))
                        continue
                    if FOLDER_TERM.fullmatch(right) or is_log:
                        continue
                    faults.append((number, f"a folder is put together with [{right}]: use PathBelow or FileIn"))
                break
        appended = re.search(r"(\w+)(?:\.append\(|\s*\+=\s*)([^;]*)", statement)
        if appended and (FOLDER_TERM.fullmatch(appended[1]) or appended[1] in folders) and not is_literal(appended[2].rstrip(")")):
            if appended[2].rstrip(";") in ALLOWED.get(name, {}):
                used.add((name, appended[2].rstrip(";")))
                continue
            faults.append((number, f"[{appended[2]}] is appended to a folder: use PathBelow or FileIn"))
        if made and not is_log and not ASKED.search(made[2]) and (
                FOLDER_TERM.search(made[2]) or any(re.search(rf"\b{re.escape(f)}\b", made[2]) for f in folders)):
            folders.add(made[1])
    return faults


CARELESS = {
    "a path of the index below the mirror": 'f(runtime_.paths.MirrorRoot() + entry.path);',
    "a value of an INI file below a folder": 'const std::string p = runtime_.paths / R"(\\CPR_Temp\\)" + runtime_.ReadIniValue("Zip", "ZipFile", file);',
    "a listed name of a server": 'client.Get(name, local_folder + "\\\\" + name);',
    "an archive's entry": 'files.Stage(dest_folder + "\\\\" + entry.name);',
    "behind an intermediate variable": 'const std::string below = runtime_.paths / R"(\\ActiveUpdate\\)";\nfiles.Delete(below + published.zip_file);',
    "behind a folder's other name": 'const std::string source = StagedPatterns(runtime_.paths);\nf(source + "\\\\" + IncrementName(from, to));',
    "appended": 'target_folder += zip_file;',
    "appended by a call": 'root.append(latest.zip_file);',
    "shown and used": 'files.Delete(core::ShownBelow(runtime_.paths.StagingRoot(), url));',
    "separators by hand": "std::replace(path.begin(), path.end(), '/', '\\\\');\nf(\"/\");",
    "in a condition": 'if (files.FindFile(runtime_.paths.PatternFolder() + "\\\\" + pattern).empty()) return;',
    "in a return": 'return StagedPatterns(runtime_.paths) + "\\\\" + version;',
    "a sum over several lines": 'files.Delete(runtime_.paths.StagingRoot() +\n    core::BeforeComma(value));',
}
CAREFUL = {
    "through the gate": 'files.Delete(core::PathBelow(runtime_.paths.StagingRoot(), url));',
    "fixed text": 'const std::string f = runtime_.paths / R"(\\ActiveUpdate\\Source)";',
    "a line of the log": 'runtime_.Log("X: " + folder + "\\\\" + name);',
    "a comment": '// folder + name\nint x = 1;',
}


def self_test():
    wrong = [f"not found: {what}" for what, text in CARELESS.items() if not faults_of("index/new_place.cpp", text)]
    wrong += [f"found although careful: {what}" for what, text in CAREFUL.items() if faults_of("index/new_place.cpp", text)]
    print("\n".join(wrong) if wrong else f"outside names: {len(CARELESS)} careless places are found, {len(CAREFUL)} careful ones are not")
    return 1 if wrong else 0


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    found, used = [], set()
    for floor in FLOORS:
        for path in sorted((ROOT / "src" / floor).glob("*.cpp")) + sorted((ROOT / "src" / floor).glob("*.h")):
            name = path.relative_to(ROOT / "src").as_posix()
            if name not in WITHOUT_FOLDERS:
                found += [f"src/{name}:{number}: {reason}" for number, reason in faults_of(name, path.read_text(), used)]
    found += [f"ALLOWED [{name}] [{right}]: there is no such place" for name, rights in ALLOWED.items() for right in rights
              if (name, right) not in used]
    print("\n".join(found) if found else "outside names: every path is made by the gate or of the program's own names")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
