"""Prints what a screen reader reads in this session: the name and description of each thing on it, one a line."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402


def read(thing):
    if thing is None:  # gone meanwhile
        return
    try:
        texts = [thing.get_name(), thing.get_description()]
        children = [thing.get_child_at_index(i) for i in range(thing.get_child_count())]
    except GLib.Error:  # gone meanwhile
        return
    for text in filter(None, texts):
        print(text)
    for child in children:
        read(child)


Atspi.init()
read(Atspi.get_desktop(0))
