// When an animation's ticks come: quill_ticks COUNT PNG PNG. Once told to, plays the frames by turns; says "ticks" and
// the times in nanoseconds of CLOCK_MONOTONIC. The host sees a tick as the moment when its main loop wakes for it.
#include <glib-unix.h>
#include <glib.h>
#include <quill_tray_manager.h>

#include "item.h"

enum { kFrames = 2 };
static const long long kPeriod = kTick * 1000000LL;
/// No bus message comes so shortly before a tick: the panel has read the last icon by then.
static const long long kEarly = 5000000;

static int ticks;
static int seen;
static long long start;
static long long* times;

static gint pollAndNote(GPollFD* files, guint count, gint timeout) {
  const gint ready = g_poll(files, count, timeout);
  const long long now = nanosecondsOf(CLOCK_MONOTONIC);
  if (start != 0 && seen < ticks && now >= start + (seen + 1) * kPeriod - kEarly) times[seen++] = now;
  return ready;
}

static gboolean onInput(gint file, GIOCondition condition, gpointer data) {
  (void)file, (void)condition, (void)data;
  readCommand();
  start = nanosecondsOf(CLOCK_MONOTONIC);
  quill_tray_manager_start_animation();
  return G_SOURCE_CONTINUE;
}

int main(int count, char** arguments) {
  if (count != 2 + kFrames) return 2;
  ticks = atoi(arguments[1]);
  times = g_new(long long, ticks);
  quill_tray_manager_create();
  gchar* bytes[kFrames];
  gsize sizes[kFrames];
  for (int i = 0; i < kFrames; ++i) {
    if (!g_file_get_contents(arguments[2 + i], &bytes[i], &sizes[i], NULL)) return 2;
  }
  quill_tray_manager_set_main_icon((const uint8_t*)bytes[0], (intptr_t)sizes[0]);
  for (int i = 0; i < ticks + kTicksAfter; ++i) {
    quill_tray_manager_add_animation_frame((const uint8_t*)bytes[i % kFrames], (intptr_t)sizes[i % kFrames]);
  }
  g_main_context_set_poll_func(NULL, pollAndNote);
  g_unix_fd_add(STDIN_FILENO, G_IO_IN | G_IO_HUP, onInput, NULL);
  while (seen < ticks) g_main_context_iteration(NULL, TRUE);
  fputs("ticks", stderr);
  for (int i = 0; i < ticks; ++i) fprintf(stderr, " %lld", times[i]);
  fputs("\n", stderr);
  _exit(0);
}
