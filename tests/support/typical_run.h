#pragma once

#include "../../examples/c/icon_png.h"
#include "quill_tray_manager.h"
#include "testing.h"

namespace quill {

/// What a host does in a typical run, its mistakes included: all eleven functions. `menu` is one that the platform
/// knows, with two items; `otherObject` is none. `runUntil` runs the main loop until a condition holds, `console` has
/// what the host printed.
inline void typicalRun(const void* menu, const void* otherObject,
                       const std::function<void(const std::function<bool()>&)>& runUntil, const fs::path& console) {
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
  runUntil([&] { return contents(console).find("动画已停止") != std::string::npos; });
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

/// What the log has of it, as "LEVEL message". The same on every desktop.
inline std::string typicalRunLog() { return contents(CASES "../support/typical_run.txt"); }

}  // namespace quill
