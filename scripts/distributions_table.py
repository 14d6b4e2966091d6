"""Prints the table of scripts/distributions: distributions_table.py DIRECTORY SUITE..."""

import json
import pathlib
import sys
import xml.etree.ElementTree

NAMES = {"bookworm": "Debian 12", "trixie": "Debian 13", "sid": "unstable", "bookworm-i386": "Debian 12 on i386"}
CHANGING = {"sid"}  # whose faults may be others'
LIBRARIES = {
    "GLib": "libglib2.0-0",
    "libsystemd": "libsystemd0",
    "libpng": "libpng16",
    "libjpeg-turbo": "libjpeg62-turbo",
    "giflib": "libgif7",
    "libtiff": "libtiff6",
    "librsvg": "librsvg2-2",
    "GCC": "gcc-1",
}
START, THREADS = "process start to item shown: CPU, ms", "after an icon and an animation: threads"
CHILDREN, STRAY = "the same: child processes", "the same: bytes on standard error"
SET_ICON = "set_main_icon, 64 px PNG: CPU at the caller, µs"  # these are figures of benchmarks/run.py


class Suite:
    """What was found on one; `faults` says in words what did not go well."""

    def __init__(self, directory, name):
        self.directory = directory / name
        self.name = name
        self.faults = []
        self.cells = {}
        versions = dict(line.split() for line in self.read("versions").splitlines())
        for library, package in LIBRARIES.items():
            self.cells[library] = versions.get(package, "")
        for step, what in (("setup", "package"), ("setup-panels", "panel"), ("setup-desktops", "desktop")):
            self.require(step, f"not every {what} can be installed")
        if self.require("build", "it does not build"):
            for run in ("tests", "panels"):
                self.cells[f"{run} passed"] = self.count(run)
            self.measure()
            self.require("mac", "scripts/mac fails")
            built = self.require("package", "no packages are made")
            installs = built and self.require("packages", "the packages fail")
            self.cells["packages"] = "ok" if installs else "**fail**"
        if self.read("portable.log"):
            works = self.require("portable", "the file of scripts/portable fails")
            self.cells["the one file of Debian 12"] = "ok" if works else "**fail**"

    def read(self, name):
        path = self.directory / name
        return path.read_text(errors="replace") if path.exists() else ""

    def require(self, step, text):
        """Whether a step went well; if not, the end of what it said is kept."""
        if (self.directory / f"{step}.ok").exists():
            return True
        if (self.directory / f"{step}.log").exists():
            self.faults.append(f"{text}: " + " / ".join(self.read(f"{step}.log").splitlines()[-3:]))
        return False

    def count(self, run):
        """Those that passed of those that ran."""
        if not self.read(f"{run}.xml"):
            self.faults.append(f"no {run} ran")
            return ""
        cases = xml.etree.ElementTree.parse(self.directory / f"{run}.xml").getroot().findall("testcase")
        by_status = {"run": [], "fail": [], "notrun": []}
        for case in cases:
            by_status.setdefault(case.get("status"), []).append(case.get("name"))
        if by_status["fail"]:
            self.faults.append("failed: " + ", ".join(by_status["fail"]))
        if by_status["notrun"]:
            self.faults.append("not here, so not run: " + ", ".join(by_status["notrun"]))
        return f"{len(by_status['run'])} of {len(cases)}"

    def measure(self):
        if not self.require("measure", "nothing is measured"):
            return
        rows = {row["figure"]: row for row in json.loads(self.read("figures.json"))["rows"]}
        for figure in (START, THREADS, CHILDREN, STRAY, SET_ICON):
            value = rows[figure]["ours"]
            self.cells[figure] = f"{value:.3g}" if value < 1000 else f"{value:,.0f}"
        decoding = min(rows[SET_ICON]["peers"].values())
        self.cells["the same, as a multiple of libpng's decoding alone"] = f"{rows[SET_ICON]['ours'] / decoding:.2f} ×"
        for figure, most in ((THREADS, 2), (CHILDREN, 0), (STRAY, 0)):  # one thread is the log's
            if rows[figure]["ours"] > most:
                self.faults.append(f"{figure}: {self.cells[figure]}")

    @property
    def title(self):
        return NAMES.get(self.name, self.name)


def main():
    suites = [Suite(pathlib.Path(sys.argv[1]), name) for name in sys.argv[2:]]
    figures = list(dict.fromkeys(figure for suite in suites for figure in suite.cells))
    lines = [["", *(suite.title for suite in suites)], ["---"] * (len(suites) + 1)]
    lines += [[figure, *(suite.cells.get(figure, "") for suite in suites)] for figure in figures]
    print("\n" + "\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n")
    for suite in suites:
        for fault in suite.faults:
            whose = "; it changes daily, so this may be others'" if suite.name in CHANGING else ""
            print(f"{suite.title}: {fault}{whose}")
    sys.exit(any(suite.faults and suite.name not in CHANGING for suite in suites))


main()
