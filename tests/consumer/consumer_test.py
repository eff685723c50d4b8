"""Installs a build, moves what was installed, and uses it as its users do: with the programs of the documents, too.

consumer_test.py BUILD_FOLDER CXX
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
BUILD, COMPILER = (sys.argv.pop(1), sys.argv.pop(1)) if len(sys.argv) > 2 else sys.exit(__doc__)
# Of hosts that are strict, in what they include and in what is generated for them, too.
WARNINGS = "-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror"
OUTPUT = "tavo:messages:CannotCreateWithoutModel\nkavra:units:UnknownUnit\n0 objects, 1000 m\n"
# A block of a document: the name of a file, if the paragraph in front of it starts with one, the language, the text.
BLOCK = re.compile(r"(?:^`([\w./]+)`(?:[^\n]|\n(?!\n))*:\n\n)?^```(\w+)\n(.*?)^```$", re.MULTILINE | re.DOTALL)
PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(page LANGUAGES CXX)
find_package(zelkor 2.8 CONFIG REQUIRED)
add_executable({0} {0}.cpp)
target_link_libraries({0} PRIVATE zelkor::zelkor)
"""


def blocks_of(path):
    return BLOCK.findall((ROOT / path).read_text(encoding="utf-8"))


def block_of(path, wanted):
    return next(text for _, language, text in blocks_of(path) if language == wanted)


class ConsumerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.run_tool("cmake", "--install", BUILD, "--prefix", cls.folder / "first")
        cls.prefix = (cls.folder / "first").rename(cls.folder / "moved")

    @classmethod
    def run_tool(cls, *command, folder=None, **environment):
        done = subprocess.run(command, cwd=folder or cls.folder, env={**os.environ, **environment}, text=True,
                              check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise AssertionError(f"{command}\n{done.stdout}")
        return done.stdout

    def configure(self, source, folder, *options):
        self.run_tool("cmake", "-G", "Ninja", "-S", source, "-B", folder, f"-DCMAKE_CXX_COMPILER={COMPILER}",
                      f"-DCMAKE_PREFIX_PATH={self.prefix}", f"-DCMAKE_CXX_FLAGS={WARNINGS}", "-DCMAKE_NO_SYSTEM_FROM_IMPORTED=ON", *options)

    def build(self, source, folder, *options):
        self.configure(source, folder, *options)
        self.run_tool("cmake", "--build", folder)

    def write_program(self, path, folder):
        """Puts the program of a document into a folder. Returns what the document says that it prints."""
        blocks = blocks_of(path)
        name = pathlib.Path(path).stem.lower()
        files = {file: text for file, _, text in blocks if file}
        if "CMakeLists.txt" not in files:
            # Pieces of one program: the first includes what the others use.
            included, *pieces = [text for _, language, text in blocks if language == "cpp"]
            files[f"{name}.cpp"] = included + "int main() {\n" + "".join(pieces) + "}\n"
            files["CMakeLists.txt"] = PROJECT.format(name)
        folder.mkdir()
        for file, text in files.items():
            (folder / file).write_text(text, encoding="utf-8")
        return [text for _, language, text in blocks if language == "text"][-1]

    def check_document(self, path):
        name = pathlib.Path(path).stem.lower()
        source = self.folder / name
        output = self.write_program(path, source)
        self.build(source, source / "build")
        self.assertEqual(self.run_tool(source / "build" / name, folder=source), output)
        return source

    def test_headers_need_nothing_that_is_not_installed(self):
        headers = sorted(str(path.relative_to(self.prefix / "include")) for path in self.prefix.glob("include/**/*.h"))
        self.assertIn("tavo/Export.h", headers)
        self.assertNotIn("tavo/model/UndoLog.h", headers)
        source = self.folder / "headers.cpp"
        source.write_text("".join(f'#include "{header}"\n' for header in headers))

        self.build(HERE, self.folder / "build", f"-DCONSUMER_HEADERS={source}")
        self.assertEqual(self.run_tool(self.folder / "build" / "consumer"), OUTPUT)

    def test_pkg_config(self):
        folder = next(self.prefix.glob("**/tavo.pc")).parent
        flags = self.run_tool("pkg-config", "--cflags", "--libs", "zelkor", PKG_CONFIG_PATH=str(folder)).split()
        libraries = next(self.prefix.glob("**/libtavo.so")).parent
        self.run_tool(COMPILER, "-std=c++20", HERE / "main.cpp", "-o", self.folder / "plain", *flags)
        self.assertEqual(self.run_tool(self.folder / "plain", LD_LIBRARY_PATH=str(libraries)), OUTPUT)

    def test_sources_as_a_part_of_another_project(self):
        source = self.folder / "beside"
        self.write_program("docs/own-classes.md", source)
        project = (source / "CMakeLists.txt").read_text()
        own = project.replace("find_package(zelkor 2.8 CONFIG REQUIRED)", f"add_subdirectory({ROOT} zelkor)")
        self.assertNotEqual(own, project)
        (source / "CMakeLists.txt").write_text(own)
        self.configure(source, source / "build", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON")
        # Building the libraries once more would tell no more than one source does.
        commands = json.loads((source / "build" / "compile_commands.json").read_text())
        command = next(each for each in commands if each["file"] == str(source / "Article.cpp"))
        self.run_tool(*shlex.split(command["command"]), "-fsyntax-only", folder=command["directory"])

    def test_unknown_component_is_refused_by_name(self):
        source = self.folder / "component"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(PROJECT.format("page").replace("REQUIRED", "REQUIRED COMPONENTS tavern"))
        with self.assertRaisesRegex(AssertionError, "tavern"):
            self.configure(source, source / "build")

    def compile_profile_of(self, path):
        """Compiles and checks the first profile of a document; returns the file that it is compiled to."""
        folder = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        (folder / "Avionics.toml").write_text(block_of(path, "toml"), encoding="utf-8")
        for command in ("compile", "Avionics.toml"), ("check", "Avionics.xml"):
            self.assertEqual(self.run_tool(self.prefix / "bin" / "zelkor", *command, folder=folder), "")
        return folder / "Avionics.xml"

    def test_profiles_of_the_documents(self):
        self.compile_profile_of("docs/profile-text.md")
        # Which identities there are is for other tests.
        def lines_of(text):
            return re.sub(r'"[0-9a-f]{8}(-[0-9a-f-]{27})?"', '"identity"', text).splitlines()

        found = iter(lines_of(self.compile_profile_of("README.md").read_text(encoding="utf-8")))
        # What is looked for in the rest of an iterator stands behind what was found before.
        shown = lines_of(block_of("docs/file-format.md", "xml"))
        self.assertEqual([line for line in shown if line.strip() != "..." and line not in found], [])

    def test_readme(self):
        self.check_document("README.md")

    def test_embedding(self):
        self.check_document("docs/embedding.md")

    def test_models(self):
        self.check_document("docs/models.md")

    def test_own_classes(self):
        self.check_document("docs/own-classes.md")

    def test_nothing_installed_names_the_place_of_the_build(self):
        text = [path for path in self.prefix.glob("**/*") if path.suffix in {".cmake", ".pc", ".h", ".py", ".toml"}]
        self.assertTrue(text)
        for path in text:
            self.assertNotIn(str(pathlib.Path(BUILD).resolve().parents[1]), path.read_text(encoding="utf-8"), path)

    def test_soname_follows_the_schema(self):
        library = next(self.prefix.glob("**/libtavo.so"))
        version = ".".join(library.resolve().name.split(".so.")[1].split(".")[:2])
        self.assertIn(f"[libtavo.so.{version}]", self.run_tool("readelf", "-d", library))


if __name__ == "__main__":
    unittest.main()
