"""Rows of figures, and the table that they make."""

import os
import pathlib
import platform
import statistics
from dataclasses import dataclass


@dataclass
class Row:
    figure: str
    ours: float
    peers: dict
    goal: str
    reached: bool
    ratio: float | None = None


def against(figure, ours, peers, most):
    """A row whose goal is a ratio to the best of its peers; none where no peer is here."""
    if not peers:
        return []
    ratio = ours / min(peers.values())
    return [Row(figure, ours, peers, f"≤ {most:g} ×", ratio <= most, ratio)]


def at_most(figure, ours, peers, most):
    """A row whose goal is an amount."""
    return [Row(figure, ours, peers, f"≤ {most:,}", ours <= most)]


def only(values, *names):
    return {name: values[name] for name in names if name in values}


def column(values, index):
    return {name: row[index] for name, row in values.items()}


def medians(values):
    """Of numbers, or of lists of numbers one by one."""
    if isinstance(values[0], (list, tuple)):
        return [statistics.median(same) for same in zip(*values)]
    return statistics.median(values)


def amount(value):
    if value == int(value) or abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def table(rows):
    """In Markdown, and readable as it is."""
    cells = [["figure", "ours", "peers", "ratio", "goal", "reached"]]
    for row in rows:
        peers = ", ".join(f"{name} {amount(value)}" for name, value in row.peers.items())
        ratio = "" if row.ratio is None else f"{row.ratio:.2f}"
        cells.append([row.figure, amount(row.ours), peers, ratio, row.goal, "yes" if row.reached else "**no**"])
    widths = [max(len(line[i]) for line in cells) for i in range(len(cells[0]))]
    lines = ["| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |" for line in cells]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def machine():
    processor = "unknown"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            processor = line.split(":", 1)[1].strip()
            break
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return {
        "cores": os.cpu_count(),
        "processor": processor,
        "memory_gib": round(memory, 1),
        "kernel": platform.release(),
    }
