#!/usr/bin/env python3
"""usage: guide_filter.py GUIDE

Prints a page of Markdown as the documentation shows it: headers that it links to are linked as modules,
and what the site does not have is named, not linked. Headings get names that links can stand on.
"""

import pathlib
import re
import sys

from texts import PROJECT, with_links, without_commands

MODULES = {
    "include/zolp_orktool": "library",
    "include/zolp_orktool.h": "library",
    "include/zolp_call_frame.h": "tracing_zolp_call_frame",
    "platform/zolp_basetool.h": "tracing_zolp_basetool",
    "platform/ork": "platform",
    "host/ork_host.h": "host_ork_host",
}
TITLES = {"README.md": "# Overview", "CHANGELOG.md": "# Changes"}


def label(path, slug):
    """The name of a heading on the site, where names are those of all pages."""
    return f"{path.stem}-{slug}".replace("-", "_")


def main():
    path = pathlib.Path(sys.argv[1]).resolve()

    def link(match):
        target = match["target"]
        if "://" in target:
            return match[0]
        page, _, anchor = target.partition("#")
        file = (path.parent / page).resolve() if page else path
        if not file.exists():
            sys.exit(f"{path.relative_to(PROJECT)}: {target} does not exist")
        if file == PROJECT / "basetool/recording_format.h":
            file = PROJECT / "build/site/input/recording-format.md"
        module = MODULES.get(str(file.relative_to(PROJECT)))
        if file.parent == PROJECT / "include/zolp_orktool":
            module = f"library_{file.stem}"
        if module:
            return f'@ref {module} "{match["text"]}"'
        if file.suffix != ".md":
            return f"{match['text']} (`{file.relative_to(PROJECT)}`)"
        if anchor:
            return f'@ref {label(file, anchor)} "{match["text"]}"'
        return f"[{match['text']}]({file.relative_to(PROJECT)})"

    is_code, title = False, TITLES.get(str(path.relative_to(PROJECT)))
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("```"):
            is_code = not is_code
        heading = None if is_code else re.match(r"##+ (.*)", line)
        if heading:
            slug = re.sub(r"[^\w -]", "", heading[1]).strip().lower().replace(" ", "-")
            line += f" {{#{label(path, slug)}}}"
        elif not is_code:
            line = re.sub(r"\[(?P<text>[^\]]*)\]\((?P<target>[^)\s]+)\)", link, line)
        if not is_code:
            line = title or line.replace("`", "") if line.startswith("# ") else with_links(without_commands(line))
        print(line)


main()
