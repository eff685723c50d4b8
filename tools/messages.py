"""Turns a library's message file (TOML: component -> key -> text) into the C++ table that registers it.

usage: messages.py MESSAGES.toml OUTPUT.cpp [ERRORS.h]

With a header of identifiers, both lists must agree: every identifier has a text and the other way round, and the text uses
exactly the arguments that the comment above the identifier names: `/// (path, reason) ...`.
"""

import json
import pathlib
import re
import sys
import tomllib

DECLARATION = re.compile(r'^\s*(?:///(?P<doc>.*)|.*\bErrorId\s+(?P<name>\w+)\s*\{\s*"(?P<id>[^"]+)"\s*\}.*)$')


def read_messages(path):
    """The texts by identifier, and what is wrong with the file."""
    messages, faults = {}, []
    for component, texts in tomllib.loads(path.read_text(encoding="utf-8")).items():
        for key, text in texts.items() if isinstance(texts, dict) else [(None, None)]:
            if not isinstance(text, str) or not text:
                faults.append(f'"{component}" {key or ""}: a text is expected')
            else:
                messages[f"{component}:{key}"] = text
    return messages, faults


def read_identifiers(path):
    """The identifiers of a header with the number of arguments that their comments name."""
    identifiers, faults, comment, names = {}, [], "", []
    # A long declaration is broken behind its brace.
    text = re.sub(r'\{\n\s+"', '{"', path.read_text(encoding="utf-8"))
    for line in text.splitlines():
        if line.startswith("struct "):
            names.append([])
        match = DECLARATION.match(line)
        if match and match["doc"] is not None:
            comment += match["doc"]
            continue
        if match:
            arguments = re.match(r"\s*\(([^)]*)\)", comment)
            if not arguments:
                faults.append(f'"{match["id"]}": its comment does not start with the arguments in parentheses')
            else:
                identifiers[match["id"]] = len([a for a in arguments[1].split(",") if a.strip()])
            if not match["id"].endswith(":" + match["name"]):
                faults.append(f'"{match["id"]}" is named {match["name"]}')
            names[-1].append(match["name"])
        comment = ""
    if any(component != sorted(component, key=str.lower) for component in names):
        faults.append("the identifiers are not in alphabetical order")
    return identifiers, faults


def compare(messages, identifiers):
    """What is wrong between the texts and the identifiers."""
    for identifier in sorted(identifiers.keys() - messages.keys()):
        yield f'"{identifier}" has no text'
    for identifier in sorted(messages.keys() - identifiers.keys()):
        yield f'the text of "{identifier}" has no identifier'
    for identifier in sorted(messages.keys() & identifiers.keys()):
        used = {int(number) for number in re.findall(r"\{(\d+)\}", messages[identifier])}
        if used != set(range(identifiers[identifier])):
            yield f'"{identifier}" has {identifiers[identifier]} arguments, its text uses {sorted(used)}'


def table(source_name, messages):
    """The C++ source. JSON's escapes of plain text are C++'s too."""
    rows = "".join(
        f"    {{{json.dumps(identifier)}, {json.dumps(text, ensure_ascii=False)}}},\n"
        for identifier, text in sorted(messages.items(), key=lambda item: item[0].encode())
    )
    return (
        f"// Generated from {source_name}.\n"
        '#include "tavo/core/MessageCatalog.h"\n\n'
        "namespace {\n\n"
        f"constexpr tavo::Message messages[] = {{\n{rows}}};\n\n"
        "const tavo::MessageCatalog::Registration registration{messages};\n\n"
        "} // namespace\n"
    )


def main(arguments):
    if len(arguments) not in (2, 3):
        sys.exit(__doc__)
    source, output = map(pathlib.Path, arguments[:2])
    messages, faults = read_messages(source)
    if len(arguments) == 3:
        identifiers, more = read_identifiers(pathlib.Path(arguments[2]))
        faults += more
        faults += compare(messages, identifiers)
    if faults:
        sys.exit("".join(f"{source.name}: {fault}\n" for fault in faults).rstrip())
    text = table(source.name, messages)
    if not output.exists() or output.read_text(encoding="utf-8") != text:
        output.parent.mkdir(parents=True, exist_ok=True)
        output.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
