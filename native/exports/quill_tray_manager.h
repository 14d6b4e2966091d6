/*
 * One tray icon for an application, with a menu, clicks and a log.
 *
 * "The application" is the program that loads this library. Rules that hold for every function:
 *
 * - The functions return nothing. Results and failures are logged: each message goes to standard output at once,
 *   such as
 *
 *       [TrayManager] [TrayManager] 已设置菜单项数据，数量: 2
 *
 *   and with a timestamp to the end of ~/Library/Application Support/com.orvi.tamble/.logs/native.log. Messages and
 *   the built-in menu are in Chinese. ~ is $HOME on Linux (otherwise the home directory of the user database) and the
 *   directory that the system names on macOS; if macOS names none, there is no file. The application's umask decides
 *   who may read the file: with the usual 022, everybody.
 * - The functions may be called in any order. None of them removes the icon, which exists until the process ends.
 * - The main thread on macOS is the process's first thread. On Linux it is the first of these threads that exists:
 *
 *     1. the thread that runs GLib's default main context;
 *     2. the last thread that ran this context, or that called quill_tray_manager_create,
 *        quill_tray_manager_set_main_icon or a function that sets a menu;
 *     3. the process's first thread.
 *
 * - The application runs that thread's main loop. AppKit, GTK, Qt, Electron and Flutter do so already. Every other
 *   application on Linux calls `g_main_context_iteration(NULL, FALSE);` in each turn of its own loop, or runs
 *   `g_main_loop_run` on a thread of its own (docs/hosts.md). If the loop is not run, the log says that the item was
 *   created, but no icon appears.
 * - No function waits for the disk. On Linux no function waits for a panel or for the session bus.
 * - Strings and bytes are read during the call only. The library holds a reference to a menu, and the address of a
 *   callback, until another call replaces it.
 * - Callbacks run on the main thread, from its loop, and may call every function. The methods and signal handlers of an
 *   application's own GMenuModel and GActionGroup classes may also call every function, at any time.
 * - If a callback throws a C++ exception by the system's C++ runtime, the library catches it and logs an error.
 * - A Wayland compositor raises a window only if the window's program presents an activation token, which the panel
 *   receives for the user's click. So present the window inside the callback. While the callback runs, the environment
 *   variable XDG_ACTIVATION_TOKEN holds this token. Afterwards the variable is empty or unset. The library changes no
 *   other variable.
 * - The child of a fork cannot use the library if its parent has called a function. In such a child each function
 *   returns at once, and the child's first call writes a line to standard output. A program that the child executes can
 *   use the library. If a process forks before its first call, as a daemon does, the child can use every function.
 * - No function is async-signal-safe: a call in a signal handler may hang. If a thread is cancelled during a call, the
 *   thread ends after the call.
 * - If a call runs out of memory, the log gets an error line and the state remains what it was. Exception: an icon or
 *   a menu may be stored and not shown, until the next change shows it. If memory runs out in work that the main loop
 *   does later, the log gets the same line. If GLib or another library runs out of memory, it ends the process.
 * - If the first call finds no free file descriptor on Linux, it logs an error line and does nothing else.
 */
#ifndef QUILL_TRAY_MANAGER_H
#define QUILL_TRAY_MANAGER_H

#include <stdint.h>

/**
 * QUILL_TRAY_MANAGER_VERSION:
 *
 * The version of this interface, as major * 10000 + minor * 100 + patch.
 */
#define QUILL_TRAY_MANAGER_VERSION 10000

#if defined(QUILL_TRAY_MANAGER_BUILD)
#define QUILL_TRAY_MANAGER_API __attribute__((visibility("default")))
#else
#define QUILL_TRAY_MANAGER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * quill_tray_manager_click_callback:
 *
 * Called on a left click. Main thread.
 */
typedef void (*quill_tray_manager_click_callback)(void);

/**
 * quill_tray_manager_menu_item_callback:
 * @identifier: the item's "id", as NUL-terminated UTF-8; valid during the call only.
 *
 * Called when a menu item is chosen. Main thread.
 */
typedef void (*quill_tray_manager_menu_item_callback)(const char* identifier);

/**
 * quill_tray_manager_create:
 *
 * Adds the item to the tray, in place of an earlier one. Main thread.
 *
 * The item shows an icon once quill_tray_manager_set_main_icon is called after this function. The item's menu is the
 * first of these that exists:
 *
 * 1. the items set as JSON. They stay stored when quill_tray_manager_set_menu_ptr replaces their menu, so this function
 *    shows them again;
 * 2. the menu from quill_tray_manager_set_menu_ptr, or the menu of an earlier item;
 * 3. the built-in menu, with a disabled entry for settings and an entry Quit.
 *
 * Quit does the first of these that is possible:
 *
 * 1. It activates the action "quit" of the default GApplication.
 * 2. It calls g_application_quit for the default GApplication, if that is registered.
 * 3. It raises SIGTERM once the log is on the disk. An application without a GApplication handles SIGTERM, for instance
 *    by g_unix_signal_add(SIGTERM, …), so that it ends in an orderly way.
 *
 * Tooltips and screen readers show the name from g_set_application_name, and panels remember the item by the name
 * from g_set_prgname or by the GApplication's id. Set both before this call (docs/hosts.md).
 *
 * If no panel is running yet, the item appears when one starts. If there is no session bus at a "unix:" address, the
 * log gets an error line and no item appears; the other functions work.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_create(void);

/**
 * quill_tray_manager_set_main_icon:
 * @iconData: (array length=iconLength): an encoded image of at most 4096 pixels a side: PNG, BMP or ICO, and, if their
 * libraries are installed, JPEG, GIF, TIFF or SVG. Null, a length of 0 or less, and invalid or unsupported image data
 * are ignored without a log line.
 * @iconLength: its size in bytes.
 *
 * Shows an icon. Main thread.
 *
 * Only the opacity of the image is used. Panels draw the shape at 22 by 22 points, in their own icon colour or in two
 * tones, white and black (docs/panels.md). Give at least 44 by 44 pixels, so that the icon is sharp on screens of twice
 * the density.
 *
 * Unsupported are an SVG of more than 256 KiB, a JPEG of more than 32 scans, a compressed BMP, and a TIFF with another
 * compression than LZW, PackBits or deflate. The library does not draw an SVG's text, filters, patterns and embedded
 * images, and reads no file and no address that the SVG names. Drawing an SVG has no time limit, so use only SVGs that
 * you trust.
 *
 * An icon set before quill_tray_manager_create is stored and not shown. Call this function again after
 * quill_tray_manager_create.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength);

/**
 * quill_tray_manager_add_animation_frame:
 * @frameData: (array length=frameLength): as for quill_tray_manager_set_main_icon, bad input included.
 * @frameLength: its size in bytes.
 *
 * Adds a frame to the icon's animation. Any thread.
 *
 * A running animation plays the new frame, too.
 *
 * This function and the three functions below may be called on any thread. On another thread than the main thread, a
 * call returns once the main thread has done the work. So the main thread must not wait for the caller, and must run
 * its loop.
 *
 * Exception: if no living thread has run the loop, and none has called quill_tray_manager_create,
 * quill_tray_manager_set_main_icon or a function that sets a menu, a call returns at once. On the process's first
 * thread the call has done its work by then. On another thread the main loop does the work later. If the caller itself
 * becomes the main thread, its next call of one of the functions just named does the work first.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength);

/**
 * quill_tray_manager_start_animation:
 *
 * Plays the frames once, 35 milliseconds apart, then shows the main icon again. Any thread.
 *
 * The first of several frames is shown for 70 milliseconds. The main icon replaces the last of several frames at once.
 * If there is no main icon, the last frame remains.
 *
 * If there are no frames, there is no item, or an animation is already running, the log gets a warning and nothing
 * else happens. The frames are kept: the next start plays them again.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_start_animation(void);

/**
 * quill_tray_manager_stop_animation:
 *
 * Ends the animation early and shows the main icon again. Any thread.
 *
 * If there is no item or no main icon, the log gets a warning.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_stop_animation(void);

/**
 * quill_tray_manager_reset_animation:
 *
 * Ends the animation as quill_tray_manager_stop_animation does, and drops the frames. Any thread.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_reset_animation(void);

/**
 * quill_tray_manager_set_menu_ptr:
 * @menuPtr: (type Gio.MenuModel): on Linux a GMenuModel, on macOS an NSMenu. Null, and an object of another class, are
 * ignored without a log line. A pointer to anything but a GObject or an Objective-C object is undefined behaviour.
 * The library holds a reference until the menu is replaced.
 *
 * Sets the menu that a right click opens, in place of any earlier one. The application builds the menu. Main thread.
 *
 * An NSMenu gets the menu font, a width of at least 250 points, the application's appearance, and titles in one font.
 * Its items keep their targets and actions.
 *
 * Changes of a GMenuModel and of its actions appear at once. The library also holds references to the action groups.
 * Panels receive sections with separators between them, submenus, labels with mnemonics, "accel", themed icons, and
 * the check state, radio state and sensitivity of the actions.
 *
 * A chosen item activates its action with its target, and does not call the menu item callback. For the prefix "app."
 * the library uses the default GApplication, which must exist before this call. Its actions work once it is
 * registered. For any other prefix attach the action group to the model, before this call, under the key
 * QUILL_TRAY_MANAGER_ACTION_GROUP_KEY followed by the prefix:
 *
 *     g_object_set_data_full(G_OBJECT(menu), QUILL_TRAY_MANAGER_ACTION_GROUP_KEY "tray",
 *                            g_object_ref(group), g_object_unref);    // for "tray.pause"
 *
 * The log gets a line with the number of top-level items, separators included.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_ptr(const void* menuPtr);

/**
 * QUILL_TRAY_MANAGER_ACTION_GROUP_KEY:
 *
 * See quill_tray_manager_set_menu_ptr.
 */
#define QUILL_TRAY_MANAGER_ACTION_GROUP_KEY "quill-tray-manager-action-group-"

/**
 * quill_tray_manager_set_click_callback:
 * @clickCallback: (scope forever) (nullable): must remain callable until another call replaces it. If no call does, it
 * must remain callable until the process ends.
 *
 * Sets the function that is called on a left click; null removes it. Call it on the main thread. Before
 * quill_tray_manager_create any thread may call it.
 *
 * GNOME opens the menu on a left click, and calls the function on a double click only. Bars with an indicator applet
 * never call the function (docs/panels.md). So give the menu an item for what a click does.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_click_callback(quill_tray_manager_click_callback clickCallback);

/**
 * quill_tray_manager_set_menu_items_json:
 * @jsonData: an array of objects, as NUL-terminated UTF-8.
 *
 * Sets the menu that a right click opens, in place of any earlier one. Main thread.
 *
 *     [{"id": "open", "title": "Open", "enabled": true, "keyEquivalent": "Cmd+Shift+O"}]
 *
 * "id" and "title" are required: an object that lacks one of them is left out. "enabled" is true by default.
 * "keyEquivalent" is any number of the modifiers Cmd, Command, Shift, Option, Alt, Control and Ctrl, then one key,
 * joined by "+". An unknown modifier is ignored, and the log gets a warning. Panels on Linux show Command as Control.
 * On Linux the shortcut is shown only; the application binds the keys.
 *
 * Null, text that is not JSON, and anything but an array of objects change nothing, and the log gets an error line.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_items_json(const char* jsonData);

/**
 * quill_tray_manager_set_menu_item_callback:
 * @itemCallback: (scope forever) (nullable): must remain callable until another call replaces it. If no call does, it
 * must remain callable until the process ends.
 *
 * Sets the function that is called when an item set as JSON is chosen; null removes it. Call it on the main thread.
 * Before quill_tray_manager_create any thread may call it.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_item_callback(
    quill_tray_manager_menu_item_callback itemCallback);

/**
 * quill_tray_manager_open_url:
 * @urlString: NUL-terminated UTF-8. Characters that a URL may not hold, such as blanks and quotes, are
 * percent-encoded; all others reach the opened program byte for byte. For null, an empty text and a malformed URL the
 * log gets an error line and nothing is opened. A port above 65535, or a host part whose escaped bytes are not UTF-8,
 * makes a URL malformed.
 *
 * Opens a URL in the user's default program for its scheme, without waiting for it. Any thread, with or without a
 * main loop.
 *
 * The log gets the whole URL, with any secret in its query. The log line reports success even if no program is
 * registered for the scheme.
 *
 * The program gets the environment and the signal mask that the calling thread has at the call, the process's ignored
 * signals, and a session of its own. A program that the session bus starts gets these from the bus. In a callback it
 * also gets the activation token, so that its window comes to the front. It is not a child of the process, so there is
 * nothing to wait for and no SIGCHLD. Exception: a process that is a subreaper or process 1 gets the program as a
 * child. In a sandbox the desktop's portal opens the URL.
 *
 * At most 256 URLs wait; for a further one the log gets an error line and it is not opened.
 *
 * If an application sets LD_LIBRARY_PATH so that it finds the libraries of its bundle, it must reset the variable
 * before this call. Otherwise the program loads the bundle's libraries (docs/distributions.md).
 *
 * After its first call the process has two more sleeping threads, the library's and GLib's "gmain". It also has two
 * more descriptors, with which GLib watches the installed programs.
 *
 * A URL given right before the process exits is still opened. If its program has to be started over the bus, the exit
 * then takes up to two seconds longer.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_open_url(const char* urlString);

#ifdef __cplusplus
}
#endif

#endif
