"""What the tests of the real command have in common: a folder of their own in which it runs."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ZELKOR = sys.argv[1]


class CommandTestCase(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zelkor-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def run_command(self, *arguments, **options):
        # A command that waits for a pipe would never end.
        return subprocess.run([ZELKOR, *map(str, arguments)], cwd=self.folder, capture_output=True, text=True,
                              check=False, timeout=60, **options)

    def run_well(self, *arguments):
        done = self.run_command(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def files(self):
        return {path.name: path.read_bytes() for path in self.folder.iterdir() if path.is_file()}
