#!/usr/bin/python3
"""Checks the architecture of the tree: a file includes headers of rooms that its own room may use, and no circle of files
exists. The build checks the same by its include paths, but only what the present configuration compiles, and not what
an include with a relative path reaches."""
import re
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent

# Rooms of the daemon from the ground up; a file belongs to the longest prefix that fits. Equal numbers may include each
# other's headers, as long as no circle of files comes of it.
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
# What stands beside the daemon names the rooms that it may use; its own files are always allowed. The virtual node stands on the
# daemon's ground floor, and the back end that asks it stands on the node. No room of the daemon includes any of these.
GROUND = {"src/common", "src/wire", "src/platform"}
NODE = {"vnode/loop", "vnode/model", "vnode/control"}
BACK_END = GROUND | NODE | {"src/platform/virtual"}
ROWS = {"src/rpc/Rows.h", "src/rpc/dhcpra/dhcpraProcedures.def"}   # single files of a room that others may use


def below(floor):
    """The rooms of the daemon up to a floor."""
    return {room for room, number in FLOORS.items() if number <= floor}


TESTS = {   # a test program may use what stands below the room that it tests, and the helpers
    "wire": {"src/wire"}, "basics": below(2), "platform": BACK_END, "core": below(4), "rpc_proxy": below(4),
    "relay_parts": below(6) | {"vnode/process"}, "relay": below(9), "relay_entity": below(9), "rpc": below(11),
    "dhcpractl": below(11) | {"tools/dhcpractl", "tests/unit/rpc"} | ROWS, "startup": below(1),
    "vnode_model": GROUND | NODE, "vnode_control": BACK_END, "vnode_process": GROUND | NODE | {"vnode/process"},
}
ALLOWED = {
    "vnode/loop": set(),
    "vnode/model": GROUND,
    "vnode/control": GROUND | {"vnode/loop", "vnode/model"},
    "vnode/process": GROUND | NODE,
    "src/platform/virtual": GROUND | NODE,
    "tools/dhcpractl": GROUND | ROWS,
    "tools/vnodectl": GROUND | NODE,
    "lab/storm": {"src/wire"},
    "tests/support": below(6) | BACK_END,
    "tests/fuzz": below(11) | BACK_END | {"vnode/process", "tests/support"},
    "bench": below(9) | BACK_END | {"vnode/process", "tests/support"},
    **{f"tests/unit/{name}": rooms | {"tests/support"} for name, rooms in TESTS.items()},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def room_of(path):
    text = path.relative_to(TOP).as_posix()
    return max((room for room in [*FLOORS, *ALLOWED] if text.startswith(room + "/")), key=len, default=None)


def resolve(path, name):
    for base in (path.parent, TOP / "src", TOP, TOP / "tests"):
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


def complaint(room, other, target):
    """Why a file of a room may not include a file of another one, or None."""
    if room == other:
        return None
    if room is None or other is None:
        return "a folder that is no room" + ("" if room is None else f" of {room}")
    if room in ALLOWED:
        fits = other in ALLOWED[room] or target.relative_to(TOP).as_posix() in ALLOWED[room]
        return None if fits else f"{room} may not use that room"
    if other in ALLOWED:
        return "the daemon uses nothing that stands beside it"
    return "that room stands above" if FLOORS[other] > FLOORS[room] else None


def main():
    sys.setrecursionlimit(10000)
    problems, graph = [], {}
    for top in ("src", "vnode", "tools", "lab", "tests", "bench"):
        for path in sorted((TOP / top).rglob("*")):
            if path.suffix not in (".h", ".cpp", ".def"):
                continue
            room = room_of(path)
            if room is None:
                problems.append(f"{path.relative_to(TOP)} belongs to no room")
            graph[path] = [found for found in (resolve(path, name) for name in INCLUDE.findall(path.read_text())) if found]
            for target in graph[path]:
                reason = complaint(room, room_of(target), target)
                if reason:
                    problems.append(f"{path.relative_to(TOP)} includes {target.relative_to(TOP)}: {reason}")
    circle = find_circle(graph)
    if circle:
        problems.append("a circle of files: " + " -> ".join(str(path.relative_to(TOP)) for path in circle))
    print("\n".join(problems) if problems else f"rooms: {len(graph)} files, every include allowed, no circle")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
