/* The loop of a host's main thread: GLib's, or on a Mac its application's. */
#ifndef MAIN_LOOP_H
#define MAIN_LOOP_H

#ifdef __APPLE__
#include <objc/message.h>
#include <objc/runtime.h>

static id application(void) {
  return ((id(*)(Class, SEL))objc_msgSend)(objc_getClass("NSApplication"), sel_registerName("sharedApplication"));
}

static void name_application(void) {} /* its bundle does */

static void run_main_loop(void) {
  const long accessory = 1; /* no icon in the Dock */
  ((signed char (*)(id, SEL, long))objc_msgSend)(application(), sel_registerName("setActivationPolicy:"), accessory);
  ((void (*)(id, SEL))objc_msgSend)(application(), sel_registerName("run"));
}

static void end_main_loop(void) {
  ((void (*)(id, SEL, id))objc_msgSend)(application(), sel_registerName("terminate:"), NULL);
}
#else
#include <glib-unix.h>
#include <stdio.h>

static GMainLoop* main_loop;

/* What users read, and by what panels remember the item. */
static void name_application(void) {
  g_set_prgname("quill-example");
  g_set_application_name("Quill");
}

static void end_main_loop(void) { g_main_loop_quit(main_loop); }

/* The basic menu's last entry asks the process to end; a host may save its work first, or stay. */
static gboolean on_terminate(gpointer unused) {
  (void)unused;
  puts("asked to end");
  end_main_loop();
  return G_SOURCE_CONTINUE;
}

static void run_main_loop(void) {
  main_loop = g_main_loop_new(NULL, FALSE);
  g_unix_signal_add(SIGTERM, on_terminate, NULL);
  g_main_loop_run(main_loop);
  g_main_loop_unref(main_loop);
}
#endif

#endif
