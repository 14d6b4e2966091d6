// The exported functions. Each passes its arguments to its body; no exception leaves it.

#include "bodies.h"
#include "library_call.h"
#include "quill_tray_manager.h"
#include "report.h"

namespace {

template <typename... Parameters>
void run(void (*body)(Parameters...), Parameters... arguments) noexcept {
  const quill::LibraryCall call;
  quill::completes([&] { body(arguments...); });
}

}  // namespace

void quill_tray_manager_create(void) { run(quill::quillTrayManagerCreate); }

void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength) {
  run(quill::quillTrayManagerSetMainIcon, iconData, iconLength);
}

void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength) {
  run(quill::quillTrayManagerAddAnimationFrame, frameData, frameLength);
}

void quill_tray_manager_start_animation(void) { run(quill::quillTrayManagerStartAnimation); }

void quill_tray_manager_stop_animation(void) { run(quill::quillTrayManagerStopAnimation); }

void quill_tray_manager_reset_animation(void) { run(quill::quillTrayManagerResetAnimation); }

void quill_tray_manager_set_menu_ptr(const void* menuPtr) { run(quill::quillTrayManagerSetMenuPtr, menuPtr); }

void quill_tray_manager_set_click_callback(quill_tray_manager_click_callback callback) {
  run(quill::quillTrayManagerSetClickCallback, callback);
}

void quill_tray_manager_set_menu_items_json(const char* jsonData) {
  run(quill::quillTrayManagerSetMenuItemsJson, jsonData);
}

void quill_tray_manager_set_menu_item_callback(quill_tray_manager_menu_item_callback callback) {
  run(quill::quillTrayManagerSetMenuItemCallback, callback);
}

void quill_tray_manager_open_url(const char* urlString) { run(quill::quillTrayManagerOpenUrl, urlString); }
