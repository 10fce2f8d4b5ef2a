#!/usr/bin/python3
"""Checks the architecture of the tree: a room includes only rooms below it, and no circle of files exists."""
import re
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent

# Rooms from the ground up; a file belongs to the longest prefix that fits. Equal numbers may include each other's
# headers, as long as no circle of files comes of it.
FLOORS = {
    "src/common": 1, "src/wire": 1, "src/platform": 1,
    "src/log": 2, "src/storage": 2, "src/selfdebug": 2,
    "src/mq": 3,
    "src/rte/BLL/core": 4,
    "src/relay/model": 5, "src/relay/frame": 6, "src/relay/ids": 6, "src/relay/io": 6, "src/relay/clients": 6,
    "src/relay/engine": 7, "src/relay/v4": 8, "src/relay/v6": 8, "src/relay/entity": 9,
    "src/dai": 9,
    "src/ipsg": 10,
    "src/rpc": 11,
    "src": 12,
}
# The virtual node stands beside the daemon, and the back end that asks it stands on the node. Both use the daemon's ground
# floor; nothing of the daemon includes them. A room's own files are always allowed.
GROUND = {"src/common", "src/wire", "src/platform"}
OUTSIDE = {
    "vnode/loop": set(),
    "vnode/model": GROUND,
    "vnode/control": GROUND | {"vnode/loop", "vnode/model"},
    "vnode/process": GROUND | {"vnode/loop", "vnode/model", "vnode/control"},
    "src/platform/virtual": GROUND | {"vnode/loop", "vnode/model", "vnode/control"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def room_of(path):
    text = path.relative_to(TOP).as_posix()
    return max((room for room in [*FLOORS, *OUTSIDE] if text.startswith(room + "/")), key=len, default=None)


def resolve(path, name):
    for base in (path.parent, TOP / "src", TOP):
        target = (base / name).resolve()
        if target.is_file() and TOP in target.parents:
            return target
    return None  # made at build time, or a library's


def find_circle(graph):
    done, path = set(), []

    def visit(file):
        if file in done:
            return None
        if file in path:
            return path[path.index(file):] + [file]
        path.append(file)
        circle = next(filter(None, map(visit, graph.get(file, ()))), None)
        path.pop()
        done.add(file)
        return circle

    return next(filter(None, map(visit, list(graph))), None)


def main():
    sys.setrecursionlimit(10000)
    problems, graph = [], {}
    for top in ("src", "vnode"):
        for path in sorted((TOP / top).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            room = room_of(path)
            targets = [found for found in (resolve(path, name) for name in INCLUDE.findall(path.read_text())) if found]
            graph[path] = targets
            for target in targets:
                other = room_of(target)
                here, there = path.relative_to(TOP), target.relative_to(TOP)
                if room in OUTSIDE:
                    if other != room and other not in OUTSIDE[room]:
                        problems.append(f"{here} includes {there}: {room} may not use that room")
                elif other in OUTSIDE:
                    problems.append(f"{here} includes {there}: the daemon knows no virtual node")
                elif other is None or FLOORS[other] > FLOORS[room]:
                    problems.append(f"{here} includes {there}: that room stands above")
    circle = find_circle(graph)
    if circle:
        problems.append("a circle of files: " + " -> ".join(str(path.relative_to(TOP)) for path in circle))
    print("\n".join(problems) if problems else f"rooms: {len(graph)} files, every arrow points down, no circle")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
