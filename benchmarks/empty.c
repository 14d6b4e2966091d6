// A process that does nothing until its input ends. The memory of the items is measured against it.
#include <unistd.h>

int main(void) {
  char byte = 0;
  return (int)read(STDIN_FILENO, &byte, 1);
}
