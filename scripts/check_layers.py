#!/usr/bin/env python3
"""Fails when an include runs upward through the layers or closes a cycle.

Each folder may include itself and what its DEPENDS entry names, transitively.
A header that holds nothing but includes is a forwarding name kept for hosts
and is not a dependency. Data flows one way:
files -> readers -> records -> scene -> renderer -> drawables -> device.
"""
import pathlib
import re
import sys

# Folder -> folders it may include directly (lower layers only).
DEPENDS = {
    "platform/foundation": [],
    "platform/d3d9": [],
    "platform/image": [],
    "platform/memory": [],
    "platform/d3dx": ["platform/d3d9"],
    "base": ["platform/foundation", "platform/memory"],
    "objects/lightwave": ["base"],
    "textures": ["base", "platform/d3d9", "platform/image"],
    "objects": ["objects/lightwave", "textures"],
    "scene": ["objects"],
    "render": ["scene", "platform/d3dx"],
    "module": ["render"],
    "backends/state": ["platform/d3d9"],
    "backends/null": ["backends/state", "platform/foundation"],
    "backends/recording": ["backends/state"],
    "backends/gles": ["backends/state", "platform/foundation"],
    "fixtures": [],
    "tools": ["module", "backends/gles", "backends/null", "backends/recording", "fixtures"],
    "examples": ["module", "backends/gles", "fixtures"],
    "bench": ["module", "backends/null", "backends/gles", "fixtures", "plugins"],
    "fuzz": ["module", "backends/null", "fixtures"],
    "plugins": ["module", "backends/gles", "tools"],
    "tests": ["module", "backends/null", "backends/recording", "backends/gles", "fixtures", "plugins"],
}
SOURCE = re.compile(r"\.(h|hpp|cpp|cc)$")
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def unit_of(path):
    """The longest DEPENDS folder that holds `path`."""
    best = None
    for unit in DEPENDS:
        if path == unit or path.startswith(unit + "/"):
            if best is None or len(unit) > len(best):
                best = unit
    return best


def closure():
    """Everything each folder may reach; exits on a cycle in the table."""
    reach, state = {}, {}

    def visit(unit, trail):
        if state.get(unit) == "open":
            sys.exit("layer table has a cycle: " + " -> ".join(trail + [unit]))
        if unit in reach:
            return reach[unit]
        state[unit] = "open"
        out = {unit}
        for dep in DEPENDS[unit]:
            out |= visit(dep, trail + [unit])
        state[unit] = "done"
        reach[unit] = out
        return out

    for unit in DEPENDS:
        visit(unit, [])
    return reach


def is_forwarder(text):
    code = [l.strip() for l in text.splitlines()]
    code = [l for l in code if l and not l.startswith("//")]
    return code and all(l == "#pragma once" or l.startswith("#include") for l in code)


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    reach = closure()
    problems, graph = [], {}
    files = [p for p in root.rglob("*") if SOURCE.search(p.name) and not
             p.relative_to(root).parts[0].startswith(("build", "."))]
    for path in sorted(files):
        rel = path.relative_to(root).as_posix()
        unit = unit_of(rel)
        text = path.read_text(errors="replace")
        includes = [i for i in INCLUDE.findall(text) if (root / i).exists()]
        graph[rel] = includes
        if unit is None:
            problems.append(f"{rel}: folder not in the layer table")
            continue
        if is_forwarder(text):
            continue
        for inc in includes:
            target = unit_of(inc)
            if target not in reach[unit]:
                problems.append(f"{rel}: includes {inc} ({target or 'unknown folder'}), "
                                f"which {unit} may not use")

    # Header cycles, which include guards would otherwise hide.
    state = {}

    def walk(node, trail):
        state[node] = "open"
        for nxt in graph.get(node, []):
            if state.get(nxt) == "open":
                problems.append("include cycle: " + " -> ".join(trail[trail.index(nxt):] + [nxt])
                                if nxt in trail else f"include cycle through {nxt}")
            elif nxt not in state:
                walk(nxt, trail + [nxt])
        state[node] = "done"

    for node in sorted(graph):
        if node not in state:
            walk(node, [node])

    for p in problems:
        print("layers:", p)
    if problems:
        return 1
    print(f"layers: {len(files)} files, every include runs downward")
    return 0


if __name__ == "__main__":
    sys.exit(main())
