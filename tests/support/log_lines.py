"""The activity log as a list of messages, and what tests ask of it."""

import difflib
import re

LINE = re.compile(r"^.+? : \[([^\]]*)\](.*)$", re.DOTALL)
REPORT_LINE = re.compile(r"(\[[12]\] New Product downloaded .*)?\]?")
VERSION = r"\d+\.\d+\.\d+"


class LogLines(list):
    """Messages (what stands after the "]") in their order. Every check prints the lines when it fails."""

    @classmethod
    def parse(cls, data, name):
        """Parses the bytes of a log; each line must carry the bracket `name` and end in CR LF. Only a product report
        brings line ends of its own into a message."""
        text = data.decode("latin-1")
        assert text == "" or text.endswith("\r\n"), f"the log does not end with a line end: {text[-80:]!r}"
        messages = cls()
        for line in text.split("\r\n")[:-1]:
            match = LINE.match(line)
            if not match and messages and REPORT_LINE.fullmatch(line):
                messages[-1] += "\r\n" + line
                continue
            assert match and "\n" not in line, f"not a log line: {line!r}"
            assert match[1] == name, f"not the bracket [{name}]: {line!r}"
            messages.append(match[2])
        return messages

    def scope(self, first, last=None):
        """The lines from the first that begins with `first` to the next that begins with `last` (or to the end)."""
        start = next((place for place, line in enumerate(self) if line.startswith(first)), None)
        assert start is not None, f"no line begins with {first!r}:\n{self}"
        if last is None:
            return LogLines(self[start:])
        end = next((place for place in range(start + 1, len(self)) if self[place].startswith(last)), None)
        assert end is not None, f"no line begins with {last!r} behind {first!r}:\n{self}"
        return LogLines(self[start : end + 1])

    def starting(self, prefix):
        return LogLines(line for line in self if line.startswith(prefix))

    def expect(self, *lines):
        """The lines stand in the log, each as a whole, in this order; others may stand between them."""
        at = 0
        for wanted in lines:
            pattern = line_pattern(wanted)
            while at < len(self) and not pattern.fullmatch(self[at]):
                at += 1
            assert at < len(self), f"no line {wanted!r} (in this order) in the log:\n{self}"
            at += 1

    def refuse(self, *prefixes):
        """No line begins with one of these."""
        for prefix in prefixes:
            found = self.starting(prefix)
            assert not found, f"unexpected line {found[0]!r} in the log:\n{self}"

    def expect_count(self, prefix, count):
        found = len(self.starting(prefix))
        assert found == count, f"{found} lines begin with {prefix!r}, not {count}:\n{self}"

    def expect_whole(self, expected):
        """The log is exactly these lines."""
        compare_lines(self, expected)

    def __str__(self):
        return "\n".join("    " + line[:300] for line in self)


def line_pattern(expected):
    """An expected line; %V% stands for a version number, %N% for digits and %ANY% for any text."""
    parts = re.split(r"(%V%|%N%|%ANY%)", expected)
    places = {"%V%": VERSION, "%N%": r"\d+", "%ANY%": ".*"}
    return re.compile("".join(places.get(part) or re.escape(part) for part in parts), re.DOTALL)


def compare_lines(actual, expected):
    """Fails with a difference when the lines are not as expected; placeholders as in `line_pattern`."""
    same = len(actual) == len(expected) and all(line_pattern(e).fullmatch(a) for a, e in zip(actual, expected))
    if same:
        return
    # A line that fits its pattern is shown as the pattern, so that only real differences remain.
    patterns = {e: line_pattern(e) for e in expected}
    shown = [next((e for e, p in patterns.items() if p.fullmatch(a)), a) for a in actual]
    difference = "\n".join(difflib.unified_diff(expected, shown, "expected", "actual", lineterm=""))
    raise AssertionError(f"the lines differ:\n{difference}")


def compare_text(actual, expected, what):
    """Fails with a difference when two texts differ; line ends count."""
    if actual == expected:
        return
    shown = [repr(line) for line in actual.splitlines(keepends=True)]
    wanted = [repr(line) for line in expected.splitlines(keepends=True)]
    difference = "\n".join(difflib.unified_diff(wanted, shown, "expected", "actual", lineterm=""))
    raise AssertionError(f"{what} is not as expected:\n{difference}")
