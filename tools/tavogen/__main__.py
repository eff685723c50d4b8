"""python3 tools/tavogen --output DIR [--depends SCHEMA]... SCHEMA..."""

from __future__ import annotations

import argparse
import sys
from pathlib import Path

if not __package__:  # run as a folder
    sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

from tavogen.generate import generate, read  # noqa: E402
from tavogen.output import write  # noqa: E402
from tavogen.problems import SchemaError  # noqa: E402


def main() -> int:
    parser = argparse.ArgumentParser(prog="tavogen", description="Makes C++ and reference pages from class schemas.")
    parser.add_argument("schemas", nargs="+", type=Path, help="schema files, among them that of each package")
    parser.add_argument("--output", required=True, type=Path, help="folder of the generated files")
    parser.add_argument("--depends", action="append", default=[], type=Path, metavar="SCHEMA",
                        help="a schema whose types may be named, and for which nothing is generated")
    arguments = parser.parse_args()
    try:
        files = generate(read(arguments.schemas, arguments.depends))
    except SchemaError as error:
        print(error, file=sys.stderr)
        return 1
    write(arguments.output, files)
    return 0


if __name__ == "__main__":
    sys.exit(main())
