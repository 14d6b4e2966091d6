// The C entries: each hands its arguments on as they are.

#include "bodies.h"
#include "quill_tray_manager.h"

void quill_tray_manager_create(void) { quill::quillTrayManagerCreate(); }

void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength) {
  quill::quillTrayManagerSetMainIcon(iconData, iconLength);
}

void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength) {
  quill::quillTrayManagerAddAnimationFrame(frameData, frameLength);
}

void quill_tray_manager_start_animation(void) { quill::quillTrayManagerStartAnimation(); }

void quill_tray_manager_stop_animation(void) { quill::quillTrayManagerStopAnimation(); }

void quill_tray_manager_reset_animation(void) { quill::quillTrayManagerResetAnimation(); }

void quill_tray_manager_set_menu_ptr(const void* menuPtr) { quill::quillTrayManagerSetMenuPtr(menuPtr); }

void quill_tray_manager_set_click_callback(void (*callback)(void)) {
  quill::quillTrayManagerSetClickCallback(callback);
}

void quill_tray_manager_set_menu_items_json(const char* jsonData) { quill::quillTrayManagerSetMenuItemsJson(jsonData); }

void quill_tray_manager_set_menu_item_callback(void (*callback)(const char* identifier)) {
  quill::quillTrayManagerSetMenuItemCallback(callback);
}

void quill_tray_manager_open_url(const char* urlString) { quill::quillTrayManagerOpenUrl(urlString); }
