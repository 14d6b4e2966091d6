// set_main_icon against decoding the same PNG, by turns: icon_calls PNG CALLS. The item is on show, and the main loop
// runs in between, as it does in a host; says "icons" and the medians in nanoseconds of the caller's CPU time.
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <quill_tray_manager.h>
#include <stdlib.h>
#include <unistd.h>

#include "report.h"

enum { kPause = 4 };  // milliseconds, in which a panel reads the icon and the log is written

static int compare(const void* left, const void* right) {
  const long long difference = *(const long long*)left - *(const long long*)right;
  return (difference > 0) - (difference < 0);
}

static long long median(long long* times, int count) {
  qsort(times, (size_t)count, sizeof *times, compare);
  return times[count / 2];
}

static void decode(const guchar* bytes, gsize size) {
  GdkPixbufLoader* const loader = gdk_pixbuf_loader_new_with_type("png", NULL);
  if (!gdk_pixbuf_loader_write(loader, bytes, size, NULL) || !gdk_pixbuf_loader_close(loader, NULL)) exit(1);
  g_object_unref(loader);
}

static gboolean end(gpointer expired) {
  *(gboolean*)expired = TRUE;
  return G_SOURCE_REMOVE;
}

static void runLoop(void) {
  gboolean expired = FALSE;
  g_timeout_add(kPause, end, &expired);
  while (!expired) g_main_context_iteration(NULL, TRUE);
}

int main(int count, char** arguments) {
  if (count != 3) return 2;
  gchar* bytes = NULL;
  gsize size = 0;
  if (!g_file_get_contents(arguments[1], &bytes, &size, NULL)) return 2;
  const int calls = atoi(arguments[2]);
  long long* const decoded = g_new(long long, calls);
  long long* const set = g_new(long long, calls);

  quill_tray_manager_create();
  runLoop();
  for (int i = 0; i < calls; ++i) {
    const long long start = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
    decode((const guchar*)bytes, size);
    decoded[i] = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID) - start;
    runLoop();
    const long long again = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID);
    quill_tray_manager_set_main_icon((const uint8_t*)bytes, (intptr_t)size);
    set[i] = nanosecondsOf(CLOCK_THREAD_CPUTIME_ID) - again;
    runLoop();
  }
  fprintf(stderr, "icons %lld %lld\n", median(set, calls), median(decoded, calls));
  _exit(0);
}
