#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
"""analysis-commands.py BUILD-FOLDER FOLDER: write how each source is compiled for clang-tidy.

clang-tidy analyses a file once for each command that compiles it: 205 times where 205 libraries are made of
one source.
"""
import json
import sys
from pathlib import Path


def main():
    build, folder = map(Path, sys.argv[1:])
    commands = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        commands.setdefault(entry["file"], entry)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "compile_commands.json").write_text(json.dumps(list(commands.values()), indent=1))


main()
