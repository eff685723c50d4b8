"""Tests of tavogen. With --fix, what is expected is written anew from what comes out, for review."""

from __future__ import annotations

import os
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(ROOT / "tools"))

from tavogen import accessors, identifiers  # noqa: E402
from tavogen.generate import generate, read  # noqa: E402
from tavogen.output import write  # noqa: E402
from tavogen.problems import SchemaError  # noqa: E402
from tavogen.schema import Model  # noqa: E402

FIX = "--fix" in sys.argv


class Golden(unittest.TestCase):
    maxDiff = None

    def expect(self, path: Path, text: str) -> None:
        """The text must be that of the file; with --fix the file becomes the text."""
        if FIX:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
        self.assertTrue(path.is_file(), f"{path.relative_to(ROOT)} is missing; run with --fix and review it")
        self.assertEqual(path.read_text(encoding="utf-8"), text, f"{path.relative_to(ROOT)}: run with --fix and review")


class WrongSchemas(Golden):
    """One file per fault, and the message it must get beside it."""

    def test_each_fault_has_its_message(self) -> None:
        package = HERE / "wrong/package.toml"
        faults = [path for path in sorted(package.parent.glob("*.toml")) if path != package]
        self.assertTrue(faults)
        for path in faults:
            with self.subTest(path.stem):
                files = [path] if "[package]" in path.read_text(encoding="utf-8") else [package, path]
                with self.assertRaises(SchemaError) as caught:
                    read(files, [])
                self.expect(path.with_suffix(".txt"), f"{caught.exception}\n")

    def test_all_independent_faults_are_reported_at_once(self) -> None:
        wrong = HERE / "wrong"
        with self.assertRaises(SchemaError) as caught:
            read([wrong / "package.toml", wrong / "no-kind.toml", wrong / "malformed-argument.toml"], [])
        self.assertEqual(2, len(str(caught.exception).splitlines()))


    def test_a_class_has_no_more_features_than_indexes(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            wide = Path(folder) / "wide.toml"
            head = (HERE / "wrong/package.toml").read_text(encoding="utf-8")
            head += '[class.Wide]\nnamespace = "garden"\nbase = "tavo.ModelElement"\n[class.Wide.features]\n'
            features = "".join(f'f{number} = {{ attribute = "bool" }}\n' for number in range(65536))
            wide.write_text(head + features, encoding="utf-8")
            with self.assertRaisesRegex(SchemaError, "Wide: has more than 65535 features"):
                read([wide], [])


class ProjectSchemas(Golden):
    """What must not change unseen in the schemas of this project."""

    @classmethod
    def setUpClass(cls) -> None:
        cls.model: Model = read(sorted(file for file in (ROOT / "src/zelkor").rglob("*.toml") if file.name != "messages.toml"), [])

    def test_names_of_accessors(self) -> None:
        classes = [cls for package in self.model.packages for cls in package.classes]
        self.expect(HERE / "golden/names.txt", accessors.listing(classes))

    def test_identifiers(self) -> None:
        for package in self.model.packages:
            self.expect(HERE / f"golden/identifiers-{package.name}.txt", identifiers.listing(package))


class Sample(Golden):
    """The sample package has every kind of feature, every flag and every type; its output is kept for review.

    That of the classes in `ALIKE` shows nothing that the others do not, and headers declare what sources define: one of
    each kind will do. All of it is compiled and used.
    """

    ALIKE = {"Bee", "Stone", "Tool"}
    HEADERS = {"Plant.h", "Plant.impl.h", "Bed.builder.h", "Bed.query.h", "Season.h", "Spot.h", "package.h"}

    def is_shown(self, path: Path) -> bool:
        return path.name.split(".")[0] not in self.ALIKE and (path.suffix != ".h" or path.name in self.HEADERS)

    def test_output(self) -> None:
        files = {name: text for name, text in generate(read(sorted((HERE / "sample").rglob("*.toml")), [])).items()
                 if self.is_shown(Path(name))}
        golden = HERE / "golden/sample"
        for name, text in files.items():
            with self.subTest(name):
                self.expect(golden / name, text)
        kept = {path.relative_to(golden).as_posix() for path in golden.rglob("*") if path.is_file()}
        if FIX:
            for name in kept - set(files):
                (golden / name).unlink()
        else:
            self.assertEqual(set(), kept - set(files), "goldens that nothing generates")


class Dependencies(unittest.TestCase):
    def test_nothing_is_generated_for_schemas_that_are_only_named(self) -> None:
        model = read([HERE / "annex/package.toml"], sorted((HERE / "sample").rglob("*.toml")))
        files = generate(model)
        self.assertIn("annex/Vine.h", files)
        self.assertFalse([name for name in files if name.startswith("sample")])


class Output(unittest.TestCase):
    def test_only_what_differs_is_written(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            write(Path(folder), {"a/same.h": "1", "a/other.h": "1"})
            same, other = Path(folder) / "a/same.h", Path(folder) / "a/other.h"
            os.utime(same, (1, 1))
            write(Path(folder), {"a/same.h": "1", "a/other.h": "2"})
            self.assertEqual(1, same.stat().st_mtime)
            self.assertEqual("2", other.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--fix"])
