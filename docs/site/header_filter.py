#!/usr/bin/env python3
"""usage: header_filter.py HEADER

Prints a header as the documentation shows it: as a module of its own, with the platform calls of each
function in their order. The calls come from the table by which the fault sweep tests every function.
"""

import itertools
import pathlib
import re
import sys

from texts import PROJECT, with_links, without_commands

PROMISES = PROJECT / "tests/sweep/promises.txt"

OUTCOMES = {
    "passes": "the function ends with the call's status",
    "aborts": "the function ends with the call's status, its frame stays open in the trace",
    "ignores": "the function goes on",
}
AREAS = {"zolp_orktool": "library", "include": "tracing", "ork": "platform", "host": "host"}
OPERATION = re.compile(r"[A-Z]+_\w+$")


def promised_lines():
    """The lines of the table; those that go on with the one before are joined to it."""
    lines = []
    for line in PROMISES.read_text(encoding="utf-8").splitlines():
        if line.startswith("   "):
            lines[-1] += " " + line.strip()
        elif line.strip() and not line.startswith("#"):
            lines.append(line)
    return lines


def calls_of(line):
    """The platform calls of a line of the table with what a failure of each leads to."""
    words = line.split()
    outcome = OUTCOMES.get(words[0])
    if words[0] == "answers":
        status = words[1].rstrip(":")
        outcome = f"the function ends and returns {status}"
    if outcome is None:
        return []
    calls = []
    for word in words[1:]:
        name = word.rstrip(":")
        if name == "then":
            break
        if OPERATION.match(name):
            calls.append([name, outcome, 1])
        elif re.match(r"x\d+$", name):
            calls[-1][2] = int(name[1:])
        if word.endswith(":"):
            break
    return calls


def calls_by_function():
    """For each function its cases: title and calls."""
    functions, calls = {}, None
    for line in promised_lines():
        if not line.startswith(" "):
            # C++ functions stand there with the types of their parameters.
            name, case = re.match(r"(\w+)(?:\(.*?\)(?=,|$))?(?:, )?(.*)", line).groups()
            calls = []
            functions.setdefault(name, []).append((case, calls))
        else:
            for call in calls_of(line):
                if calls and calls[-1][:2] == call[:2]:
                    calls[-1][2] += call[2]
                else:
                    calls.append(call)
    return functions


def platform_calls(cases):
    """What a function's comment says of its platform calls."""
    text = [" * @par Platform calls"]
    if not any(calls for _, calls in cases):
        return text + [" * None."]
    text.append(" * In their order, with what a failure of each leads to.")
    for case, calls in cases:
        if calls:
            text += [" *", f" * {case[:1].upper() + case[1:] or 'A good call'}:"]
        for outcome, group in itertools.groupby(calls, key=lambda call: call[1]):
            names = ", ".join(f"#{name}" + (f" ({times} times)" if times > 1 else "") for name, _, times in group)
            text.append(f" * - {names}: {outcome}")
    return text


def example_titles():
    """For each function of the library the modules whose example calls it."""
    titles = {}
    for header in sorted((PROJECT / "include/zolp_orktool").glob("*.h")):
        example = re.search(r"@code\n(.*?)@endcode", header.read_text(encoding="utf-8"), flags=re.DOTALL)
        for name in set(re.findall(r"\w+(?=\()", example[1] if example else "")):
            titles.setdefault(name, []).append(f'@ref library_{header.stem} "{title_of(header)}"')
    return titles


def with_calls_and_examples(source):
    functions, examples = calls_by_function(), example_titles()

    def add(match):
        name = match["name"]
        added = platform_calls(functions[name]) if name in functions else []
        if name in examples:
            added += [" * @par Example", f" * At the head of {', '.join(examples[name])}."]
        if not added:
            return match[0]
        comment = match["comment"].rstrip().removesuffix("*/").rstrip().replace("/** ", "/**\n * ", 1)
        return "\n".join([comment, *added, " */", match["declaration"]])

    return re.sub(
        r"(?P<comment>/\*\*(?:(?!\*/).)*?\*/)\n(?P<declaration>ZOLP_API [^;{]*?\b(?P<name>\w+)\()",
        add,
        source,
        flags=re.DOTALL,
    )


def title_of(path):
    return path.stem.replace("_", " ").capitalize()


def section_texts(source):
    """What a header says above parts of its declarations, each with the title of its part."""
    title, lines = "", []
    public = source.partition("/** @cond */")[0]
    for match in re.finditer(r"^/\* -+ (?P<title>.+?) -+ \*/|^/\*\n(?P<text>.*?) \*/", public, re.MULTILINE | re.DOTALL):
        if match["title"]:
            title = match["title"]
        else:
            heading = [f"**{title[:1].upper()}{title[1:]}.**"] if title else []
            lines += ["", *heading, *re.sub(r"^ \* ?", "", match["text"], flags=re.MULTILINE).splitlines()]
            title = ""
    return lines


def as_module(source, path):
    """Puts all that a header declares into a module, whose text is that of the header."""
    comment = re.match(r"/\*\*(.*?)\*/\n", source, flags=re.DOTALL)
    guard = re.search(r"^#ifndef \w+\n#define \w+\n", source, flags=re.MULTILINE)
    if comment is None or guard is None:
        return source
    area = AREAS.get(path.parent.name, "tracing")
    title = title_of(path) if area == "library" else path.name
    text = re.sub(r"^ \* ?", "", comment[1], flags=re.MULTILINE).replace("@file", "").strip()
    text += "\n" + "\n".join(section_texts(source))
    if path.name == "zolp_orktool.h":
        lines = ["@addtogroup library", *text.splitlines(), "@{"]
    else:
        lines = [f"@defgroup {area}_{path.stem} {title}", f"@ingroup {area}", *text.splitlines(), "@{"]
    opening = "\n".join(["/**", *(f" * {line}" for line in lines), " */\n"])
    start, _, ending = source[guard.end() :].rpartition("#endif")
    return f"/** @file */\n{guard[0]}{opening}{start}/** @}} */\n#endif{ending}"


def main():
    path = pathlib.Path(sys.argv[1])
    source = path.read_text(encoding="utf-8")
    source = re.sub(
        r"/\*\*.*?\*/", lambda comment: with_links(without_commands(comment[0])), source, flags=re.DOTALL
    )
    sys.stdout.write(as_module(with_calls_and_examples(source), path))


main()
