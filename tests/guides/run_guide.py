#!/usr/bin/env python3
"""usage: run_guide.py [--write] GUIDE INSTALLATION

Does what a guide says, in an empty folder with the programs of an installation, and compares what comes
out. A block of code behind a line that ends with "`NAME`:" is a file of that name. In blocks of `console`,
lines that begin with "$ " are commands, those with "> " go on with them, and what follows is what they
print; a line "..." stands for any lines. Lines of the library's sources, times, numbers of events and jobs,
process ids in names of recordings and blanks at the end of a line may differ; the folder is shown as
/home/alice/try. Every command must succeed; one that is to fail says so: `false; echo "exit code $?"`.
With --write the guide gets what its commands print now.
"""

import difflib
import os
import pathlib
import re
import subprocess
import sys
import tempfile

MARK = "--- end of a command ---"


class Shell:
    """A shell that lives for the whole guide, so that folders and variables stay."""

    def __init__(self, folder, installation):
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("ZOLP_", "ORK_", "STORE_"))}
        kept |= {
            "PATH": f"{installation}/bin:{os.environ['PATH']}",
            "CMAKE_PREFIX_PATH": str(installation),
            "HOME": str(folder),
            "LC_ALL": "C.UTF-8",
            "TZ": "UTC",
        }
        self.process = subprocess.Popen(
            ["bash", "--noprofile", "--norc"],
            cwd=folder,
            env=kept,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
        )

    def run(self, command):
        """What a command prints, and its exit code."""
        self.process.stdin.write(f"{{ {command}\n}} </dev/null; printf '\\n%s %d\\n' '{MARK}' $?\n")
        self.process.stdin.flush()
        lines = []
        for line in self.process.stdout:
            if line.startswith(MARK):
                output = "".join(lines)[:-1]
                return output.splitlines(), int(line.rpartition(" ")[2])
            lines.append(line)
        raise EOFError(f"the shell has ended: {''.join(lines)}")


# What differs from run to run, or with each change of the library.
VARYING = re.compile(
    r"(?<=\.cpp:)\d+|(?<=\.cpp Line:)\d+|(?<=event )\d+|(?<=-)\d+(?=\.rec\b)"
    r"|(?<=#)\d+|\d{4}-\d\d-\d\d \d\d:\d\d|[\d.]+ (?:n|u|µ|m)?s\b"
)


def comparable(line):
    return VARYING.sub("N", line.rstrip())


def matches(expected, output):
    pattern = "".join(
        r"(?:.*\n)*" if line == "..." else re.escape(comparable(line)) + r"\n" for line in expected
    )
    return re.fullmatch(pattern, "".join(f"{comparable(line)}\n" for line in output)) is not None


def commands_of(block):
    """The commands of a block, each with the lines that it is to print."""
    found = []
    for line in block:
        if line.startswith("$ "):
            found.append(([line], []))
        elif line.startswith("> ") and found and not found[-1][1]:
            found[-1][0].append(line)
        else:
            found[-1][1].append(line)
    return found


def follow(guide, shell, folder):
    """Yields the guide's lines with what its commands print now, and differences."""
    lines = iter(guide.read_text(encoding="utf-8").splitlines())
    file = None
    for line in lines:
        yield line, None
        fence = re.fullmatch(r"```(\w*)", line)
        if not fence:
            if line.strip():
                name = re.search(r"`([\w./-]+)`:$", line)
                file = name[1] if name else None
            continue
        block = []
        for inner in lines:
            if inner == "```":
                break
            block.append(inner)
        if fence[1] == "console":
            for words, expected in commands_of(block):
                output, code = shell.run("\n".join(word[2:] for word in words))
                output = [line.replace(str(folder), "/home/alice/try").rstrip() for line in output]
                yield from ((word, None) for word in words)
                if code == 0 and matches(expected, output):
                    yield from ((word, None) for word in expected)
                    continue
                wrong = [f"$ {words[0][2:]}", *difflib.unified_diff(expected, output, "guide", "now", lineterm="")]
                yield from ((word, None) for word in output[:-1])
                yield output[-1] if output else None, "\n".join(wrong + [f"exit code {code}"])
        else:
            if file:
                path = folder / file
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text("\n".join(block) + "\n", encoding="utf-8")
            yield from ((word, None) for word in block)
        file = None
        yield "```", None


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    if len(arguments) != 2:
        sys.exit(__doc__)
    guide, installation = pathlib.Path(arguments[0]).resolve(), pathlib.Path(arguments[1]).resolve()
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch).resolve()
        followed = list(follow(guide, Shell(folder, installation), folder))
    wrong = [difference for _, difference in followed if difference]
    if "--write" in sys.argv:
        guide.write_text("".join(f"{line}\n" for line, _ in followed if line is not None), encoding="utf-8")
    if wrong:
        sys.exit("\n\n".join([f"{guide.name} does not hold:", *wrong]))


main()
