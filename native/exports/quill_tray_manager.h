/*
 * An icon in the system bar, with a menu, clicks and a log.
 *
 * Rules that hold for every function:
 *
 * - Nothing is returned. Results and failures are written to the log: one line on standard output at once,
 *   such as
 *
 *       [TrayManager] [TrayManager] 已设置菜单项数据，数量: 2
 *
 *   and the same with a timestamp at the end of
 *   ~/Library/Application Support/com.orvi.tamble/.logs/native.log. Log lines and the default menu are
 *   in Chinese. ~ is what HOME names on Linux. On a Mac the system names it; where that names
 *   none, there is no file. The host's umask decides who may read the log: with the usual 022, everybody.
 * - The functions may be called in any order. None removes the icon: it stays until the process ends.
 * - The main thread is on Linux the one that runs GLib's default main context, whichever thread of the process
 *   that is. While none does, it is the last thread that called quill_tray_manager_create,
 *   quill_tray_manager_set_main_icon or a function that sets a menu; before such a call, the process's first
 *   thread. On a Mac it is always the first thread, where NSApplication runs. No function waits for the disk,
 *   and on Linux none waits for the desktop.
 * - The host has to run that thread's loop, as hosts with AppKit, GTK, Qt, Electron or Flutter do. On Linux
 *   any other loop calls `g_main_context_iteration(NULL, FALSE);` each time around, or a thread of its own runs
 *   `g_main_loop_run`. Without it the log says that the item was created, but no icon comes (docs/hosts.md).
 * - On Linux users read the name from g_set_application_name, and panels remember the item by the GApplication's
 *   identifier or the name from g_set_prgname. Set them before quill_tray_manager_create; both default to the
 *   executable's name.
 * - Arguments are read during the call and stay yours.
 * - Callbacks run on the main thread, from its loop, and may call every function declared here; so
 *   may a GMenuModel and its action groups whenever the library calls or finalizes them. A C++ exception
 *   that a callback throws with the system's C++ runtime is caught, and the log gets an error line.
 * - On Linux a Wayland compositor raises a window only with a token, so present the window inside the callback. While
 *   the callback runs, the variable XDG_ACTIVATION_TOKEN of the process's environment holds the panel's token; it is
 *   empty or unset afterwards, and the library changes no other variable.
 * - A forked child of a process that has called a function has nothing of the library until it executes another
 *   program: each function returns at once, and the first one writes a line to standard output. A process that
 *   forks before its first call, such as a daemon, has the whole library in the child.
 * - No function is async-signal-safe. A call in a signal handler can hang. A thread that is cancelled during a call
 *   ends after it.
 * - If a call runs out of memory, the log gets an error line and the state stays as it was, except that a call that
 *   sets an icon or a menu may have stored it without showing it; the next change shows it. If memory runs out in work
 *   that the main loop does later, the log gets the same line. If GLib or another library runs out of memory, it ends
 *   the process.
 * - On Linux a first call that finds no free file descriptor does nothing but log an error line.
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
 * Puts an item into the bar, in place of an earlier one. Main thread.
 *
 * The item shows an icon from the next quill_tray_manager_set_main_icon on. Its menu is the first of these
 * that exists: the items given as JSON, even if a menu was handed over after them; the menu that was handed
 * over, or that of an earlier create; a basic one, with a disabled entry for settings and an entry that quits.
 *
 * Quit activates the default GApplication's action "quit" or calls g_application_quit. Without a
 * GApplication it raises SIGTERM once the log is on the disk, so such a host needs a handler for SIGTERM,
 * such as g_unix_signal_add(SIGTERM, …), to end in an orderly way.
 *
 * If no bar is running yet, the item appears once there is one. Without a session bus at a "unix:" address
 * the log gets an error line, and everything else still works.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_create(void);

/**
 * quill_tray_manager_set_main_icon:
 * @iconData: (array length=iconLength): an encoded image of at most 4096 pixels a side: PNG, BMP or ICO, and
 * JPEG, GIF, TIFF or SVG if the machine has their library. Null, a length of 0 or less, and bytes
 * that are no image change nothing and log nothing.
 * @iconLength: its size in bytes.
 *
 * Shows an icon. Main thread.
 *
 * Only the image's opacity counts: it is a template, drawn in the bar's own colour at 22 by 22 points.
 * Give at least 44 by 44 pixels, so that it is sharp on screens of twice the density.
 *
 * An SVG may have at most 256 KiB. Its text, filters, patterns and embedded images are left out, and it reads
 * no file and no network. Drawing it has no time limit: use only SVGs that you trust.
 *
 * An icon given before quill_tray_manager_create is stored but not put on the new item.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength);

/**
 * quill_tray_manager_add_animation_frame:
 * @frameData: (array length=frameLength): as for quill_tray_manager_set_main_icon, bad input too.
 * @frameLength: its size in bytes.
 *
 * Adds a frame to the icon's animation. Any thread.
 *
 * A running animation plays the new frame as well.
 *
 * Off the main thread, this and the three functions below return once the main thread has done the work. So
 * the main thread must not wait for the caller, and must run its loop.
 *
 * Until a thread runs the loop or makes a call that only the main thread may make, no thread but the process's
 * first counts as the main thread. These four functions then return at once elsewhere. If the caller turns
 * out to be the main thread, the library does the work at the beginning of the caller's next such call;
 * otherwise the main loop does it.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength);

/**
 * quill_tray_manager_start_animation:
 *
 * Plays the frames once, 35 milliseconds apart, then shows the main icon again. Any thread.
 *
 * Without frames, without an item, and while an animation runs, it only logs a warning. The frames stay: the
 * next start plays them again.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_start_animation(void);

/**
 * quill_tray_manager_stop_animation:
 *
 * Ends the animation early and shows the main icon again. Any thread.
 *
 * Without an item or a main icon the log gets a warning.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_stop_animation(void);

/**
 * quill_tray_manager_reset_animation:
 *
 * Ends the animation as quill_tray_manager_stop_animation does, and forgets the frames. Any thread.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_reset_animation(void);

/**
 * quill_tray_manager_set_menu_ptr:
 * @menuPtr: (type Gio.MenuModel): on Linux a GMenuModel, on a Mac an NSMenu. Null, and an object that is no such
 * menu, change nothing and log nothing; a pointer to anything but a GObject or an Objective-C object is
 * undefined behaviour. The library holds its own reference until the menu is replaced.
 *
 * Makes a menu that the host built the one that a right click opens, in place of any earlier one. Main
 * thread.
 *
 * An NSMenu gets the menu font, a width of at least 250 points, the application's appearance, and titles in
 * one font. Its items keep their targets and actions.
 *
 * Changes of a GMenuModel and of its actions, whose groups the library holds as well, show at once. Panels get
 * sections, with separators between them, submenus, labels with mnemonics, "accel", icons that have a name, and the
 * actions' check and radio states and sensitivity.
 *
 * Choosing an item activates its action with its target, not the menu item callback. Actions with
 * the prefix "app." are those of the default GApplication, which must exist before this call, and work once
 * it is registered. For any other prefix attach the action group to the model, before this call, under
 * the key QUILL_TRAY_MANAGER_ACTION_GROUP_KEY followed by the prefix:
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
 * @clickCallback: (scope forever) (nullable): must stay callable until another call replaces it, otherwise for ever.
 *
 * Sets the function that is called on a left click; null removes it. Main thread; before there is an
 * item, any thread.
 *
 * GNOME's shell opens the menu on a left click and calls the function on a double click only: give the menu
 * an item for what a click does. Bars that show indicators never call the function.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_click_callback(quill_tray_manager_click_callback clickCallback);

/**
 * quill_tray_manager_set_menu_items_json:
 * @jsonData: an array of objects, as NUL-terminated UTF-8.
 *
 * Describes the menu that a right click opens, in place of any earlier one. Main thread.
 *
 *     [{"id": "open", "title": "Open", "enabled": true, "keyEquivalent": "Cmd+Shift+O"}]
 *
 * "id" and "title" are required: an object without them is left out. "enabled" is true by default.
 * "keyEquivalent" is any of Cmd, Command, Shift, Option, Alt, Control and Ctrl, then one key, joined by "+";
 * an unknown modifier is ignored, with a warning in the log. Panels on Linux show Command as Control.
 * A shortcut is shown; on Linux it is up to the host to bind the keys.
 *
 * Null, text that is not JSON, and anything but an array of objects change nothing and log an error line.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_items_json(const char* jsonData);

/**
 * quill_tray_manager_set_menu_item_callback:
 * @itemCallback: (scope forever) (nullable): must stay callable until another call replaces it, otherwise for ever.
 *
 * Sets the function that is called when an item given as JSON is chosen; null removes it. Main thread; before
 * there is an item, any thread.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_item_callback(
    quill_tray_manager_menu_item_callback itemCallback);

/**
 * quill_tray_manager_open_url:
 * @urlString: NUL-terminated UTF-8. Characters that a URL may not hold, such as blanks and quotes, are
 * percent-encoded; all others reach the application byte for byte. Null, an empty text and a malformed URL
 * open nothing and log an error line. A URL that no application opens is logged like any other.
 *
 * Opens a URL in the user's default application for its scheme, without waiting for it. Any thread, with or
 * without a main loop.
 *
 * The whole URL is logged, with any secret in its query.
 *
 * In a callback, the application gets the activation token of the user's input as well, so that its window comes to the
 * front.
 *
 * The application gets the environment, signal mask and ignored signals that the calling thread has now, and
 * a session of its own. It is no child of the process: there is nothing to wait for and no SIGCHLD. Exception:
 * a process that is a subreaper or process 1 gets the application as a child. In a sandbox the desktop's portal
 * opens the URL. At most 256 URLs wait; a further one is not opened, and the log gets an error line.
 * A host in a bundle that sets LD_LIBRARY_PATH for itself resets it before this call, because
 * the application would load the bundle's libraries (docs/distributions.md). From the first call on there are two more
 * sleeping threads, the library's and GLib's "gmain", and two descriptors, with which GLib watches what is installed.
 *
 * A URL given right before the process exits is still opened. If the application has to be started over the
 * bus, the exit then takes up to two seconds longer.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_open_url(const char* urlString);

#ifdef __cplusplus
}
#endif

#endif
