#!/usr/bin/env python3
"""usage: check_links.py FOLDER

Checks that what the HTML pages of a folder refer to is in the folder: pages, their anchors, pictures,
scripts. Links to other sites are not followed.
"""

import html.parser
import pathlib
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """A page's anchors, and what it refers to."""

    def __init__(self, path):
        super().__init__()
        self.anchors, self.references = {""}, set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == "id" or (name == "name" and tag == "a"):
                self.anchors.add(value)
            elif name in ("href", "src") and value:
                self.references.add(value)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    checked, dead = 0, []
    for path, page in pages.items():
        for reference in sorted(page.references):
            url = urllib.parse.urlsplit(reference)
            if url.scheme or url.netloc:
                continue
            checked += 1
            target = (path.parent / urllib.parse.unquote(url.path)).resolve() if url.path else path
            anchor = urllib.parse.unquote(url.fragment)
            if not target.exists() or (target in pages and anchor not in pages[target].anchors):
                dead.append(f"{path.relative_to(folder)}: {reference}")
    print(f"{len(pages)} pages, {checked} links, {len(dead)} dead")
    sys.exit("\n".join(dead) if dead or not pages else 0)


main()
