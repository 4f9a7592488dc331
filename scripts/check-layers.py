#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
"""check-layers.py REPOSITORY BUILD: no file includes a header of a target that its own does not link.

What links what is CMake's own word: the file API names each target's sources, and --graphviz its
libraries. A header belongs to the target that compiles the source of the same name beside it, else
to those that compile any source beside it, else to the library that its folder declares. Exits with 1 and a line for each
include that climbs.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

FOLDERS = ("src", "dblib", "tools")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
LIBRARY = re.compile(r"^\s*add_library\((\w+)\s+(?!ALIAS)", re.MULTILINE)
NODE = re.compile(r'"(node\d+)" \[ label = "([^"\\]+)')
EDGE = re.compile(r'"(node\d+)" -> "(node\d+)"(?: \[ style = (\w+))?')


def targets_of(build):
    """Each target's name with the project's own sources that it compiles, as absolute paths."""
    reply = build / ".cmake/api/v1/reply"
    indexes = sorted(reply.glob("index-*.json"))
    if not indexes:
        sys.exit(f"check-layers: {build} holds no answer of CMake's file API: configure it anew")
    objects = json.loads(indexes[-1].read_text())["objects"]
    model = json.loads((reply / next(o["jsonFile"] for o in objects if o["kind"] == "codemodel")).read_text())
    root = pathlib.Path(model["paths"]["source"])
    targets = {}
    for entry in model["configurations"][0]["targets"]:
        target = json.loads((reply / entry["jsonFile"]).read_text())
        sources = (root / source["path"] for source in target.get("sources", []) if not source.get("isGenerated"))
        targets[target["name"]] = {source.resolve() for source in sources}
    return targets


def links_of(repository, build):
    """Each target's name with the targets that it links: (all of them, those that whoever links it links too)."""
    with tempfile.TemporaryDirectory() as folder:
        graph = pathlib.Path(folder) / "graph"
        subprocess.run(["cmake", f"--graphviz={graph}", "-S", repository, "-B", build], check=True, capture_output=True)
        text = graph.read_text()
    names = dict(NODE.findall(text))
    links = {name: (set(), set()) for name in names.values()}
    for user, used, style in EDGE.findall(text):
        direct, public = links[names[user]]
        direct.add(names[used])
        if style != "dotted":  # PRIVATE
            public.add(names[used])
    return links


def reachable(target, links):
    """The targets whose headers a target may include."""
    seen = {target}
    waiting = list(links.get(target, (set(), set()))[0])
    while waiting:
        used = waiting.pop()
        if used not in seen:
            seen.add(used)
            waiting.extend(links.get(used, (set(), set()))[1])
    return seen


class House:
    def __init__(self, repository, build):
        self.repository = repository
        self.links = links_of(repository, build)
        self.owners = {}
        self.by_stem = {}
        self.by_folder = {}
        for target, sources in targets_of(build).items():
            for source in sources:
                self.owners.setdefault(source, set()).add(target)
                self.by_stem.setdefault(source.with_suffix(""), set()).add(target)
                self.by_folder.setdefault(source.parent, set()).add(target)
        self.headers = {}
        for folder in FOLDERS:
            for header in sorted((repository / folder).rglob("*.h")):
                self.headers.setdefault(header.name, []).append(header)

    def owners_of(self, file):
        """The targets that a file belongs to; none for one that is built outside this build."""
        if file.suffix != ".h":
            return self.owners.get(file, set())
        return self.by_stem.get(file.with_suffix("")) or self.by_folder.get(file.parent) or self.declared_beside(file)

    def declared_beside(self, header):
        for folder in header.parents:
            lists = folder / "CMakeLists.txt"
            if lists.exists():
                return set(LIBRARY.findall(lists.read_text()))
            if folder == self.repository:
                return set()
        return set()

    def headers_for(self, file, name):
        """The project's headers that an include may mean; none for the toolkit's or the system's."""
        beside = (file.parent / name).resolve()
        if beside.exists():
            return [beside]
        return self.headers.get(pathlib.PurePath(name).name, [])

    def faults(self, file):
        for target in sorted(self.owners_of(file)):
            reach = reachable(target, self.links)
            for name in INCLUDE.findall(file.read_text(encoding="utf-8", errors="replace")):
                found = self.headers_for(file, name)
                owners = [self.owners_of(header) for header in found]
                if found and all(owner and not owner & reach for owner in owners):
                    theirs = "/".join(sorted(set().union(*owners)))
                    yield f"{file.relative_to(self.repository)}: {target} does not link {theirs}, whose {name} it includes"


def main(repository, build):
    house = House(pathlib.Path(repository).resolve(), pathlib.Path(build).resolve())
    count = 0
    for folder in FOLDERS:
        for file in sorted((house.repository / folder).rglob("*")):
            if file.suffix in (".h", ".cpp", ".c"):
                for fault in house.faults(file):
                    print(fault, file=sys.stderr)
                    count += 1
    return 1 if count else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
