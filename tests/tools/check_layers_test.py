"""Tests of scripts/check-layers: each rule broken once, in a tree of its own, and a tree that keeps them all."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

TOOL = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check-layers"

GOOD = {
    "src/tavo/core/Text.h": '#pragma once\n#include <string>\n#include "tavo/Export.h"\n',
    "src/tavo/core/Text.cpp": '#include "tavo/core/Text.h"\n\n#include <vector>\n',
    "src/zelkor/Value.cpp": '#include "zelkor/Value.impl.h"\n#include "kavra/Host.h"\n#include "tavo/core/Text.h"\n',
    "src/arch/Port.h": '#pragma once\n#include "zelkor/Value.h"\n',
    "tests/tavo/TextTest.cpp": '#include "tavo/core/Text.h"\n#include "tests/support/Matchers.h"\n',
    "tests/consumer/shop.cpp": '#include "Export.h"\n',
    "README.md": "A file is opened with /data/model.xml\n",
    "data/\u00fc.bin": b"\xff\x00",
}


class CheckLayersTest(unittest.TestCase):
    def run_tool(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                path = pathlib.Path(folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_bytes(text if isinstance(text, bytes) else text.encode())
            subprocess.run(["git", "init", "-q"], cwd=folder, check=True)
            subprocess.run(["git", "add", "-A"], cwd=folder, check=True)
            return subprocess.run([sys.executable, TOOL, folder], capture_output=True, text=True, check=False)

    def test_a_tree_that_keeps_the_rules_passes(self):
        result = self.run_tool(GOOD)
        self.assertEqual((result.stdout, result.stderr), ("8 files, nothing found\n", ""))
        self.assertEqual(result.returncode, 0)

    def test_each_fault_is_found_and_named(self):
        faults = [
            ("src/tavo/A.h", '#pragma once\n#include "kavra/Host.h"\n', 'tavo must not include "kavra/Host.h"'),
            ("src/kavra/A.h", '#pragma once\n#include "tavo/core/Text.h"\n', 'kavra must not include "tavo/core/Text.h"'),
            ("src/zelkor/A.h", '#pragma once\n#include "arch/Port.h"\n', 'zelkor must not include "arch/Port.h"'),
            ("src/arch/A.h", '#pragma once\n#include "tools/zelkor/Main.h"\n', 'arch must not include "tools/zelkor/Main.h"'),
            ("tests/tavo/A.cpp", '#include "kavra/Host.h"\n', 'tavo must not include "kavra/Host.h"'),
            ("src/tavo/A.h", '#pragma once\n#include "Text.h"\n', 'includes "Text.h", which is not a path from the root'),
            ("src/tavo/A.h", '#pragma once\n#include "tavo/../B.h"\n', "not a path from the root"),
            ("src/tavo/A.h", "#pragma once\n  #  include <tavo/B.h>\n", "our own headers stand in quotes"),
            ("src/tavo/A.h", "#include <string>\n", "has no #pragma once"),
            ("src/tavo/A.cpp", '#include <string>\n#include "tavo/A.h"\n', "includes its own header, but not first"),
            ("docs/a.md", "One\nin /home/someone/model.xml\n", "line 2 names a machine: /home/someone"),
        ]
        for name, text, finding in faults:
            with self.subTest(finding):
                result = self.run_tool({**GOOD, name: text})
                self.assertEqual(result.returncode, 1)
                self.assertTrue(result.stdout.startswith(f"{name}: "), result.stdout)
                self.assertIn(finding, result.stdout)
                self.assertEqual(result.stdout.count("\n"), 1)


if __name__ == "__main__":
    unittest.main()
