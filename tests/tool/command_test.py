"""Runs the real command: examples, exit statuses, and what it leaves behind. usage: command_test.py ZELKOR EXAMPLES"""

import json
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import unittest

from running import ZELKOR, CommandTestCase

EXAMPLES = pathlib.Path(sys.argv[2])
ORDER = ["AvionicsHardware", "TimingScheduling", "FlightControl"]

HEAD = "[[set]]\nname = 'S'\n[[set.property]]\nname = 'p'\n"
ENUM = "[[enumeration]]\nname = 'Hue'\nmembers = ['Red', 'Green']\n"


class CommandTest(CommandTestCase):
    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def compile(self, name, text):
        return self.run_command("compile", self.write(name + ".toml", text))

    def compile_examples(self):
        for name in ORDER:
            shutil.copy(EXAMPLES / f"{name}.toml", self.folder)
            done = self.run_command("compile", f"{name}.toml")
            self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_examples_compile_and_check_clean(self):
        self.compile_examples()
        done = self.run_command("check", *(f"{name}.xml" for name in ORDER))
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        shown = json.loads(self.run_command("show", "--json", "FlightControl.xml").stdout)
        self.assertEqual(shown["dependsOn"], ORDER[:2])

    def test_decompiled_examples_compile_to_the_same_bytes(self):
        self.compile_examples()
        before = self.files()
        for name in ORDER:
            done = self.run_command("decompile", f"{name}.xml", "-o", f"{name}.toml")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertNotIn("[exact]", (self.folder / f"{name}.toml").read_text())
            (self.folder / f"{name}.xml").unlink()
            self.assertEqual(self.run_command("compile", f"{name}.toml").returncode, 0)
            self.assertEqual((self.folder / f"{name}.xml").read_bytes(), before[f"{name}.xml"], name)

    def test_refuses_with_place_and_identifier_and_writes_nothing(self):
        cases = {
            "unknown type": (HEAD + "type = 'duoble'\n", 5, "zelkor:text:UnknownName", 'did you mean "double"?'),
            "out of range": (HEAD + "type = 'uint8'\ndefault = 300\n", 6,
                             "Velmora:Property:InvalidIntegerPropValueMinMax", ""),
            "fraction": (HEAD + "type = 'uint8'\nmax = 1.5\n", 6, "zelkor:text:WrongKind", "whole number"),
            "no expression": (HEAD + "type = 'double'\ndefault = { expr = '2*' }\n", 6,
                              "Velmora:Property:CannotEvalExpression", ""),
            "variable": (HEAD + "type = 'double'\ndefault = { expr = 'speed*2' }\n", 6,
                         "Velmora:Property:CannotEvalExpression", "there are no variables"),
            "bare word": (ENUM + HEAD + "type = 'Hue'\ndefault = { expr = 'Green' }\n", 9,
                          "Velmora:Property:CannotEvalExpression", 'default = "Green"'),
            "no member": (ENUM + HEAD + "type = 'Hue'\ndefault = 'Gren'\n", 9, "Velmora:Property:InvalidEnumPropValue",
                          'did you mean "Green"?'),
            "bad unit": (HEAD + "type = 'double'\nunits = 'kgg'\n", 6, "kavra:units:UnknownUnit",
                         ": unit 'kgg' is not known at position 1; did you mean 'kg'?"),
            "other unit": (HEAD + "type = 'double'\nunits = 'm'\ndefault = { value = 1, units = 's' }\n", 7,
                           "Velmora:Property:UnitsNotConvertible", ""),
            "unit of a text": (HEAD + "type = 'string'\nunits = 'm'\n", 6, "Velmora:Property:CantHaveUnit", ""),
            "crossed bounds": (HEAD + "type = 'double'\nmin = 2\nmax = 1\n", 6, "Velmora:Property:MaxLessThanMin", ""),
            "wrong shape": (HEAD + "type = 'double'\ndimensions = [3]\ndefault = [1, 2]\n", 7,
                            "Velmora:Property:InvalidDimensions", ""),
            "circle of types": ("[[type]]\nname = 'A'\nbase = 'B'\n[[type]]\nname = 'B'\nbase = 'A'\n", 3,
                                "zelkor:text:Cycle", "A -> B -> A"),
            "circle of parents": ("[[stereotype]]\nname = 'A'\nparent = 'B'\n[[stereotype]]\nname = 'B'\nparent = 'A'\n",
                                  6, "Velmora:Profile:CircularPrototypeInheritance", ""),
            "undeclared": ("[[stereotype]]\nname = 'A'\nparent = 'Other.B'\n", 3, "zelkor:text:UndeclaredDependency",
                           "Other"),
            "missing profile": ("[profile]\ndependsOn = ['Other']\n", 2, "Velmora:Profile:ProfileNotFound", ""),
            "name of an ancestor": ("[[stereotype]]\nname = 'A'\n[[stereotype.property]]\nname = 'p'\ntype = 'double'\n"
                                    "[[stereotype]]\nname = 'B'\nparent = 'A'\n[[stereotype.property]]\nname = 'p'\n"
                                    "type = 'double'\n", 10, "Velmora:Profile:NonUniquePropertyNamesInHierarchy", ""),
            "port as component": ("[[stereotype]]\nname = 'A'\nappliesTo = ['Port']\n[profile]\ndefaultStereotype = 'A'\n",
                                  5, "Velmora:Profile:InvalidComponentDefault", ""),
            "nil identity": ("[[tag]]\nname = 'A'\nid = '00000000-0000-0000-0000-000000000000'\n", 3,
                             "zelkor:text:InvalidIdentity", ""),
            "narrowing what is wrong": ("[[type]]\nname = 'A'\nbase = 'B'\nmax = 1\n" + HEAD + "type = 'A'\nmax = 0\n", 3,
                                        "zelkor:text:UnknownName", ""),
            "two meanings": (ENUM + "[[type]]\nname = 'Hue'\nbase = 'double'\n", 5, "zelkor:text:DuplicateName",
                             "the first is in line 2"),
            "built-in name": ("[[enumeration]]\nname = 'double'\nmembers = ['A']\n", 2, "zelkor:text:BuiltInName", ""),
            "ragged rows": (HEAD + "type = 'double'\ndefault = [[1, 2], [3]]\n", 6,
                            "Velmora:Property:CannotEvalExpression", ""),
            "range in other units": (HEAD + "type = 'double'\nunits = 'kg'\nmin = 0\nmax = 25\n"
                                     "default = { value = 750, units = 'g' }\n", 9,
                                     "Velmora:Property:InvalidRealPropValueMinMax", "whatever its units"),
            "fact about nothing": ("[exact]\n'Profile/tags/A/description' = 'x'\n", 2, "zelkor:text:UnknownPath", ""),
            "shared identity": ("".join(f"[[tag]]\nname = '{name}'\nid = '12345678-1234-4234-8234-123456789012'\n"
                                        for name in "AB"), None, "zelkor:text:SharedIdentity", ""),
        }
        for name, (text, line, identifier, words) in cases.items():
            with self.subTest(name):
                done = self.compile("P", text)
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stdout, "")
                self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
                self.assertIn(f" {identifier}: ", done.stderr)
                self.assertIn(words, done.stderr)
                if line:
                    self.assertRegex(done.stderr, rf"^P\.toml:{line}:\d+: ")
                self.assertEqual(list(self.files()), ["P.toml"])

    def test_inputs_that_are_no_files_of_the_kind_are_refused_at_once(self):
        os.mkfifo(self.folder / "Pipe.xml")
        (self.folder / "Folder.xml").mkdir()
        self.assertEqual(self.compile("P", "[[tag]]\nname = 'T'\n").returncode, 0)
        whole = (self.folder / "P.xml").read_text()
        self.write("Cut.xml", whole[:len(whole) // 2])
        self.write("Bomb.xml", '<!DOCTYPE a [<!ENTITY b "c">]><a>&b;</a>')
        self.write("Empty.xml", "")
        for name in ["Pipe.xml", "Folder.xml", "Cut.xml", "Bomb.xml", "Empty.xml", "Nothing.xml"]:
            for command in ["check", "show", "decompile", "compile"]:
                with self.subTest(name=name, command=command):
                    done = self.run_command(command, name)
                    self.assertEqual(done.returncode, 1, done.stderr)
                    self.assertEqual(len(done.stderr.splitlines()), 1, done.stderr)
                    self.assertTrue(done.stderr.startswith(name), done.stderr)

    def test_a_failure_to_write_leaves_the_old_files(self):
        self.assertEqual(self.compile("P", ENUM).returncode, 0)
        before = self.files()
        (self.folder / "P.xml").unlink()
        (self.folder / "P.xml").mkdir()
        done = self.compile("P", ENUM.replace("Green", "Blue"))
        self.assertEqual(done.returncode, 1)
        self.assertEqual(self.files()["Hue.enum.toml"], before["Hue.enum.toml"])

        # A limit on the size of files does what a full disk does, to the profile but not to the small enumeration.
        # The signal that the limit would send is ignored, as this program ignores it.
        self.write("Q.toml", ENUM.replace("Hue", "Tint"))
        before = self.files()
        done = self.run_command("compile", "Q.toml", restore_signals=False,
                                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1024, 1024)))
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"^Q\.toml: tavo:io:CannotWrite: [^\n]*\n$")
        self.assertEqual(self.files(), before)

        with open("/dev/full", "w") as full:
            done = subprocess.run([ZELKOR, "completion"], stdout=full, check=False)
        self.assertEqual(done.returncode, 1)

    def test_identities_follow_names_outputs_and_renames(self):
        text = HEAD + "type = 'double'\ndefault = 1\n"
        self.compile("P", text)
        first = self.files()["P.xml"]
        self.compile("P", text)
        self.assertEqual(self.files()["P.xml"], first)

        identity = lambda: [line for line in self.files()["P.xml"].decode().splitlines() if "<properties" in line][0]
        uuid = lambda: identity().split('uuid="')[1][:36]
        version = lambda: identity().split('currentVersionId="')[1][:36]
        old, old_version = uuid(), version()
        renamed = text.replace("name = 'p'", "name = 'q'\nwas = 'p'")
        self.compile("P", renamed)
        self.assertEqual((uuid(), version()), (old, old_version))
        (self.folder / "P.xml").unlink()
        self.compile("P", renamed)
        self.assertEqual((uuid(), version()), (old, old_version))
        self.compile("P", text.replace("name = 'p'", "name = 'q'").replace("default = 1", "default = 2"))
        self.assertEqual(uuid(), old)
        versions = {old_version, version()}
        for bound in ["1e-9", "2e-9"]:
            self.compile("P", HEAD + f"type = 'double'\nmin = {bound}\ndefault = 1\n")
            versions.add(version())
        self.assertEqual(len(versions), 4)

    def test_a_profile_is_not_overwritten_with_something_else(self):
        self.compile("P", "[[tag]]\nname = 'T'\n")
        before = self.files()
        for arguments, identifier in [(["decompile", "P.xml", "-o", "./P.xml"], "OutputIsInput"),
                                      (["compile", "P.toml", "-o", "P.toml"], "OutputIsInput"),
                                      (["compile", "P.toml", "-o", "Q.xml"], "OutputName")]:
            with self.subTest(arguments):
                done = self.run_command(*arguments)
                self.assertEqual(done.returncode, 1)
                self.assertIn(f" zelkor:text:{identifier}: ", done.stderr)
                self.assertEqual(self.files(), before)
        (self.folder / "P.xml").rename(self.folder / "Q.xml")
        self.assertIn(" zelkor:text:OtherProfile: ", self.compile("Q", "[[tag]]\nname = 'T'\n").stderr)
        self.assertEqual(self.files()["Q.xml"], before["P.xml"])
        self.assertEqual(self.compile("Q", "[profile]\nwas = 'P'\n[[tag]]\nname = 'U'\nwas = 'T'\n").stderr, "")
        done = self.compile("Q", "[profile]\nwas = 'P'\n[[tag]]\nname = 'V'\nwas = 'T'\n")
        self.assertRegex(done.stderr, r"^Q\.toml:5:7: zelkor:text:UnknownFormer: [^\n]*\n$")

    def test_texts_are_checked_and_shown_without_being_written(self):
        self.write("P.toml", HEAD + "type = 'double'\nunits = 'kg'\ndefault = { value = 2, units = 'g' }\n")
        self.write("Q.toml", HEAD + "type = 'duoble'\n")
        done = self.run_command("check", "--json", "P.toml", "Q.toml")
        self.assertEqual(done.returncode, 1)
        self.assertEqual([(f["file"], f["line"], f["column"]) for f in json.loads(done.stdout)["findings"]],
                         [("Q.toml", 5, 8)])
        self.assertIn("    p: double, kg = 2 g\n", self.run_command("show", "P.toml").stdout)
        self.assertEqual(sorted(self.files()), ["P.toml", "Q.toml"])

    def test_decompiling_needs_nothing_but_the_file(self):
        self.compile_examples()
        before = self.files()
        kept = self.folder / "kept"
        kept.mkdir()
        for name in before:
            if name != "FlightControl.xml":
                (self.folder / name).rename(kept / name)
        shown = self.run_command("show", "FlightControl.xml")
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        self.assertIn("    heaterPower: (type missing)", shown.stdout)
        done = self.run_command("decompile", "FlightControl.xml", "-o", "kept/FlightControl.toml")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.run_command("compile", "kept/FlightControl.toml").stderr, "")
        self.assertEqual((kept / "FlightControl.xml").read_bytes(), before["FlightControl.xml"])

    def test_check_tells_of_everything_that_is_missing(self):
        self.compile_examples()
        (self.folder / "AssuranceLevel.enum.toml").unlink()
        (self.folder / "TimingScheduling.xml").unlink()
        done = self.run_command("check", "--json", "FlightControl.xml", "AvionicsHardware.xml")
        self.assertEqual(done.returncode, 1)
        found = {(f["file"], f["element"], f["id"]) for f in json.loads(done.stdout)["findings"]}
        for expected in [
                ("AvionicsHardware.xml", "AvionicsHardware.Equipment.assuranceLevel", "zelkor:text:MissingEnumeration"),
                ("FlightControl.xml", "TimingScheduling", "Velmora:Profile:ProfileNotFound"),
                ("FlightControl.xml", "FlightControl.ControlLaw", "Velmora:Property:FailedProxyResolve")]:
            self.assertIn(expected, found)

    def test_profiles_must_not_depend_on_each_other(self):
        self.compile("A", "[[stereotype]]\nname = 'X'\n")
        child = "[profile]\ndependsOn = ['{0}']\n[[stereotype]]\nname = '{1}'\nparent = '{0}.{2}'\n"
        self.assertEqual(self.compile("B", child.format("A", "Y", "X")).returncode, 0)
        before = self.files()
        done = self.compile("A", child.format("B", "X", "Y"))
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"^A\.toml:2:14: zelkor:text:Cycle: .*\n$")
        self.assertEqual(self.files()["A.xml"], before["A.xml"])

    def test_exit_status_says_how_it_went(self):
        for arguments, status in [([], 2), (["compil"], 2), (["check"], 2), (["show", "--jso", "x"], 2),
                                  (["--help"], 0), (["--version"], 0), (["compile", "--help"], 0)]:
            with self.subTest(arguments):
                self.assertEqual(self.run_command(*arguments).returncode, status)

    def test_completion_offers_what_there_is(self):
        script = self.write("complete.bash", self.run_command("completion").stdout)
        done = subprocess.run(["bash", "-c", f". ./{script}; COMP_WORDS=(zelkor sh); COMP_CWORD=1; _zelkor; "
                               "echo ${COMPREPLY[@]}; COMP_WORDS=(zelkor show --j); COMP_CWORD=2; _zelkor; "
                               "echo ${COMPREPLY[@]}; COMP_WORDS=(zelkor export x --release Or); COMP_CWORD=4; _zelkor; "
                               "echo ${COMPREPLY[@]}"], cwd=self.folder, capture_output=True, text=True, check=True)
        self.assertEqual(done.stdout, "show\n--json\nOriole\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
