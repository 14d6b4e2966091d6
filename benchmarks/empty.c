// A process that does nothing but say what it costs.
#include "item.h"

int main(void) {
  for (;;) {
    const struct Command command = readCommand();
    if (isNamed(&command, "report")) report();
  }
}
