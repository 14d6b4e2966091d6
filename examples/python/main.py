"""A host in Python, by ctypes alone, that draws its icon and the frames of an animation at run time.

    main.py

A left click, or the menu's "Play", plays the frames. What the library says to the host is a line on standard output.
The loader has to find libquill_tray_manager.so.1: install it, or name its directory in LD_LIBRARY_PATH.
"""

import ctypes
import json
import math
import signal
import struct
import threading
import zlib

glib = ctypes.CDLL("libglib-2.0.so.0")
tray = ctypes.CDLL("libquill_tray_manager.so.1")

SourceFunction = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p)
ClickCallback = ctypes.CFUNCTYPE(None)
MenuItemCallback = ctypes.CFUNCTYPE(None, ctypes.c_char_p)

glib.g_main_loop_new.argtypes = [ctypes.c_void_p, ctypes.c_int]
glib.g_main_loop_new.restype = ctypes.c_void_p
for function in (glib.g_main_loop_run, glib.g_main_loop_quit, glib.g_main_loop_unref):
    function.argtypes, function.restype = [ctypes.c_void_p], None
for function in (glib.g_set_prgname, glib.g_set_application_name):
    function.argtypes, function.restype = [ctypes.c_char_p], None
glib.g_unix_signal_add.argtypes = [ctypes.c_int, SourceFunction, ctypes.c_void_p]
for function in (tray.quill_tray_manager_set_main_icon, tray.quill_tray_manager_add_animation_frame):
    function.argtypes, function.restype = [ctypes.c_char_p, ctypes.c_ssize_t], None
tray.quill_tray_manager_set_menu_items_json.argtypes = [ctypes.c_char_p]
tray.quill_tray_manager_set_click_callback.argtypes = [ClickCallback]
tray.quill_tray_manager_set_menu_item_callback.argtypes = [MenuItemCallback]

SIZE = 44  # pixels: 22 points, sharp at twice the density
FRAMES = 24


def png(opacity):
    """A PNG of SIZE by SIZE black pixels; `opacity(x, y)` is 0 to 1."""

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = bytearray()
    for y in range(SIZE):
        rows.append(0)  # no filter
        for x in range(SIZE):
            rows += bytes((0, round(255 * opacity(x, y))))
    header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, 4, 0, 0, 0)  # 8 bits, grey with alpha
    return (
        b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows))) + chunk(b"IEND", b"")
    )


def dial(turn):
    """A ring with a dot that stands at `turn`, 0 to 1 from the top clockwise."""
    centre, radius, dot = (SIZE - 1) / 2, SIZE * 0.28, SIZE * 0.11  # 2 points stay free all around
    at_x = centre + radius * math.sin(2 * math.pi * turn)
    at_y = centre - radius * math.cos(2 * math.pi * turn)

    def opacity(x, y):
        from_ring = abs(math.hypot(x - centre, y - centre) - radius) - 2
        from_dot = math.hypot(x - at_x, y - at_y) - dot
        return max(0.0, min(1.0, 0.5 - min(from_ring, from_dot)))  # edges as soft as one pixel

    return png(opacity)


def add_frame(turn):
    frame = dial(turn)
    tray.quill_tray_manager_add_animation_frame(frame, len(frame))


def draw_frames():
    """Off the main thread, which the animation's functions allow: the icon answers meanwhile."""
    for index in range(FRAMES):
        add_frame(index / FRAMES)
    print("frames are ready", flush=True)


@ClickCallback
def on_click():
    print("clicked", flush=True)
    tray.quill_tray_manager_start_animation()


@MenuItemCallback
def on_menu_item(identifier):
    name = identifier.decode()
    print(f"chosen: {name}", flush=True)
    if name == "play":
        tray.quill_tray_manager_start_animation()
    elif name == "stop":
        tray.quill_tray_manager_stop_animation()
    elif name == "quit":
        glib.g_main_loop_quit(loop)


ITEMS = [
    {"id": "play", "title": "Play", "keyEquivalent": "Cmd+P"},
    {"id": "stop", "title": "Stop"},
    {"id": "quit", "title": "Quit", "keyEquivalent": "Cmd+Q"},
]

signal.signal(signal.SIGINT, signal.SIG_DFL)  # Python handles signals between its own instructions only
loop = glib.g_main_loop_new(None, False)


@SourceFunction
def on_terminate(_):
    """A session's end, or Quit of a menu that the library offers by itself: the loop ends, and with it the process."""
    glib.g_main_loop_quit(loop)
    return True  # the source stays


glib.g_set_prgname(b"quill-example-python")  # panels remember the item by it, otherwise by "python3.11"
glib.g_set_application_name(b"Quill in Python")  # what users read
glib.g_unix_signal_add(signal.SIGTERM, on_terminate, None)
icon = dial(0)
tray.quill_tray_manager_set_menu_items_json(json.dumps(ITEMS).encode())
tray.quill_tray_manager_set_click_callback(on_click)  # functions at module level: they must outlive their use
tray.quill_tray_manager_set_menu_item_callback(on_menu_item)
tray.quill_tray_manager_create()
tray.quill_tray_manager_set_main_icon(icon, len(icon))
threading.Thread(target=draw_frames, daemon=True).start()

glib.g_main_loop_run(loop)  # ctypes lets other threads of Python run meanwhile
glib.g_main_loop_unref(loop)
