#!/usr/bin/env python3
"""usage: decorated_names.py CLANG DEFINITION HEADER INCLUDE_FOLDER...

Writes a module definition file that exports the functions of a header's C++ part under the
decorated names that the platform vendor's usual compiler gives them. The library is built by
another compiler, which decorates them in its own way; both decorations come from Clang, which knows
both, so that a function that joins the header joins the exports.
"""
import json
import pathlib
import subprocess
import sys

STAND_INS = pathlib.Path(__file__).parent / "stand-ins"


def functions_of(node):
    """All functions below a node of a syntax tree that the library exports."""
    if node.get("kind") in ("FunctionDecl", "CXXMethodDecl"):
        attributes = {part.get("kind") for part in node.get("inner", [])}
        if "DLLExportAttr" in attributes and not node.get("isImplicit"):
            yield node
    for part in node.get("inner", []):
        yield from functions_of(part)


def decorated_names(clang, target, header, include_folders):
    command = [clang, f"--target={target}", "-x", "c++", "-std=c++20", "-ffreestanding",
               "-nostdlibinc", "-fsyntax-only", "-DZOLP_BUILDING_ORKTOOL", f"-isystem{STAND_INS}"]
    command += [f"-I{folder}" for folder in include_folders]
    command += ["-Xclang", "-ast-dump=json", header]
    tree = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
    # A function with C linkage is called the same everywhere.
    return [node["mangledName"] for node in functions_of(tree)
            if node["mangledName"] != node["name"]]


def main():
    clang, definition, header, *include_folders = sys.argv[1:]
    theirs = decorated_names(clang, "x86_64-pc-windows-msvc", header, include_folders)
    ours = decorated_names(clang, "x86_64-w64-windows-gnu", header, include_folders)
    if not ours or len(theirs) != len(ours):
        sys.exit(f"{header}: {len(ours)} and {len(theirs)} decorated names")
    lines = ["EXPORTS"] + [f'  "{their}" = {our}' for their, our in zip(theirs, ours)]
    pathlib.Path(definition).write_text("\n".join(lines) + "\n")


main()
