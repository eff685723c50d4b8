"""Tests of tools/messages.py: what it makes, and one message for each thing that is wrong."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "tools" / "messages.py"

HEADER = """
struct TestError {
  /// (path,
  /// reason) A file cannot be read.
  static constexpr ErrorId CannotRead{"test:io:CannotRead"};
  /// () Nothing works.
  static constexpr ErrorId Nothing{"test:io:Nothing"};
};

struct OtherError {
  /// () Each component has an order of its own.
  static constexpr ErrorId Asleep{"test:more:Asleep"};
};
"""
MESSAGES = """
["test:more"]
Asleep = "It sleeps."

["test:io"]
CannotRead = 'The "file" {0}\\n is asleep: {1}, {1}. \u20ac'
Nothing = "Nothing works."
"""


class MessagesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.output = self.folder / "gen" / "Messages.cpp"

    def run_tool(self, messages=MESSAGES, header=HEADER):
        (self.folder / "messages.toml").write_text(messages, encoding="utf-8")
        (self.folder / "Errors.h").write_text(header, encoding="utf-8")
        arguments = [self.folder / "messages.toml", self.output, self.folder / "Errors.h"]
        return subprocess.run([sys.executable, TOOL, *arguments], capture_output=True, text=True, check=False)

    def test_table_holds_every_text_and_no_path(self):
        self.assertEqual(self.run_tool().stderr, "")
        text = self.output.read_text(encoding="utf-8")
        self.assertIn('    {"test:io:CannotRead", "The \\"file\\" {0}\\\\n is asleep: {1}, {1}. \u20ac"},\n', text)
        self.assertIn('    {"test:io:Nothing", "Nothing works."},\n', text)
        self.assertNotIn(str(self.folder), text)

    def test_what_has_not_changed_is_not_written(self):
        self.run_tool()
        before = self.output.stat().st_mtime_ns
        self.run_tool()
        self.assertEqual(self.output.stat().st_mtime_ns, before)
        self.run_tool(MESSAGES.replace("works", "helps"))
        self.assertIn("helps", self.output.read_text(encoding="utf-8"))

    def test_each_fault_has_its_message(self):
        faults = {
            '"test:io:Nothing" has no text': (MESSAGES.replace("Nothing =", "# ="), HEADER),
            'the text of "test:io:More" has no identifier': (MESSAGES + 'More = "more"\n', HEADER),
            '"test:io:CannotRead" has 2 arguments, its text uses [0]': (MESSAGES.replace("{1}", "it"), HEADER),
            '"test:io:Nothing" has 0 arguments, its text uses [0]': (MESSAGES.replace("Nothing works", "{0}"), HEADER),
            '"test:io" Nothing: a text is expected': (MESSAGES.replace('"Nothing works."', "3"), HEADER),
            '"test:io:Nothing" is named Naught': (MESSAGES, HEADER.replace("ErrorId Nothing", "ErrorId Naught")),
            "its comment does not start with the arguments": (MESSAGES, HEADER.replace("()", "")),
            "not in alphabetical order": (MESSAGES, HEADER.replace("CannotRead{", "ReadCannot{")),
        }
        for fault, (messages, header) in faults.items():
            with self.subTest(fault):
                result = self.run_tool(messages, header)
                self.assertEqual(result.returncode, 1)
                self.assertIn("messages.toml: ", result.stderr)
                self.assertIn(fault, result.stderr)
                self.assertFalse(self.output.exists())


if __name__ == "__main__":
    unittest.main()
