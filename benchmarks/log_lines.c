// Lines a second that reach the disk, by turns: log_lines LINES ROUNDS. The library's log file and one that is opened,
// written at its end, synced and closed for each line; says "lines" and both rates for each round.
#include <fcntl.h>
#include <quill_tray_manager.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "report.h"

static off_t sizeOf(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 ? status.st_size : 0;
}

static void waitForSize(const char* path, off_t size) {
  const struct timespec moment = {0, 100000};
  while (sizeOf(path) < size) nanosleep(&moment, NULL);
}

/// The queue syncs a line after it has written it, so the last one may still be at it; it counts for nothing.
static double libraryRate(const char* path, off_t line, int lines) {
  const off_t before = sizeOf(path);
  const long long start = nanosecondsOf(CLOCK_MONOTONIC);
  for (int i = 0; i < lines; ++i) quill_tray_manager_open_url(NULL);
  waitForSize(path, before + line * lines);
  return lines * 1e9 / (double)(nanosecondsOf(CLOCK_MONOTONIC) - start);
}

static double bareRate(const char* path, size_t line, int lines) {
  char* const text = (char*)malloc(line);
  memset(text, 'x', line);
  const long long start = nanosecondsOf(CLOCK_MONOTONIC);
  for (int i = 0; i < lines; ++i) {
    const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (lseek(file, 0, SEEK_END) < 0 || write(file, text, line) < 0 || fsync(file) != 0) exit(1);
    close(file);
  }
  free(text);
  return lines * 1e9 / (double)(nanosecondsOf(CLOCK_MONOTONIC) - start);
}

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const int lines = atoi(arguments[1]);
  const char* const home = getenv("HOME");
  char log[512];
  char bare[512];
  snprintf(log, sizeof log, "%s/Library/Application Support/com.orvi.tamble/.logs/native.log", home);
  snprintf(bare, sizeof bare, "%s/bare.log", home);

  const off_t before = sizeOf(log);
  quill_tray_manager_open_url(NULL);
  waitForSize(log, before + 1);
  const off_t line = sizeOf(log) - before;
  for (int round = atoi(arguments[2]); round > 0; --round) {
    const double library = libraryRate(log, line, lines);
    fprintf(stderr, "lines %.0f %.0f\n", library, bareRate(bare, (size_t)line, lines));
  }
  return 0;
}
