// The same by timerfd alone: timerfd_ticks COUNT.
#include <stdint.h>
#include <sys/timerfd.h>

#include "item.h"

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const int ticks = atoi(arguments[1]);
  long long* const times = (long long*)calloc((size_t)ticks, sizeof *times);
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  const struct timespec period = {0, kTick * 1000000L};
  const struct itimerspec setting = {period, period};
  readCommand();
  if (times == NULL || timerfd_settime(timer, 0, &setting, NULL) != 0) return 1;
  for (int i = 0; i < ticks; ++i) {
    uint64_t expirations = 0;
    if (read(timer, &expirations, sizeof expirations) < 0) return 1;
    times[i] = nanosecondsOf(CLOCK_MONOTONIC);
  }
  fputs("ticks", stderr);
  for (int i = 0; i < ticks; ++i) fprintf(stderr, " %lld", times[i]);
  fputs("\n", stderr);
  return 0;
}
