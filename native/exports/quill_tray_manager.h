/**
 * @file
 * One icon in the system bar, with a menu, clicks and a log.
 *
 * Rules that hold for every function:
 *
 * - Nothing is returned. What was done and what failed is written to the log: one line on standard
 *   output at once, such as
 *
 *       [TrayManager] [TrayManager] 已设置菜单项数据，数量: 2
 *
 *   and the same with a timestamp at the end of
 *   ~/Library/Application Support/com.orvi.tamble/.logs/native.log. Log lines and the default menu are
 *   in Chinese. Whoever may read the files that the host makes by default may read the log: everybody
 *   under the usual umask of 022.
 * - No function needs another one to be called first, and none undoes another: the icon stays until
 *   the process ends.
 * - The main thread is the one that runs GLib's default main context or, while none does, the process's
 *   first thread. No function waits for the desktop or for the disk.
 * - Somebody has to run that main context, as hosts with GTK, Qt, Electron or Flutter do: it brings the
 *   icon to the panel and the clicks to you. Any other loop calls
 *   `g_main_context_iteration(NULL, FALSE);` each time around. Where nobody does, the log says that the
 *   item was created, and no icon ever comes (docs/panels.md, "No icon comes").
 * - What you pass is read during the call and stays yours.
 * - Your callbacks run on the main thread, from its main context, and may call every function
 *   declared here; so may a GMenuModel and its action groups whenever they are asked something, told
 *   something or finalized. A C++ exception that one throws ends there, and the log gets an error line.
 * - Where memory cannot be had for a call, the log gets an error line and what was there stays. Where
 *   GLib or another library runs out of memory, it ends the process, as it would in the host's own code.
 */
#ifndef QUILL_TRAY_MANAGER_H
#define QUILL_TRAY_MANAGER_H

#include <stdint.h>

/** The version of this interface, as major * 10000 + minor * 100 + patch. */
#define QUILL_TRAY_MANAGER_VERSION 10000

#if defined(QUILL_TRAY_MANAGER_BUILD)
#define QUILL_TRAY_MANAGER_API __attribute__((visibility("default")))
#else
#define QUILL_TRAY_MANAGER_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Told of a left click. Main thread. */
typedef void (*quill_tray_manager_click_callback)(void);

/**
 * Told which menu item was chosen. Main thread.
 *
 * @param identifier the item's "id", as NUL-terminated UTF-8. It belongs to the library and is valid
 * during the call only: copy it to keep it.
 */
typedef void (*quill_tray_manager_menu_item_callback)(const char* identifier);

/**
 * Puts the icon's place into the bar. Main thread.
 *
 * The item shows an icon from the next quill_tray_manager_set_main_icon on, and has a menu at once: the
 * items given as JSON if there are any; else the menu that was handed over, or that of an earlier
 * create; else a basic one, with a disabled entry for settings and an entry that quits. So items given
 * as JSON earlier replace a menu that was handed over later, at the next create.
 *
 * Quit activates the default GApplication's action "quit" or calls g_application_quit; where there is
 * none, it raises SIGTERM once the log is on the disk. A host without a GApplication ends in an orderly
 * way by a handler for SIGTERM, such as g_unix_signal_add(SIGTERM, …); without one it ends at once.
 *
 * Where no bar is running yet, the item waits for one and appears by itself. Where there is no session
 * bus, or none at a "unix:" address, the log gets an error line and everything else still works.
 * A second call puts a new item in place of the first.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_create(void);

/**
 * Shows an icon. Main thread.
 *
 * @param iconData,iconLength an encoded image of at most 4096 pixels a side: PNG, BMP or ICO, and
 * JPEG, GIF, TIFF or SVG where the machine has their library. Null, a length of 0 or less, and bytes
 * that are no image change nothing and log nothing.
 *
 * Only the image's opacity counts: it is a template, drawn in the bar's own colour at 22 by 22 points.
 * Give at least 44 by 44 pixels, so that it is sharp on screens of twice the density.
 *
 * A host vouches for the pictures that it ships: an SVG of at most 1 MiB crashes nothing and reads no
 * file and no network, but may take long if it was drawn to. Its text, filters, pattern fills and
 * embedded images are left out.
 *
 * An icon given before quill_tray_manager_create is remembered but not put on the new item.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength);

/**
 * Adds a frame to the icon's animation. Any thread.
 *
 * @param frameData,frameLength as for quill_tray_manager_set_main_icon, bad input too. The frame is made
 * ready here and now, so that playing costs next to nothing. A running animation goes on to the new frame.
 *
 * Off the main thread, this and the three functions below return after the main thread has done the
 * work. So the main thread must not be waiting for the caller, and its loop must run, or start to run
 * at some time.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength);

/**
 * Plays the frames once, 35 milliseconds apart, then shows the main icon again. Any thread.
 *
 * Without frames, while an animation runs and without an item in the bar it does nothing but log a
 * warning. The frames stay: the next start plays them again.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_start_animation(void);

/**
 * Ends the animation early and shows the main icon again. Any thread.
 *
 * Without an item or a main icon the log gets a warning.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_stop_animation(void);

/**
 * Ends the animation as quill_tray_manager_stop_animation does, and forgets the frames. Any thread.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_reset_animation(void);

/**
 * Takes a menu that the host built as the one that a right click opens, in place of any earlier one.
 * Main thread.
 *
 * @param menuPtr a GMenuModel. Null, and an object that is no GMenuModel, change nothing and log
 * nothing; what is no GObject is not caught. The library holds references of its own, to it and to the
 * action groups that its items name, until the menu is replaced; yours stay yours.
 *
 * The model is live: changes of it and of the actions show at once. Sections are set apart by
 * separators; labels with mnemonics, "accel", icons that have a name and submenus are shown, check and
 * radio states and sensitivity are those of the actions.
 *
 * Choosing an item activates its action with its target, not the menu item callback. Actions with
 * the prefix "app." are those of the default GApplication, which must exist before this call, once
 * it is registered. For any other prefix attach the action group to the model, before this call, under
 * the key QUILL_TRAY_MANAGER_ACTION_GROUP_KEY followed by the prefix:
 *
 *     g_object_set_data_full(G_OBJECT(menu), QUILL_TRAY_MANAGER_ACTION_GROUP_KEY "tray",
 *                            g_object_ref(group), g_object_unref);    // for "tray.pause"
 *
 * The log gets a line with the number of entries on top, separators included.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_ptr(const void* menuPtr);

/** See quill_tray_manager_set_menu_ptr. */
#define QUILL_TRAY_MANAGER_ACTION_GROUP_KEY "quill-tray-manager-action-group-"

/**
 * Sets the function that is called on a left click; null for none. Main thread, or any before there is
 * an item.
 *
 * GNOME's shell opens the menu on a left click, and calls it on a double click only: give the menu an
 * entry for what a click does.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_click_callback(quill_tray_manager_click_callback callback);

/**
 * Describes the menu that a right click opens, in place of any earlier one. Main thread.
 *
 * @param jsonData an array of objects, as NUL-terminated UTF-8:
 *
 *     [{"id": "open", "title": "Open", "enabled": true, "keyEquivalent": "Cmd+Shift+O"}]
 *
 * "id" and "title" are required: an element without them is left out. "enabled" is true where it is
 * missing. "keyEquivalent" is one key behind any of Cmd, Command, Shift, Option, Alt, Control and
 * Ctrl, joined by "+"; an unknown modifier is left out, with a warning in the log. Panels show Command
 * as Control. A panel shows the shortcut; the host binds it.
 *
 * Null, text that is no JSON, and anything but an array of objects leave the menu as it was and log an
 * error line.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_items_json(const char* jsonData);

/**
 * Sets the function that is told of the chosen item of a menu given as JSON; null for none. Main thread,
 * or any before there is an item.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_set_menu_item_callback(quill_tray_manager_menu_item_callback callback);

/**
 * Opens a URL in the user's default application for its scheme, which is not waited for. Any thread, with
 * or without a main loop.
 *
 * @param urlString NUL-terminated UTF-8. What a URL may hold reaches the application byte for byte; blanks,
 * quotes and whatever else no URL may hold are percent-encoded. Null, an empty text and a malformed
 * URL open nothing and log an error line; a URL that no application takes looks like any other.
 *
 * Every URL is logged whole, query and all: one with a secret in it puts that secret into the log.
 *
 * The application starts as a child of the calling thread would start now, with its environment, signal
 * mask and ignored signals, but is no child: there is nothing to wait for and no SIGCHLD. In a sandbox the
 * desktop's portal opens the URL. Two threads stay asleep after the first call, one of the library's and
 * GLib's "gmain", and two descriptors, with which GLib watches what is installed.
 *
 * Right before the process exits it is carried out all the same; the exit then takes up to two seconds
 * longer where an application has to be started over the bus.
 */
QUILL_TRAY_MANAGER_API void quill_tray_manager_open_url(const char* urlString);

#ifdef __cplusplus
}
#endif

#endif
