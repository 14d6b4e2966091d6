#pragma once

#include "../../examples/c/icon_png.h"
#include "quill_tray_manager.h"
#include "testing.h"

namespace quill {

/// What a host does in a typical run, its mistakes included: all eleven functions. `menu` is one that the platform
/// knows, with two items; `otherObject` is none. `endAnimation` runs the main loop until the animation has ended.
/// typical_run.txt has the log's lines, which are the same on every desktop.
inline void typicalRun(const void* menu, const void* otherObject, const std::function<void()>& endAnimation) {
  const auto addFrame = [] { quill_tray_manager_add_animation_frame(icon_png, sizeof icon_png); };
  for (const char* items : {static_cast<const char*>(nullptr), "{}",
                            R"([{"id":"a","title":"A","keyEquivalent":"Hyper+Cmd+K"},{"id":"b","title":"B",
                                 "enabled":false,"keyEquivalent":"Cmd+"},{"id":"c"}])"}) {
    quill_tray_manager_set_menu_items_json(items);
  }
  quill_tray_manager_set_click_callback([] {});
  quill_tray_manager_set_menu_item_callback([](const char*) {});
  quill_tray_manager_create();
  quill_tray_manager_set_main_icon(icon_png, sizeof icon_png);
  quill_tray_manager_set_main_icon(icon_png, 20);
  quill_tray_manager_set_main_icon(nullptr, 20);
  quill_tray_manager_start_animation();
  addFrame();
  addFrame();
  quill_tray_manager_start_animation();
  quill_tray_manager_start_animation();
  endAnimation();
  quill_tray_manager_start_animation();
  quill_tray_manager_stop_animation();
  quill_tray_manager_reset_animation();
  for (const void* pointer : {menu, otherObject, static_cast<const void*>(nullptr)}) {
    quill_tray_manager_set_menu_ptr(pointer);
  }
  quill_tray_manager_create();
  quill_tray_manager_set_menu_items_json("[]");
  for (const char* url : {static_cast<const char*>(nullptr), "", "http://[::1", "nobody-opens:\xFF"}) {
    quill_tray_manager_open_url(url);
  }
}

}  // namespace quill
