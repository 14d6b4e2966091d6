// The exported functions. Each calls the body of its name, which converts the arguments and calls an operation of
// TrayManager::shared() on the caller's thread. Arguments that cannot be converted create no tray manager. No exception
// leaves a function.

#include "quill_tray_manager.h"

#include <pthread.h>

#include <span>
#include <string>
#include <utility>

#include "decode_image.h"
#include "forked_child.h"
#include "log.h"
#include "menu_items_json.h"
#include "report.h"
#include "text.h"
#include "tray_manager.h"

using namespace quill;

namespace {

/// Disables cancellation of the calling thread during a call. Cancellation unwinds the stack, and noexcept would turn
/// the unwinding into the end of the process.
class Uncancelled {
 public:
  Uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  Uncancelled(const Uncancelled&) = delete;
  Uncancelled& operator=(const Uncancelled&) = delete;
  ~Uncancelled() { pthread_setcancelstate(before_, nullptr); }

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

template <typename... Parameters>
void run(void (*body)(Parameters...), Parameters... arguments) noexcept {
  if (isForkedChild()) return reportForkedChild();
  const Uncancelled uncancelled;
  completes([&] { body(arguments...); });
}

/// Calls an operation while holding a reference to the manager.
template <typename... Parameters, typename... Arguments>
void callShared(void (TrayManager::*operation)(Parameters...), Arguments&&... arguments) {
  const auto manager = TrayManager::shared();
  (manager.get()->*operation)(std::forward<Arguments>(arguments)...);
}

/// Calls an operation that the host may call on the main thread alone, so that the caller counts as that thread.
template <typename... Parameters, typename... Arguments>
void callSharedOnMainThread(void (TrayManager::*operation)(Parameters...), Arguments&&... arguments) {
  Desktop::current().mainQueue().enter();
  callShared(operation, std::forward<Arguments>(arguments)...);
}

/// Null and a negative count are no image.
std::optional<Image> imageFromBytes(const uint8_t* bytes, intptr_t length) {
  if (!bytes || length <= 0) return std::nullopt;
  return decodeImage({bytes, static_cast<size_t>(length)});
}

void quillTrayManagerCreate() { callSharedOnMainThread(&TrayManager::createTray); }

void quillTrayManagerSetMainIcon(const uint8_t* iconData, intptr_t iconLength) {
  if (const auto image = imageFromBytes(iconData, iconLength))
    callSharedOnMainThread(&TrayManager::setMainIcon, *image);
}

void quillTrayManagerAddAnimationFrame(const uint8_t* frameData, intptr_t frameLength) {
  if (const auto image = imageFromBytes(frameData, frameLength)) callShared(&TrayManager::addAnimationFrame, *image);
}

void quillTrayManagerStartAnimation() { callShared(&TrayManager::startAnimation); }

void quillTrayManagerStopAnimation() { callShared(&TrayManager::stopAnimation); }

void quillTrayManagerResetAnimation() { callShared(&TrayManager::resetAnimation); }

void quillTrayManagerSetMenuPtr(const void* menuPtr) {
  if (auto menu = Desktop::current().adoptMenu(menuPtr)) callSharedOnMainThread(&TrayManager::setMenu, std::move(menu));
}

void quillTrayManagerSetClickCallback(ClickCallback callback) { callShared(&TrayManager::setClickCallback, callback); }

void quillTrayManagerSetMenuItemsJson(const char* jsonData) {
  if (!jsonData) return logError("[TrayManager] 设置菜单项数据失败：JSON 数据为空", kLogModule);
  auto items = readMenuItems(utf8Text(jsonData));
  if (!items) return logError("[TrayManager] 设置菜单项数据失败：JSON 解析失败", kLogModule);
  const auto count = items->size();
  callSharedOnMainThread(&TrayManager::setMenuItems, std::move(*items));
  logInfo("[TrayManager] 已设置菜单项数据，数量: " + std::to_string(count), kLogModule);
}

void quillTrayManagerSetMenuItemCallback(MenuItemCallback callback) {
  callShared(&TrayManager::setMenuItemCallback, callback);
}

void quillTrayManagerOpenUrl(const char* urlString) {
  if (!urlString) return logError("[TrayManager] 打开 URL 失败：URL 字符串为空", kLogModule);
  const auto text = utf8Text(urlString);
  const auto url = parseUrl(text);
  if (!url) return logError("[TrayManager] 打开 URL 失败：无效的 URL 字符串: " + text, kLogModule);
  Desktop::current().openUrl(*url);
  logInfo("[TrayManager] 已打开 URL: " + text, kLogModule);
}

}  // namespace

void quill_tray_manager_create(void) { run(quillTrayManagerCreate); }

void quill_tray_manager_set_main_icon(const uint8_t* iconData, intptr_t iconLength) {
  run(quillTrayManagerSetMainIcon, iconData, iconLength);
}

void quill_tray_manager_add_animation_frame(const uint8_t* frameData, intptr_t frameLength) {
  run(quillTrayManagerAddAnimationFrame, frameData, frameLength);
}

void quill_tray_manager_start_animation(void) { run(quillTrayManagerStartAnimation); }

void quill_tray_manager_stop_animation(void) { run(quillTrayManagerStopAnimation); }

void quill_tray_manager_reset_animation(void) { run(quillTrayManagerResetAnimation); }

void quill_tray_manager_set_menu_ptr(const void* menuPtr) { run(quillTrayManagerSetMenuPtr, menuPtr); }

void quill_tray_manager_set_click_callback(quill_tray_manager_click_callback callback) {
  run(quillTrayManagerSetClickCallback, callback);
}

void quill_tray_manager_set_menu_items_json(const char* jsonData) { run(quillTrayManagerSetMenuItemsJson, jsonData); }

void quill_tray_manager_set_menu_item_callback(quill_tray_manager_menu_item_callback callback) {
  run(quillTrayManagerSetMenuItemCallback, callback);
}

void quill_tray_manager_open_url(const char* urlString) { run(quillTrayManagerOpenUrl, urlString); }
