"""What the filters of the documentation share."""

import functools
import html
import pathlib
import re

PROJECT = pathlib.Path(__file__).resolve().parents[2]


@functools.cache
def declared_functions():
    """The names of all functions that the headers declare."""
    folders = ("include/zolp_orktool", "platform", "platform/ork", "host")
    declaration = re.compile(r"^(?:ZOLP_API|ORK_API|ZOLP_TRACE_API) [^;{(]*?\b(\w+)\(", re.MULTILINE)
    return {
        name
        for folder in folders
        for header in (PROJECT / folder).glob("*.h")
        for name in declaration.findall(header.read_text(encoding="utf-8"))
    }


def with_links(text):
    """A text in which functions between backticks are links."""
    return re.sub(
        r"`(\w+)`",
        lambda code: f'@ref {code[1]} "{code[1]}"' if code[1] in declared_functions() else code[0],
        text,
    )


def without_commands(text):
    """A text in which the generator takes nothing between backticks for a command of its own."""

    def escaped(code):
        text = re.sub(r"[%@\\]", lambda sign: "\\" + sign[0], code[1])
        return f"<code>{html.escape(text, quote=False)}</code>"

    return re.sub(r"`([^`\n]*[%@\\][^`\n]*)`", escaped, text)
