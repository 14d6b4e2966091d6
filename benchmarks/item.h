/// How run.py drives an item program, which gets four PNG files: icons 0 and 1 at 22 pixels, then both at 44 pixels.
/// A line on standard input is a command; the end of the input ends the program:
///   change COUNT   changes the icon COUNT times, every 35 ms
///   menu FILE      shows the menu that the JSON file holds
/// "done" on standard error answers each command, because standard output belongs to the log.
#pragma once

#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { kTick = 35, kIcons = 2 };  // milliseconds; icons that take turns

struct Command {
  char name[16];
  char argument[512];
};

/// Blocks until there is a line. run.py sends one line at a time and waits for the answer.
static inline struct Command readCommand(void) {
  struct Command command = {{0}, {0}};
  char line[sizeof command + 1] = {0};
  const ssize_t size = read(STDIN_FILENO, line, sizeof line - 1);
  if (size <= 0) _exit(0);
  if (sscanf(line, "%15s %511s", command.name, command.argument) != 2) _exit(2);
  return command;
}

static inline bool isNamed(const struct Command* command, const char* name) { return strcmp(command->name, name) == 0; }

static inline void done(void) { fputs("done\n", stderr); }
