/// What a program of the benchmark says of itself, on standard error: standard output belongs to the log.
#pragma once

#include <dirent.h>
#include <stdio.h>
#include <time.h>

static inline long long nanosecondsOf(clockid_t clock) {
  struct timespec now;
  clock_gettime(clock, &now);
  return (long long)now.tv_sec * 1000000000 + now.tv_nsec;
}

/// What nobody else shares and somebody has written to: Private_Dirty of all mappings, in KiB.
static inline long privateKibibytes(void) {
  long amount = -1;
  char line[256];
  FILE* const rollup = fopen("/proc/self/smaps_rollup", "r");
  if (rollup == NULL) return amount;
  while (fgets(line, sizeof line, rollup) != NULL && sscanf(line, "Private_Dirty: %ld", &amount) != 1) {
  }
  fclose(rollup);
  return amount;
}

static inline int threadCount(void) {
  int count = 0;
  DIR* const tasks = opendir("/proc/self/task");
  if (tasks == NULL) return count;
  for (const struct dirent* task = readdir(tasks); task != NULL; task = readdir(tasks)) count += task->d_name[0] != '.';
  closedir(tasks);
  return count;
}

/// CPU time before this look at itself, private memory, threads, CPU time after it.
static inline void report(void) {
  const long long before = nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID);
  const long memory = privateKibibytes();
  const int threads = threadCount();
  fprintf(stderr, "report %lld %ld %d %lld\n", before, memory, threads, nanosecondsOf(CLOCK_PROCESS_CPUTIME_ID));
}

static inline void done(void) { fputs("done\n", stderr); }
