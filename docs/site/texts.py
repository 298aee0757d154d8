"""What the filters of the documentation share."""

import html
import re


def without_commands(text):
    """A text in which the generator takes nothing between backticks for a command of its own."""

    def escaped(code):
        text = re.sub(r"[%@\\]", lambda sign: "\\" + sign[0], code[1])
        return f"<code>{html.escape(text, quote=False)}</code>"

    return re.sub(r"`([^`\n]*[%@\\][^`\n]*)`", escaped, text)
