"""python3 tools/tavogen --name NAME --output DIR [--depends SCHEMA]... SCHEMA...

Prints the sources to compile, one a line, relative to the output folder."""

from __future__ import annotations

import argparse
import sys
from pathlib import Path

if not __package__:  # run as a folder
    sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

from tavogen.generate import chunks, generate, read  # noqa: E402
from tavogen.output import write  # noqa: E402
from tavogen.problems import SchemaError  # noqa: E402


def main() -> int:
    parser = argparse.ArgumentParser(prog="tavogen", description="Makes C++ and reference pages from class schemas.")
    parser.add_argument("schemas", nargs="+", type=Path, help="schema files, among them that of each package")
    parser.add_argument("--name", required=True, help="of the sources to compile: NAME.1.chunk.cpp, ...")
    parser.add_argument("--output", required=True, type=Path, help="folder of the generated files")
    parser.add_argument("--depends", action="append", default=[], type=Path, metavar="SCHEMA",
                        help="a schema whose types may be named, and for which nothing is generated")
    arguments = parser.parse_args()
    try:
        files = generate(read(arguments.schemas, arguments.depends))
    except SchemaError as error:
        print(error, file=sys.stderr)
        return 1
    sources = chunks(files, arguments.name)
    write(arguments.output, files | sources)
    print("\n".join(sources))
    return 0


if __name__ == "__main__":
    sys.exit(main())
