"""Every error is raised somewhere, with the arguments that its identifier declares.

The compiler cannot see it: an argument too few leaves a placeholder in the message, one too many says nothing.
"""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tools"))
import messages  # noqa: E402  (the path must be set first)

CALL = re.compile(r"\braise(?P<because>Because)?\(")
TOKEN = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'|//[^\n]*|[()\[\]{},]|[^"\'()\[\]{},/]+|/')


def declared():
    """The number of arguments by "Struct::Name"."""
    counts = {}
    for header in sorted((ROOT / "src").rglob("Errors.h")):
        known, struct = messages.read_identifiers(header)[0], ""
        for line in header.read_text(encoding="utf-8").splitlines():
            if opened := re.match(r"struct (\w+) \{", line):
                struct = opened[1]
            if identifier := re.search(r'ErrorId (\w+)\{"([^"]+)"\}', line):
                counts[f"{struct}::{identifier[1]}"] = known[identifier[2]]
    return counts


def sources():
    """Everything that can raise, or generates what can, by name."""
    files = [file for folder in ("src", "tools") for file in sorted((ROOT / folder).rglob("*"))
             if file.suffix in (".h", ".cpp", ".py") and file.name != "Errors.h"]
    return {file.relative_to(ROOT): file.read_text(encoding="utf-8") for file in files}


def arguments(text, start):
    """The arguments of a call whose opening parenthesis ends at `start`."""
    found, depth, current = [], 1, ""
    for token in TOKEN.finditer(text, start):
        piece = token[0]
        if piece.startswith("//"):
            continue
        depth += (piece in "([{") - (piece in ")]}")
        if depth == 0 or (depth == 1 and piece == ","):
            found.append(current.strip())
            current = ""
            if depth == 0:
                break
        else:
            current += piece
    return [argument for argument in found if argument]


def faults(name, text, counts):
    """What is wrong with the raise calls of a source, and how many there are with identifiers that are declared."""
    wrong, seen = [], 0
    for call in CALL.finditer(text):
        given = arguments(text, call.end())[1 if call["because"] else 0 :]
        identifier = re.sub(r"^(\w+::)*(?=\w+::\w+$)", "", given[0]) if given else ""
        if identifier not in counts:
            continue
        seen += 1
        if len(given) - 1 != counts[identifier]:
            line = text.count("\n", 0, call.start()) + 1
            wrong.append(f"{name}:{line}: {identifier} takes {counts[identifier]} arguments, not {len(given) - 1}")
    return wrong, seen


class RaiseSitesTest(unittest.TestCase):
    def test_every_call_gives_what_is_declared(self):
        counts, wrong, seen = declared(), [], 0
        for name, text in sources().items():
            more, calls = faults(name, text, counts)
            wrong += more
            seen += calls
        self.assertGreater(seen, 150, "the calls are not found any more")
        self.assertEqual(wrong, [])

    def test_every_identifier_is_raised_somewhere(self):
        # What only compares does not raise.
        text = re.sub(r"[!=]= *(\w+::)+\w+", "", "".join(sources().values()))
        used = set(re.findall(r"(?=\b(\w+::\w+))", text))
        self.assertEqual([identifier for identifier in declared() if identifier not in used], [])

    def test_every_identifier_is_expected_by_a_test(self):
        files = [file for file in (ROOT / "tests").rglob("*") if file.suffix in (".h", ".cpp", ".py")]
        words = set(re.findall(r"\w+", "".join(file.read_text(encoding="utf-8") for file in files)))
        names = {identifier.split("::")[1] for identifier in declared()}
        self.assertEqual(names - words - {"ProfileNotInitialized"}, set())  # its flag is never cleared

    def test_counts_arguments_as_the_compiler_does(self):
        counts = {"E::Two": 2}
        good = 'raise(tavo::E::Two, f(a, b), "x, )");  raiseBecause(error, E::Two, u"a", list{1, 2}[0]); raise(other, 1);'
        self.assertEqual(faults("file", good, counts), ([], 2))
        bad = "raise(E::Two);\nraise(E::Two, a, b, // why, though\n c);\nraiseBecause(error, E::Two, f(a, b));"
        wrong, _ = faults("file", bad, counts)
        self.assertEqual([fault.split(":")[1] for fault in wrong], ["1", "2", "4"])


if __name__ == "__main__":
    unittest.main()
