// set_main_icon and decoding the same PNG, by turns: icon_calls PNG CALLS. The item is shown, and the main loop runs
// between the calls, as in a host. A line "call" for each turn has the caller's CPU time of both, in nanoseconds.
#include <glib.h>
#include <png.h>
#include <quill_tray_manager.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

enum { kPause = 4 };  // milliseconds, in which a panel reads the icon and the log is written

static long long cpuTime(void) {
  struct timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return (long long)now.tv_sec * 1000000000 + now.tv_nsec;
}

static void decode(const gchar* bytes, gsize size) {
  png_image image = {.version = PNG_IMAGE_VERSION};
  if (!png_image_begin_read_from_memory(&image, bytes, size)) exit(1);
  image.format = PNG_FORMAT_RGBA;
  guchar* const rgba = g_malloc(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, NULL, rgba, 0, NULL)) exit(1);
  g_free(rgba);
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
  quill_tray_manager_create();
  for (int left = atoi(arguments[2]); left > 0; --left) {
    runLoop();
    const long long start = cpuTime();
    decode(bytes, size);
    const long long decoded = cpuTime();
    runLoop();
    const long long again = cpuTime();
    quill_tray_manager_set_main_icon((const uint8_t*)bytes, (intptr_t)size);
    fprintf(stderr, "call %lld %lld\n", cpuTime() - again, decoded - start);
  }
  _exit(0);
}
