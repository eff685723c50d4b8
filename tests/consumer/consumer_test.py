"""Installs a build, moves what was installed, and builds programs against it as its users do.

consumer_test.py BUILD_FOLDER CXX
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
BUILD, COMPILER = (sys.argv.pop(1), sys.argv.pop(1)) if len(sys.argv) > 2 else sys.exit(__doc__)
OUTPUT = "tavo:messages:CannotCreateWithoutModel\nkavra:units:UnknownUnit\n0 objects, 1000 m\n"


class ConsumerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        cls.run_tool("cmake", "--install", BUILD, "--prefix", cls.folder / "first")
        cls.prefix = (cls.folder / "first").rename(cls.folder / "moved")

    @classmethod
    def run_tool(cls, *command, **environment):
        done = subprocess.run(command, cwd=cls.folder, env={**os.environ, **environment}, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if done.returncode != 0:
            raise AssertionError(f"{command}\n{done.stdout}")
        return done.stdout

    def build(self, source, folder, *options):
        self.run_tool("cmake", "-G", "Ninja", "-S", source, "-B", folder, f"-DCMAKE_CXX_COMPILER={COMPILER}",
                      f"-DCMAKE_PREFIX_PATH={self.prefix}", *options)
        self.run_tool("cmake", "--build", folder)

    def test_cmake_package(self):
        # All installed headers in one source: none needs what is not installed, and none warns.
        headers = sorted(str(path.relative_to(self.prefix / "include")) for path in self.prefix.glob("include/**/*.h"))
        self.assertIn("tavo/Export.h", headers)
        source = self.folder / "headers.cpp"
        source.write_text("".join(f'#include "{header}"\n' for header in headers))

        self.build(HERE, self.folder / "build", f"-DCONSUMER_HEADERS={source}")
        self.assertEqual(self.run_tool(self.folder / "build" / "consumer"), OUTPUT)

    def test_pkg_config(self):
        folder = next(self.prefix.glob("**/tavo.pc")).parent
        flags = self.run_tool("pkg-config", "--cflags", "--libs", "tavo", "kavra", PKG_CONFIG_PATH=str(folder)).split()
        libraries = next(self.prefix.glob("**/libtavo.so")).parent
        self.run_tool(COMPILER, "-std=c++20", HERE / "main.cpp", "-o", self.folder / "plain", *flags)
        self.assertEqual(self.run_tool(self.folder / "plain", LD_LIBRARY_PATH=str(libraries)), OUTPUT)

    def test_first_program_of_the_readme(self):
        readme = (HERE.parents[1] / "README.md").read_text(encoding="utf-8")
        blocks = dict(re.findall(r"^```(cmake|cpp|text)\n(.*?)^```$", readme, re.MULTILINE | re.DOTALL))
        source = self.folder / "readme"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(blocks["cmake"])
        (source / "first.cpp").write_text(blocks["cpp"])
        self.build(source, self.folder / "readme-build")
        self.assertEqual(self.run_tool(self.folder / "readme-build" / "first"), blocks["text"])

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
