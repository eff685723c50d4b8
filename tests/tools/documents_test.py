"""Links between the documents lead to files that are there."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class DocumentsTest(unittest.TestCase):
    def test_links_lead_somewhere(self):
        documents = [ROOT / "README.md", *(ROOT / "docs").glob("**/*.md")]
        broken = [f"{document.relative_to(ROOT)}: {link}" for document in documents
                  for link in re.findall(r"\]\(([^)#:\s]+)(?:#[^)]*)?\)", document.read_text(encoding="utf-8"))
                  if not (document.parent / link).exists()]
        self.assertEqual(broken, [])


if __name__ == "__main__":
    unittest.main()
