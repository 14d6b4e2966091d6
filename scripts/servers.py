"""Starting the servers of a private session, and waiting. Times are in seconds."""

import os
import time

DEADLINE = 20.0  # for one step; a healthy session takes a small part of it


def wait_for(condition, what, deadline=DEADLINE, pause=0.05):
    """The first true value of `condition()`; TimeoutError that names `what` when there is none in time."""
    end = time.monotonic() + deadline
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise TimeoutError(f"no {what} within {deadline:g} s")
        time.sleep(pause)


def start_server(spawn, words):
    """Starts a server that writes one line once it is ready, to the descriptor that stands for "{}" in `words`.

    `spawn(words, pass_fds)` starts it. Returns what that returned, and the line.
    """
    reader, writer = os.pipe()
    server = spawn([word.format(writer) for word in words], pass_fds=[writer])
    os.close(writer)
    with open(reader, encoding="ascii") as answer:
        line = answer.readline().strip()
    if not line:
        raise RuntimeError(f"{words[0]} does not start")
    return server, line


def start_bus(spawn, address):
    """Starts a session bus at that address; what `spawn` returned."""
    words = ["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address={}", f"--address={address}"]
    return start_server(spawn, words)[0]


def start_display(spawn, width, height):
    """Starts an X server without a screen; what `spawn` returned, and the display's name."""
    words = ["Xvfb", "-displayfd", "{}", "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp", "-noreset"]
    server, number = start_server(spawn, words)
    return server, ":" + number
