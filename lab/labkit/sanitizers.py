"""Programs that were built with sanitizers: where they report to, what they reported, how much slower they are."""
import re
from pathlib import Path

_REPORT = "/run/lab/state/sanitizer"   # as a host sees it; the sanitizers add the process id
_HERE = "/run/lab/lab/labkit"

# Set for every program of a lab; those without a sanitizer do not look at it.
ENVIRONMENT = {
    "ASAN_OPTIONS": f"log_path={_REPORT}:detect_stack_use_after_return=1",
    "UBSAN_OPTIONS": f"log_path={_REPORT}:print_stacktrace=1",
    "LSAN_OPTIONS": f"suppressions={_HERE}/leaks.supp:print_suppressions=0",
    "TSAN_OPTIONS": f"log_path={_REPORT}:suppressions={_HERE}/races.supp:second_deadlock_stack=1",
}


def of_build(build):
    """The sanitizers of a build folder, such as "address,undefined"; empty for a plain build."""
    try:
        cache = (Path(build) / "CMakeCache.txt").read_text()
    except OSError:
        return ""
    found = re.search(r"^DHCPRA_SANITIZE:\w+=(.*)$", cache, re.M)
    return found.group(1) if found else ""


def slowness(build):
    """How many times longer than usual everything may take with the programs of a build folder."""
    return 4 if of_build(build) else 1


def reports(lab_folder):
    """What the sanitizers of all programs of a lab have said so far."""
    return "\n".join(f"{path.parent.name}: {path.read_text(errors='replace')}"
                     for path in sorted(Path(lab_folder).glob("*/sanitizer.*")))
