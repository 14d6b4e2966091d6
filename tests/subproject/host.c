#include <quill_tray_manager.h>

int main(void) {
  quill_tray_manager_create();
  return 0;
}
