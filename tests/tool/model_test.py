"""Runs the real command on models. usage: model_test.py ZELKOR EXAMPLES [--fix]

Each folder of data/changes has a profile before and after a change. A model that was made with the first follows the
second; what the dry run says and what the model holds then are in expected.txt, which --fix brings up to date.
"""

import csv
import io
import json
import os
import pathlib
import re
import shutil
import sys
import unittest

from running import CommandTestCase

EXAMPLES = pathlib.Path(sys.argv[2])
CHANGES = pathlib.Path(__file__).parent / "data" / "changes"
FIX = "--fix" in sys.argv

PROFILE = """
[[type]]
name = "Power"
base = "double"
units = "W"
min = 0
max = 5000

[[stereotype]]
name = "Machine"
appliesTo = ["Component"]

[[stereotype.property]]
name = "power"
type = "Power"
default = 100

[[stereotype.property]]
name = "label"
type = "string"
default = "none"
"""


class ModelTest(CommandTestCase):
    def make_model(self):
        (self.folder / "Plant.toml").write_text(PROFILE)
        self.run_well("compile", "Plant.toml")
        self.run_well("new", "m.xml")
        self.run_well("add", "m.xml", "Hall")
        self.run_well("add", "m.xml", "Hall/Main")
        self.run_well("add", "m.xml", "Hall/Main/out", "--as", "port")
        self.run_well("import", "m.xml", "Plant")
        self.run_well("apply", "m.xml", "Hall/Main", "Plant.Machine")

    def content(self):
        return (self.folder / "m.xml").read_bytes()

    def test_values_are_set_read_explained_and_cleared(self):
        self.make_model()
        self.run_well("set", "m.xml", "Hall/Main", "power", "2*1.25", "--units", "kW")
        self.assertEqual(self.run_well("get", "m.xml", "m/Hall/Main", "Plant.Machine.power"), "2*1.25 kW\n")
        self.run_well("set", "m.xml", "Hall/Main", "power", "3")
        self.run_well("set", "m.xml", "Hall/Main", "power", "3000", "--units", "")
        self.assertEqual(self.run_well("get", "m.xml", "Hall/Main", "power"), "3000 W\n")
        self.run_well("set", "m.xml", "Hall/Main", "power", "3", "--units", "kW")
        self.run_well("set", "m.xml", "Hall/Main", "label", "it's", "--text")
        self.assertEqual(self.run_well("get", "m.xml", "Hall/Main", "label"), "'it''s'\n")
        told = json.loads(self.run_well("explain", "--json", "m.xml", "Hall/Main", "power"))
        self.assertEqual((told["from"], told["own"]["expression"], told["own"]["units"], told["initial"]["expression"],
                          told["definition"]["followed"], told["stereotypes"]),
                         ("own value", "3", "kW", "100", True, ["Plant.Machine"]))
        self.run_well("clear", "m.xml", "Hall/Main", "power")
        self.assertEqual(self.run_well("get", "m.xml", "Hall/Main", "power"), "100 W\n")
        uuid = json.loads(self.run_well("values", "--json", "m.xml"))["elements"][2]["id"]
        self.assertEqual(self.run_well("get", "m.xml", uuid, "power"), "100 W\n")
        self.run_well("unapply", "m.xml", "Hall/Main", "Machine")
        self.assertIn("zelkor:model:NotCarried", self.run_command("unapply", "m.xml", "Hall/Main", "Machine").stderr)
        self.run_well("remove", "m.xml", "Plant")
        self.assertEqual(self.run_well("values", "m.xml"), "")

    def test_what_cannot_be_done_is_said_and_leaves_the_file(self):
        self.make_model()
        before = self.content()
        cases = [
            (["set", "m.xml", "Hall/Main", "power", "9000"], "Velmora:Property:ErrorSettingPropertyValue", "out of range"),
            (["set", "m.xml", "Hall/Main", "power", "1", "--units", "kg"], "ErrorSettingPropertyValue", "converted"),
            (["set", "m.xml", "Hall/Main", "power", "1", "--units", "Wt"], "ErrorSettingPropertyValue", "Because: unit"),
            (["set", "m.xml", "Hall/Main", "power", "1", "--units", "W/"], "ErrorSettingPropertyValue", "of the units"),
            (["set", "m.xml", "Hall/Main", "label", "hello"], "ErrorSettingPropertyValue", "use --text"),
            (["set", "m.xml", "Hall/Main", "pwer", "1"], "zelkor:model:UnknownProperty", 'did you mean "power"?'),
            (["set", "m.xml", "Hall/Mian", "power", "1"], "zelkor:model:UnknownElement", 'did you mean "Hall/Main"?'),
            (["set", "m.xml", "", "power", "1"], "zelkor:model:UnknownElement", 'element ""'),
            (["add", "m.xml", "Hall/Main/out/in"], "zelkor:model:WrongKind", "not a component"),
            (["add", "m.xml", "Hall/c", "--as", "connector", "--target", "Hall"], "zelkor:model:WrongKind", "not a port"),
            (["apply", "m.xml", "Hall/Main/out", "Machine"], "Velmora:Profile:CannotApplyPrototype", "Port"),
            (["apply", "m.xml", "Hall/Main", "Mahcine"], "zelkor:model:UnknownStereotype", 'did you mean "Machine"?'),
            (["import", "m.xml", "Nothing"], "Velmora:Profile:ProfileNotFound", "Nothing"),
            (["remove", "m.xml", "Nothing"], "Velmora:Architecture:ProfileNotAttached", "Nothing"),
            (["add", "m.xml", "Hall/Main"], "tavo:messages:UniquenessConstraint", "Main"),
            (["add", "m.xml", "Hall/a b"], "Velmora:Architecture:InvalidElementName", "a b"),
            (["new", "m.xml"], "zelkor:model:FileExists", "m.xml"),
            (["new", "my-plant.xml"], "zelkor:model:NameOfFile", "--name"),
            (["values", "Plant.xml"], "Velmora:Architecture:NotAnArchitectureModel", "Plant.xml"),
            (["values", "none.xml"], "tavo:io:FileNotFound", "none.xml"),
        ]
        for arguments, identifier, words in cases:
            with self.subTest(arguments):
                done = self.run_command(*arguments)
                self.assertEqual(done.returncode, 1)
                self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
                self.assertIn(identifier + ": ", done.stderr)
                self.assertIn(words, done.stderr)
                self.assertEqual(self.content(), before)
        for arguments in [["set", "m.xml", "Hall/Main"], ["set", "m.xml", "A", "p", "1", "--from", "t.csv"], ["values"],
                          ["set", "m.xml", "--from", "t.csv", "--units", "W"], ["add", "m.xml", "x", "--source", "y"]]:
            self.assertEqual(self.run_command(*arguments).returncode, 2, arguments)
        self.assertIn("behind --", self.run_command("set", "m.xml", "Hall/Main", "power", "-pi+9").stderr)
        self.assertIn('did you mean "values"?', self.run_command("vlaues", "m.xml").stderr)
        for arguments in [["get", "m.xml", "Hall", "x"], ["values", "none.xml"], ["sync", "none.xml"],
                          ["explain", "m.xml", "x", "y"]]:
            done = self.run_command(*arguments, "--json")
            self.assertEqual((done.returncode, done.stderr), (1, ""), arguments)
            self.assertEqual(len(json.loads(done.stdout)["findings"]), 1)

    def test_a_table_is_set_whole_or_not_at_all(self):
        self.make_model()
        table = self.run_well("values", "--csv", "m.xml")
        (self.folder / "t.csv").write_text(table)
        before = self.content()
        self.assertEqual(self.run_well("set", "m.xml", "--from", "t.csv"), "0 values set\n")
        self.assertEqual(self.content(), before, "defaults that a table shows do not become values")

        bad = ["element,property,expression,units", "Hall/Main,power,9e9,kg", "Hall/Main,label,\"'two\r\nlines'\"",
               "Hall/Main,power,2", "", "Hall/Nain,power,1", "Hall/Main,weight,1", "Hall,power,1,W,x", ",power,1", ",,,",
               "m/Hall/Main,Plant.Machine.label"]
        (self.folder / "bad.csv").write_text("\ufeff" + "\r\n".join(bad), newline="")
        done = self.run_command("set", "m.xml", "--from", "bad.csv")
        self.assertEqual(done.returncode, 1)
        self.assertEqual([line.split(": ")[:2] for line in done.stderr.splitlines()],
                         [["bad.csv:2:3", "Velmora:Property:ErrorSettingPropertyValue"],
                          ["bad.csv:2:4", "Velmora:Property:ErrorSettingPropertyValue"],
                          ["bad.csv:3:3", "Velmora:Property:ErrorSettingPropertyValue"],
                          ["bad.csv:5:3", "zelkor:model:SetTwice"], ["bad.csv:7:1", "zelkor:model:UnknownElement"],
                          ["bad.csv:8:2", "zelkor:model:UnknownProperty"], ["bad.csv:9:5", "zelkor:model:ExtraCell"],
                          ["bad.csv:10:1", "zelkor:model:UnknownElement"], ["bad.csv:12:3", "zelkor:model:SetTwice"]])
        self.assertEqual(self.content(), before)
        head = "element,property,expression"
        for text, identifier in [("element,property\n", ":1:1: zelkor:model:MissingColumn"),
                                 ("", ":1:1: zelkor:model:MissingColumn"),
                                 (head + ",unit\n", ":1:1: zelkor:model:UnknownColumn"),
                                 (head + ",property\n", ":1:1: zelkor:model:ColumnTwice"),
                                 (head + '\na,b,"c\n', ": zelkor:model:BadTable: Line 2"),
                                 (head + "\nHall/Main,power,\n", ":2:3: zelkor:model:EmptyCell"),
                                 (head + ",own\nHall/Main,power,1,No\n", ":2:4: zelkor:model:NotYesOrNo")]:
            (self.folder / "bad.csv").write_text(text)
            done = self.run_command("set", "m.xml", "--from", "bad.csv")
            self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))
            self.assertTrue(done.stderr.startswith("bad.csv" + identifier), done.stderr)
            self.assertEqual(self.content(), before)

        (self.folder / "t.csv").write_text("property,element,expression\r\nlabel,Hall/Main,\"'a, b'\"\r\n\r\n"
                                           "power,Hall/Main,7\r\n,,\r\n", newline="")
        self.assertEqual(self.run_well("set", "m.xml", "--from", "t.csv"), "2 values set\n")
        rows = list(csv.DictReader(io.StringIO(self.run_well("values", "--csv", "m.xml"))))
        self.assertEqual([(row["expression"], row["units"], row["own"]) for row in rows],
                         [("'a, b'", "", "yes"), ("7", "W", "yes")])

    def test_a_missing_profile_is_told_of_and_costs_nothing(self):
        self.make_model()
        self.run_well("set", "m.xml", "Hall/Main", "power", "7")
        os.rename(self.folder / "Plant.xml", self.folder / "away.xml")
        done = self.run_command("sync", "m.xml")
        self.assertEqual(done.returncode, 0)
        self.assertIn('"Plant" cannot be found', done.stderr)
        self.assertIn("profile missing: Plant is left alone, with all that it brought (elements: 1, own values: 1)",
                      done.stdout)
        missing = json.loads(self.run_command("values", "--json", "m.xml").stdout)["elements"][2]
        self.assertEqual((missing["missing"], missing["values"][1]["expression"]), (["Plant.Machine"], "7"))
        content = (self.folder / "away.xml").read_text()
        for text, words in [(content[:5000], "Plant.xml:"), (self.content().decode(), "not that of a profile"),
                            (re.sub('(<Profile [^>]*uuid=")....', r"\1dead", content), "another one of that name")]:
            (self.folder / "Plant.xml").write_text(text)
            done = self.run_command("get", "m.xml", "Hall/Main", "power")
            self.assertEqual((done.returncode, done.stdout), (0, "7 W\n"))
            self.assertIn(words, done.stderr)
        (self.folder / "Plant.xml").write_text(content.replace('storedExpression="100"', 'storedExpression="9000"'))
        before = self.content()
        done = self.run_command("sync", "m.xml")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn('Velmora:Architecture:UnhealthyProfile: The profile "Plant" has a fault', done.stderr)
        self.assertIn("Plant.Machine.power", done.stderr)
        self.run_well("new", "n.xml")
        done = self.run_command("import", "n.xml", "Plant")
        self.assertIn("Velmora:Profile:CannotImportUnhealthyProfileIntoModel", done.stderr)
        self.assertIn("Plant.Machine.power", done.stderr)
        self.assertEqual(self.content(), before)
        os.rename(self.folder / "away.xml", self.folder / "Plant.xml")
        self.assertEqual(self.run_well("get", "m.xml", "Hall/Main", "power"), "7 W\n")
        self.assertEqual(self.run_well("sync", "m.xml"), "nothing to do\n")

    def test_a_profile_that_has_nothing_left_takes_over_only_when_imported(self):
        self.make_model()
        self.run_well("set", "m.xml", "Hall/Main", "power", "7")
        before = self.content()
        (self.folder / "Plant.toml").write_text("[[stereotype]]\nname = 'Herb'\n[[stereotype.property]]\n"
                                                "name = 'height'\ntype = 'double'\n")
        self.run_well("compile", "Plant.toml")
        done = self.run_command("sync", "m.xml")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(done.stdout, "profile missing: Plant is left alone, with all that it brought "
                                      "(elements: 1, own values: 1)\n")
        self.assertIn('m.xml: the profile "Plant" has nothing left of what the model uses', done.stderr)
        self.assertEqual(self.run_command("get", "m.xml", "Hall/Main", "power").stdout, "7 W\n")
        self.assertIn("--missing", self.run_command("remove", "m.xml", "Plant").stderr)
        self.assertEqual(self.content(), before)
        self.run_command("import", "m.xml", "Plant")
        self.assertIn("stereotype deleted: Plant.Machine is taken off, its values go (elements: 1, own values: 1)\n",
                      self.run_command("sync", "m.xml").stdout)
        self.run_well("apply", "m.xml", "Hall", "Herb")
        self.assertEqual(self.run_well("sync", "m.xml"), "nothing to do\n")

    def test_what_is_missing_goes_only_when_that_is_said(self):
        self.make_model()
        self.run_well("apply", "m.xml", "Hall", "Machine")
        for element in ["Hall", "Hall/Main"]:
            self.run_well("set", "m.xml", element, "power", "7")
        (self.folder / "Other.toml").write_text("[[stereotype]]\nname = 'Tag'\n[[stereotype.property]]\nname = 'note'\n"
                                                "type = 'string'\n")
        self.run_well("compile", "Other.toml")
        self.run_well("import", "m.xml", "Other")
        self.run_well("apply", "m.xml", "Hall/Main", "Tag")
        self.run_well("set", "m.xml", "Hall/Main", "note", "mine", "--text")
        for name in ["Plant", "Other"]:
            os.rename(self.folder / f"{name}.xml", self.folder / f"{name}.away")
        before = self.content()
        for arguments, identifier in [(["unapply", "m.xml", "Hall", "Machine"], "MissingStereotype"),
                                      (["remove", "m.xml", "Plant"], "MissingProfile")]:
            done = self.run_command(*arguments)
            self.assertEqual(done.returncode, 1)
            self.assertIn("zelkor:model:" + identifier, done.stderr)
            self.assertIn("--missing", done.stderr)
            self.assertEqual(self.content(), before)
        self.assertEqual(self.run_command("unapply", "m.xml", "Hall", "Machine", "--missing").returncode, 0)
        self.assertEqual(self.run_command("values", "m.xml").stdout,
                         "m/Hall/Main\n  * Other.Tag.note       'mine'\n    Plant.Machine.label  'none'\n"
                         "  * Plant.Machine.power  7 W\n")
        done = self.run_command("remove", "m.xml", "Plant", "--missing")
        self.assertEqual(done.returncode, 0)
        self.assertIn('Values of "Plant.Machine.power" that are dropped', done.stderr)
        os.rename(self.folder / "Other.away", self.folder / "Other.xml")
        told = json.loads(self.run_well("values", "--json", "m.xml"))["elements"]
        self.assertEqual([each["stereotypes"] for each in told], [[], [], ["Other.Tag"], []])
        self.assertEqual(self.run_well("values", "m.xml"), "m/Hall/Main\n  * Other.Tag.note  'mine'\n")
        os.rename(self.folder / "Plant.away", self.folder / "Plant.xml")
        self.assertEqual(self.run_well("sync", "m.xml"), "nothing to do\n")
        self.run_well("import", "m.xml", "Plant")

    def test_the_example_fits_the_example_profiles(self):
        for name in ["AvionicsHardware", "TimingScheduling", "FlightControl"]:
            shutil.copy(EXAMPLES / "profiles" / f"{name}.toml", self.folder)
            self.run_well("compile", f"{name}.toml")
        shutil.copy(EXAMPLES / "models" / "Aircraft.xml", self.folder)
        shutil.copy(EXAMPLES / "models" / "masses.csv", self.folder)
        self.assertEqual(self.run_well("sync", "--dry-run", "Aircraft.xml"), "nothing to do\n")
        self.assertGreater(len(json.loads(self.run_well("values", "--json", "Aircraft.xml"))["elements"]), 60)
        self.assertEqual(self.run_well("set", "Aircraft.xml", "--from", "masses.csv"), "7 values set\n")
        self.assertEqual(self.run_well("get", "Aircraft.xml", "Surfaces/Rudder", "mass"), "12 kg\n")

    def test_models_follow_their_profiles(self):
        for case in sorted(CHANGES.iterdir()):
            with self.subTest(case.name):
                for file in self.folder.iterdir():
                    file.unlink()
                shutil.copy(case / "before.toml", self.folder / "P.toml")
                self.run_well("compile", "P.toml")
                self.run_well("new", "m.xml")
                self.run_well("import", "m.xml", "P")
                for element, stereotype in [("A", "Machine"), ("B", "Pump"), ("C", "Pump")]:
                    self.run_well("add", "m.xml", element)
                    self.run_well("apply", "m.xml", element, stereotype)
                for element, name, value in [("A", "slots", "7"), ("B", "power", "2000"), ("B", "flow", "0.25")]:
                    self.run_well("set", "m.xml", element, name, value)
                shutil.copy(case / "after.toml", self.folder / "P.toml")
                self.run_well("compile", "P.toml")
                before = self.content()
                said = self.run_command("sync", "--dry-run", "m.xml")
                self.assertEqual(self.content(), before)
                done = self.run_command("sync", "m.xml")
                self.assertEqual((done.returncode, done.stdout, done.stderr), (0, said.stdout, said.stderr))
                got = done.stdout + done.stderr + self.run_well("values", "m.xml")
                self.assertEqual(self.run_well("sync", "m.xml"), "nothing to do\n")
                expected = case / "expected.txt"
                if FIX:
                    expected.write_text(got)
                self.assertEqual(got, expected.read_text())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
