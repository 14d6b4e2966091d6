/// What an item program is told on standard input, one line each:
///   report         says what it costs
///   change COUNT   changes the icon every 35 ms, and reports 5.5 and COUNT + 5.5 ticks after the first
///   menu COUNT     reports, then shows a menu of COUNT items
///   keys COUNT     the same, each item with a shortcut
/// The end of the input ends it. "done" follows on each but the first.
#pragma once

#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "report.h"

enum { kTick = 35, kTicksBefore = 5, kTicksAfter = 5 };  // milliseconds; ticks around those that count

struct Command {
  char name[16];
  int count;
};

/// The driver sends one line at a time and waits for what it asked for.
static inline struct Command readCommand(void) {
  struct Command command = {{0}, 0};
  char line[64] = {0};
  const ssize_t size = read(STDIN_FILENO, line, sizeof line - 1);
  if (size <= 0) _exit(0);
  if (sscanf(line, "%15s %d", command.name, &command.count) < 1) _exit(2);
  return command;
}

static inline bool isNamed(const struct Command* command, const char* name) { return strcmp(command->name, name) == 0; }

/// "DIRECTORY/SIZE-INDEX.png"
static inline void framePath(char* path, size_t capacity, const char* directory, int size, int index) {
  snprintf(path, capacity, "%s/%d-%d.png", directory, size, index);
}

/// A menu as JSON that no earlier one is like; to be freed.
static inline char* menuJson(int count, bool withKeys) {
  enum { kLongestItem = 160 };
  static int menus = 0;
  ++menus;
  const size_t capacity = (size_t)count * kLongestItem + 3;
  char* const text = (char*)malloc(capacity);
  if (text == NULL) _exit(2);
  size_t used = 0;
  for (int i = 0; i < count; ++i) {
    used += (size_t)snprintf(text + used, capacity - used,
                             "%c{\"id\": \"item-%05d\", \"title\": \"Item %05d of menu %d\", \"enabled\": true%s}",
                             i == 0 ? '[' : ',', i, i, menus, withKeys ? ", \"keyEquivalent\": \"Cmd+Shift+K\"" : "");
  }
  memcpy(text + used, "]", 2);
  return text;
}
