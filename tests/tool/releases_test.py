"""Files of other releases, with the real command: releases, export, upgrade, and what the rest does with old files.

usage: releases_test.py ZELKOR
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tomllib
import unittest

from running import ZELKOR, CommandTestCase

TESTS = pathlib.Path(__file__).parents[1]
PRESENT = tomllib.loads((TESTS.parent / "src/zelkor/meta/package.toml").read_text())["package"]["versions"][-1]

PROFILE = """
[profile]
friendlyName = "Pumps & more"

[[type]]
name = "Power"
base = "single"
units = "W"

[[enumeration]]
name = "Hue"
members = ["Red", "Green"]

[[stereotype]]
name = "Pump"
appliesTo = ["Component"]

[[stereotype.property]]
name = "power"
type = "Power"
default = { value = 2, units = "kW" }

[[stereotype.property]]
name = "hue"
type = "Hue"
default = "Green"

[[stereotype.property]]
name = "made"
type = "Hue"
default = { expr = "Hue('Green')" }

[[stereotype.property]]
name = "serials"
type = "int64"
dimensions = [1, 2]
default = { expr = "[7 2147483649]" }

[[stereotype.property]]
name = "notes"
type = "stringArray"

[[tag]]
name = "reviewed"
"""


BASE = """
[[type]]
name = "Mat"
base = "double"
units = "kg"
dimensions = [1, 3]

[[type]]
name = "A"
base = "int32"

[[type]]
name = "B"
base = "int32"
min = 5000

[[type]]
name = "Word"
base = "double"
"""

TOP = """
[profile]
dependsOn = ["Base"]

[[type]]
name = "A"
base = "Base.B"

[[type]]
name = "B"
base = "Base.A"
max = 9

[[type]]
name = "Word"
base = "string"

[[type]]
name = "Address"
base = "uint32"

[[type]]
name = "Narrow"
base = "Address"

[[type]]
name = "Big"
base = "int64"
min = 0
max = 5000000000

[[type]]
name = "Ratio"
kind = "real"
max = 1

[[type]]
name = "Words"
kind = "stringArray"

[[enumeration]]
name = "Hue"
members = ["Red", "Green"]

[[stereotype]]
name = "S"
property = [
  { name = "words", type = "Words", default = ["a"] }, { name = "first", type = "Hue" },
  { name = "a", type = "A", default = 7000 }, { name = "b", type = "Base.B", default = 7000 },
  { name = "mat", type = "Base.Mat", default = [1, 2, 3] }, { name = "word", type = "Base.Word", default = 2 },
  { name = "address", type = "Narrow", default = 4000000000 }, { name = "big", type = "Big", default = 4000000000 },
  { name = "hues", type = "Hue", dimensions = [2, 2], default = { expr = "[[Hue.Red Hue.Green]; [Hue.Red; Hue.Red]' ]" } },
  { name = "hue", type = "Hue", default = { expr = "[Hue('Red')]" } },
]
"""


class ReleasesTest(CommandTestCase):
    def make_profile(self):
        (self.folder / "Plant.toml").write_text(PROFILE)
        self.run_well("compile", "Plant.toml")

    def make_model(self):
        self.make_profile()
        self.run_well("new", "m.xml")
        self.run_well("add", "m.xml", "A")
        self.run_well("import", "m.xml", "Plant")
        self.run_well("apply", "m.xml", "A", "Plant.Pump")
        self.run_well("set", "m.xml", "A", "power", "3*int32(Hue.Red)", "--units", "kW")
        self.run_well("set", "m.xml", "A", "hue", "Hue.Red")
        self.run_well("set", "m.xml", "A", "made", "Hue('Red')")
        self.run_well("set", "m.xml", "A", "serials", "[1 2^40]")

    def bring_old(self, *names):
        """Files as the first release wrote them, typed by hand."""
        for name in names:
            shutil.copy(next((TESTS / "data" / "releases" / "Plover").rglob(name)), self.folder)
            os.chmod(self.folder / name, 0o640)

    def version(self, name):
        text = (self.folder / name).read_text()
        return text.split('<family name="zelkor_property" version="')[1].split('"')[0]

    def test_the_table_of_releases_has_both_families(self):
        lines = [line.split() for line in self.run_well("releases").splitlines()]
        self.assertEqual(lines[0], ["release", "zelkor_property", "zelkor_services_proxy"])
        self.assertEqual(lines[1:], [list(row.values()) for row in json.loads(self.run_well("releases", "--json"))])
        self.assertIn(["Oriole", "2.6", "1.1"], lines)

    def test_an_export_says_what_is_lost_and_nothing_else(self):
        self.make_model()
        told = {"Oriole": set(), "Thrush": {"Plant.Pump.notes: the type stringArray becomes string"}}
        told["Linnet"] = set(told["Thrush"])
        told["Plover"] = told["Thrush"] | {
            "Plant: the friendly name is left out", "Plant.reviewed: the tag is left out",
            "Plant.Power: the units are left out", "Plant.Power: the base type single becomes double",
            "Plant.Pump.power: the units are left out", "Plant.Pump.hue: the type Hue becomes string",
            "Plant.Pump.made: the type Hue becomes string",
            "Plant.Pump.serials: the base type int64 becomes int32",
            "Plant.Pump.serials: the default [7 2147483649] stays, and is out of range",
            "Plant.Pump.made: the default Hue('Green') stays, and is no value of a string",
        }
        versions = {row["release"]: row["zelkor_property"] for row in json.loads(self.run_well("releases", "--json"))}
        for release, expected in told.items():
            with self.subTest(release):
                (self.folder / release).mkdir()
                out = self.run_well("export", "Plant.xml", "--release", release, "-o", f"{release}/Plant.xml")
                self.assertEqual(sorted(out.splitlines()), sorted(expected))
                self.assertEqual(self.version(f"{release}/Plant.xml"), versions[release])
                shown = json.loads(self.run_well("show", "--json", f"{release}/Plant.xml"))
                self.assertEqual([p["name"] for p in shown["stereotypes"][0]["properties"]], ["power", "hue", "made", "serials", "notes"])
                told_json = json.loads(self.run_well("export", "Plant.xml", "--release", release, "--json", "-o",
                                                     f"{release}/Plant.xml"))
                self.assertEqual({f"{loss['object']}: {loss['effect']}" for loss in told_json["losses"]}, expected)
                self.assertEqual(told_json["release"], release)
        out = self.run_well("export", "m.xml", "--release", "Plover", "-o", "Plover/m.xml")
        self.assertEqual(set(out.splitlines()), {
            "m.A: the units of Plant.Pump.power are left out",
            "m.A: the value of Plant.Pump.hue becomes a text",
            "m.A: the value of Plant.Pump.made stays, and is no value of a string",
            "m.A: the value of Plant.Pump.serials stays, and is out of range"})
        # Neither a fault in a profile nor a missing profile is in the way.
        text = (self.folder / "Plant.xml").read_text()
        self.assertIn('storedExpression="2"', text)
        (self.folder / "Plant.xml").write_text(text.replace('storedExpression="2"', 'storedExpression="2*"'))
        self.assertEqual(self.run_command("check", "Plant.xml").returncode, 1)
        self.assertEqual(self.run_well("export", "Plant.xml", "--release", "Oriole", "-o", "Oriole/Plant.xml"), "")
        values = (self.folder / "Plover/m.xml").read_text()
        self.assertIn("p_Expression=\"'Red'\"", values)
        self.assertIn('p_Expression="3*int32(Hue.Red)"', values)
        os.rename(self.folder / "Plant.xml", self.folder / "Plant.away")
        self.assertEqual(self.run_well("export", "m.xml", "--release", "Plover", "-o", "Plover/m.xml"), out)
        text = (self.folder / "m.xml").read_text()
        (self.folder / "m.xml").write_text(text.replace("3*int32(Hue.Red)", "Hue.Red"))  # no value of a number
        self.assertIn("m.A: the value of Plant.Pump.power becomes a text",
                      self.run_well("export", "m.xml", "--release", "Plover", "-o", "Plover/m.xml").splitlines())

    def test_what_types_and_members_become_is_sound_or_told(self):
        (self.folder / "Base.toml").write_text(BASE)
        (self.folder / "Top.toml").write_text(TOP)
        self.run_well("compile", "Base.toml")
        self.run_well("compile", "Top.toml")
        (self.folder / "old").mkdir()
        out = self.run_well("export", "Top.xml", "--release", "Plover", "-o", "old/Top.xml")
        self.assertEqual(set(out.splitlines()), {
            "Top.A: the base type Base.B becomes B",
            "Top.B: the base type Base.A becomes int32, without its bounds",  # not A, which stands on it
            "Top.S.a: the default 7000 stays, and is out of range",
            "Top.S.b: the type Base.B becomes B",
            "Top.S.b: the default 7000 stays, and is out of range",
            "Top.S.mat: the type Base.Mat becomes double, without its dimensions and bounds",
            "Top.S.mat: the units are left out",
            "Top.S.word: the type Base.Word becomes double, without its dimensions and bounds",  # not Word, a text
            "Top.Address: the base type uint32 becomes int32",
            "Top.Big: the base type int64 becomes int32",
            "Top.S.address: the default 4000000000 stays, and is out of range",
            "Top.S.hues: the type Hue becomes string", "Top.S.hues: the dimensions are left out",
            "Top.Words: the type Words is left out", "Top.S.words: the type Words becomes string",
            "Top.Ratio: the lower bound becomes that of double",
            "Top.S.first: the type Hue becomes string", "Top.S.first: the default becomes an empty text",
            "Top.S.hue: the type Hue becomes string",
            "Top.S.hue: the default [Hue('Red')] stays, and is no value of a string"})
        shown = json.loads(self.run_well("show", "--json", "old/Top.xml"))
        self.assertEqual({each["name"]: each["default"] for each in shown["stereotypes"][0]["properties"]}["hues"],
                         "[{'Red' 'Green'}; {'Red'; 'Red'}' ]")
        # What is not told is as right there as it was here.
        done = self.run_command("check", "old/Top.xml", "--json")
        self.assertEqual({each["element"] for each in json.loads(done.stdout)["findings"]},
                         {"Top.S.a", "Top.S.b", "Top.S.address", "Top.S.hue"})

    def test_the_same_loss_of_many_things_is_told_once(self):
        properties = "".join(f"[[stereotype.property]]\nname = 'p{i}'\ntype = 'double'\nunits = 'kg'\n" for i in range(5))
        (self.folder / "Plant.toml").write_text("[[stereotype]]\nname = 'S'\n" + properties)
        self.run_well("compile", "Plant.toml")
        (self.folder / "old").mkdir()
        self.assertEqual(self.run_well("export", "Plant.xml", "--release", "Plover", "-o", "old/Plant.xml"),
                         "the units are left out:\n" + "".join(f"  Plant.S.p{i}\n" for i in range(5)))

    def test_an_export_that_is_refused_writes_nothing(self):
        self.make_model()
        self.bring_old("Works.xml")
        (self.folder / "there.xml").write_text("what was there")
        (self.folder / "future.xml").write_text((self.folder / "Plant.xml").read_text().replace(
            f'version="{PRESENT}"', 'version="99.1"'))
        (self.folder / "foreign.xml").write_text("<svg/>")
        (self.folder / "folder").mkdir()
        os.symlink("Plant.xml", self.folder / "link.xml")
        refusal, before = "Velmora:Profile:CannotExportToPrevious", self.files()
        for arguments, identifier, words in [
                (["Plant.xml", "Plover", "there.xml", "--strict"], refusal, "(11): Plant"),
                (["m.xml", "Plover", "there.xml", "--strict"], refusal, 'm.A: the units of Plant.Pump.power'),
                (["Plant.xml", "Orioles", "there.xml"], "zelkor:text:UnknownName", 'did you mean "Oriole"?'),
                (["Plant.xml", "2.6", "there.xml"], "zelkor:text:UnknownName", '"2.6". "zelkor releases" lists'),
                (["Plant.xml", "Oriole", "./Plant.xml"], "zelkor:text:OutputIsInput", "Plant.xml"),
                (["Plant.xml", "Oriole", "link.xml"], "zelkor:text:OutputIsInput", "link.xml"),
                (["Plant.xml", "Oriole", "none/old.xml"], refusal, "there is no such folder.\n"),
                (["Plant.xml", "Oriole", "folder"], refusal, "folder"),
                (["none.xml", "Oriole", "there.xml"], "tavo:io:FileNotFound", "none.xml"),
                (["foreign.xml", "Oriole", "there.xml"], "tavo:messages:InvalidText", "no model file"),
                (["future.xml", "Oriole", "there.xml"], "tavo_evo:messages:InvalidFamilyVersion", "with the release that wrote it")]:
            with self.subTest(arguments):
                source, release, output, *rest = arguments
                done = self.run_command("export", source, "--release", release, "-o", output, *rest)
                self.assertEqual(done.returncode, 1)
                self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
                self.assertEqual(done.stdout != "", bool(rest), done.stdout)
                self.assertTrue(done.stderr.startswith(f"{source}"), done.stderr)
                self.assertIn(identifier + ": ", done.stderr)
                self.assertIn(words, done.stderr)
                asJson = self.run_command("export", source, "--release", release, "-o", output, "--json", *rest)
                self.assertEqual(asJson.stderr, "")
                self.assertEqual(json.loads(asJson.stdout)["findings"][0]["id"], identifier)
                self.assertEqual(self.files(), before)
        self.assertEqual(self.run_command("export", "Plant.xml", "-o", "x.xml").returncode, 2)
        done = self.run_command("export", "Plant.xml", "--release", "Oriole", "-o", "Other.xml")
        self.assertEqual((done.returncode, done.stdout), (0, ""))
        self.assertIn('not be found as "Plant"', done.stderr)

    def test_files_are_upgraded_in_place(self):
        for order in [["Plant.xml", "Works.xml"], ["Works.xml", "Plant.xml"]]:
            with self.subTest(order):
                self.bring_old(*order)
                self.make_aside()
                before = self.files()
                values = self.run_well("values", "Works.xml")
                done = self.run_command("upgrade", "--backup", "broken.xml", *order, "none.xml", "present.xml")
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stdout.splitlines(),
                                 [f"{name}: was Plover" for name in order] + ["present.xml: up to date"])
                self.assertEqual([line.split(":")[0] for line in done.stderr.splitlines()], ["broken.xml", "none.xml"])
                after = self.files()
                for name in order:
                    self.assertEqual(self.version(name), PRESENT)
                    self.assertEqual(after.pop(name + ".Plover"), before[name])
                    self.assertEqual((self.folder / name).stat().st_mode & 0o777, 0o640)
                    after[name] = before[name]
                self.assertEqual(after, before, "nothing else is touched or left")
                self.assertEqual(self.run_well("values", "Works.xml"), values)
                self.assertEqual(self.run_well("upgrade", *order), "".join(f"{name}: up to date\n" for name in order))
                for name in order:
                    (self.folder / (name + ".Plover")).unlink()

    def make_aside(self):
        (self.folder / "broken.xml").write_bytes((self.folder / "Plant.xml").read_bytes()[:3000])
        (self.folder / "Aside.toml").write_text("[[tag]]\nname = 'T'\n")
        self.run_well("compile", "Aside.toml", "-o", "Aside.xml")
        os.replace(self.folder / "Aside.xml", self.folder / "present.xml")

    def test_an_upgrade_that_cannot_be_done_leaves_file_and_backup_as_they_were(self):
        self.bring_old("Works.xml")
        before = self.files()
        for arguments in [[], ["--backup"]]:
            done = self.run_command("upgrade", "Works.xml", *arguments)
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertIn("Velmora:Architecture:MigrationIncomplete", done.stderr)
            self.assertEqual(self.files(), before)
        self.bring_old("Plant.xml")
        (self.folder / "Works.xml.Plover").write_text("an older backup")
        before = self.files()
        done = self.run_command("upgrade", "Works.xml", "--backup", "--json")
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        told = json.loads(done.stdout)
        self.assertEqual((told["files"], [f["id"] for f in told["findings"]]), ([], ["tavo:io:BackupExists"]))
        self.assertEqual(self.files(), before)
        # The profile is in another folder, and is found there because it is upgraded, too.
        (self.folder / "profiles").mkdir()
        os.rename(self.folder / "Plant.xml", self.folder / "profiles" / "Plant.xml")
        told = json.loads(self.run_well("upgrade", "Works.xml", "profiles/Plant.xml", "--json"))
        self.assertEqual(told, {"files": [{"file": name, "was": "Plover", "reports": []}
                                          for name in ["Works.xml", "profiles/Plant.xml"]], "findings": []})

    def test_what_the_profiles_do_not_take_is_told_and_left_out_only_on_demand(self):
        self.bring_old("Works.xml")
        path = self.folder / "Works.xml"
        path.write_text(path.read_text().replace('"3/4"', '"-3"').replace("Plant.FirePump.stages", "Plant.FirePump.gone"))
        old, upgrade = path.read_bytes(), ["upgrade", "--leave-out", "Works.xml"]
        self.assertEqual(self.run_command(*upgrade).returncode, 1, "the profile is missing")
        self.assertEqual(list(self.files()), ["Works.xml"])
        self.bring_old("Plant.xml")
        plant = self.folder / "Plant.xml"
        sound = plant.read_text()
        plant.write_text(sound.replace('text="1"', 'text="1*"'))
        self.assertEqual(self.run_command(*upgrade).returncode, 1, "the profile has a fault")
        plant.write_text(sound)
        for arguments, status in [(["values", path], 0), (["set", path, "Main", "maker", "'x'"], 1),
                                  (["upgrade", path], 1), (upgrade, 0)]:
            with self.subTest(arguments):
                self.assertEqual(path.read_bytes(), old)
                done = self.run_command(*arguments)
                self.assertEqual(done.returncode, status, done.stderr)
                for words in ['The value -3 of "Plant.Pump.flow" cannot be set for "Main". Because: ', '"Spare". Because: ']:
                    self.assertEqual(done.stderr.count(words), 1, done.stderr)
                self.assertEqual("--leave-out" in done.stderr, arguments == ["upgrade", path])
        self.assertEqual((self.version("Works.xml"), self.files()["Works.xml.Plover"]), (PRESENT, old))
        # As JSON, too, be it refused or left out.
        os.replace(self.folder / "Works.xml.Plover", path)
        refused = self.run_command("upgrade", "Works.xml", "--json")
        self.assertEqual(refused.stderr, "")
        left_out = json.loads(self.run_well(*upgrade, "--json"))["files"][0]["reports"]
        self.assertEqual(sorted(each["message"] for each in json.loads(refused.stdout)["findings"]
                                if each["id"] == "Velmora:Architecture:FailedToMigrateLinnetModel"), sorted(left_out))
        self.assertEqual(len(left_out), 2, left_out)
        self.run_well("set", "Works.xml", "Main", "maker", "'x'")
        # A copy for the present release was made without a look at the profiles, and is waiting for them.
        self.bring_old("Works.xml")
        self.run_well("export", "Works.xml", "--release", "Avocet", "-o", "copy.xml")
        self.assertEqual(self.run_well("upgrade", "copy.xml"), f"copy.xml: was {PRESENT}\n")
        self.assertEqual(self.run_well("upgrade", "copy.xml"), "copy.xml: up to date\n")

    def test_opening_an_old_file_does_not_write_it_and_changing_it_says_so(self):
        self.bring_old("Plant.xml", "Works.xml")
        before = self.files()
        for arguments in [["show", "Plant.xml"], ["check", "Plant.xml"], ["decompile", "Plant.xml"],
                          ["values", "Works.xml"], ["get", "Works.xml", "Main", "flow"], ["sync", "Works.xml", "--dry-run"],
                          ["explain", "Works.xml", "Main", "flow"], ["set", "Works.xml", "Main", "flow", "3/4"],
                          ["sync", "Works.xml"]]:
            with self.subTest(arguments):
                self.run_well(*arguments)
                self.assertEqual(self.files(), before)
        done = self.run_command("set", "Works.xml", "Main", "flow", "0.5")
        self.assertEqual((done.returncode, done.stderr.count("\n")), (0, 1))
        self.assertIn("Works.xml: was a file of version Plover", done.stderr)
        self.assertEqual((self.version("Works.xml"), self.version("Plant.xml")), (PRESENT, "Plover"))
        self.assertEqual(self.run_well("get", "Works.xml", "Main", "flow"), "0.5\n")
        self.run_well("set", "Works.xml", "Main", "flow", "0.25")

    def test_files_of_the_future_are_refused_by_everybody(self):
        self.make_model()
        for name in ["Plant.xml", "m.xml"]:
            text = (self.folder / name).read_text()
            (self.folder / name).write_text(text.replace(f'"zelkor_property" version="{PRESENT}"',
                                                         '"zelkor_property" version="99.1"'))
        self.run_well("new", "n.xml")
        before = self.files()
        for arguments in [["show", "Plant.xml"], ["check", "Plant.xml"], ["decompile", "Plant.xml"],
                          ["compile", "Plant.toml"], ["upgrade", "Plant.xml"], ["upgrade", "m.xml"],
                          ["export", "m.xml", "--release", "Oriole", "-o", "o.xml"], ["values", "m.xml"],
                          ["get", "m.xml", "A", "power"], ["set", "m.xml", "A", "power", "1"], ["sync", "m.xml"],
                          ["explain", "m.xml", "A", "power"], ["apply", "m.xml", "A", "Pump"], ["add", "m.xml", "B"],
                          ["import", "n.xml", "Plant"]]:
            with self.subTest(arguments):
                done = self.run_command(*arguments)
                self.assertEqual((done.returncode, len(done.stderr.splitlines())), (1, 1), done.stderr)
                for words in ["xml", "99.1", "elease"]:
                    self.assertIn(words, done.stderr)
                self.assertEqual(self.files(), before)

    def test_of_several_who_save_one_model_the_losers_are_told(self):
        self.run_well("new", "m.xml")
        running = [subprocess.Popen([ZELKOR, "add", "m.xml", f"E{i}"], cwd=self.folder, stderr=subprocess.PIPE, text=True)
                   for i in range(12)]
        done = [(process.communicate()[1], process.returncode) for process in running]
        elements = json.loads(self.run_well("values", "--json", "m.xml"))["elements"]
        self.assertEqual({each["element"] for each in elements},
                         {"m"} | {f"m/E{i}" for i, (_, status) in enumerate(done) if status == 0})
        for said, status in done:
            self.assertEqual("tavo:io:FileChangedOnDisk" in said, status == 1, said)
        self.assertEqual(list(self.files()), ["m.xml"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
