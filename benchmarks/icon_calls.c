// set_main_icon against decoding the same PNG, by turns: icon_calls PNG CALLS. The item is on show, and the main loop
// runs in between, as it does in a host; says "icons" and the medians in nanoseconds of the caller's CPU time.
#include <glib.h>
#include <png.h>
#include <quill_tray_manager.h>
#include <stdlib.h>
#include <string.h>
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

struct source {
  const guchar* bytes;
  gsize left;
};

static void take(png_structp png, png_bytep to, size_t count) {
  struct source* const source = png_get_io_ptr(png);
  if (count > source->left) png_error(png, "cut short");
  memcpy(to, source->bytes, count);
  source->bytes += count;
  source->left -= count;
}

// What libpng's manual does for any PNG to become RGBA. A picture that cannot be read ends the program.
static void decode(const guchar* bytes, gsize size) {
  struct source source = {bytes, size};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, NULL, NULL, NULL);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png))) exit(1);
  png_set_read_fn(png, &source, take);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_scale_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  const png_uint_32 height = png_get_image_height(png, info);
  const size_t stride = png_get_rowbytes(png, info);
  guchar* const rgba = g_malloc(height * stride);
  for (int pass = 0; pass < passes; ++pass) {
    for (png_uint_32 y = 0; y < height; ++y) png_read_row(png, rgba + y * stride, NULL);
  }
  png_read_end(png, NULL);
  png_destroy_read_struct(&png, &info, NULL);
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
