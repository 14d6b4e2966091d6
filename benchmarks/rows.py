"""Rows of figures, and the table that they make."""

import os
import platform
import subprocess
from typing import NamedTuple

OURS = "ours"


class Row(NamedTuple):
    figure: str
    ours: float
    peers: dict


def rows(figures, found):
    """A row for each figure, from the numbers that each program has for all of them."""
    return [Row(figure, *split({name: values[i] for name, values in found.items()})) for i, figure in enumerate(figures)]


def split(values):
    return values[OURS], {name: value for name, value in values.items() if name != OURS}


def amount(value):
    return f"{value:,.0f}" if value == int(value) or value >= 100 else f"{value:.3g}"


def table(found):
    """In Markdown, and readable as it is."""
    lines = [("Figure", "Ours", "Peers"), ("---", "---", "---")]
    for row in found:
        peers = ", ".join(f"{name} {amount(value)}" for name, value in row.peers.items())
        lines.append((row.figure, amount(row.ours), peers))
    widths = [max(map(len, column)) for column in zip(*lines)]
    return "\n".join("| " + " | ".join(map(str.ljust, line, widths)) + " |" for line in lines)


def machine():
    processor = subprocess.run("lscpu | sed -n 's/^Model name: *//p'", shell=True, stdout=subprocess.PIPE, text=True).stdout
    memory = os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") / 2**30
    return f"{os.cpu_count()} cores ({processor.strip()}), {memory:.1f} GiB, Linux {platform.release()}"
