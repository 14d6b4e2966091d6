#include "bodies.h"

#include <span>
#include <string>

#include "decode_image.h"
#include "log.h"
#include "menu_items_json.h"
#include "text.h"
#include "tray_manager.h"

namespace quill {

namespace {

/// Null and a negative count are no image.
std::optional<Image> imageFromBytes(const std::uint8_t* bytes, std::intptr_t length) {
  if (!bytes || length <= 0) return std::nullopt;
  return decodeImage({bytes, static_cast<size_t>(length)});
}

/// Calls an operation while holding a reference to the manager.
template <typename... Parameters, typename... Arguments>
void callShared(void (TrayManager::*operation)(Parameters...), Arguments&&... arguments) {
  const auto manager = TrayManager::shared();
  (manager.get()->*operation)(std::forward<Arguments>(arguments)...);
}

/// The same for an operation that the host may call on the main thread alone, so that the caller counts as that thread.
template <typename... Parameters, typename... Arguments>
void callSharedOnMainThread(void (TrayManager::*operation)(Parameters...), Arguments&&... arguments) {
  Desktop::current().mainQueue().enter();
  callShared(operation, std::forward<Arguments>(arguments)...);
}

}  // namespace

void quillTrayManagerCreate() { callSharedOnMainThread(&TrayManager::createTray); }

void quillTrayManagerSetMainIcon(const std::uint8_t* iconData, std::intptr_t iconLength) {
  if (const auto image = imageFromBytes(iconData, iconLength))
    callSharedOnMainThread(&TrayManager::setMainIcon, *image);
}

void quillTrayManagerAddAnimationFrame(const std::uint8_t* frameData, std::intptr_t frameLength) {
  if (const auto image = imageFromBytes(frameData, frameLength)) callShared(&TrayManager::addAnimationFrame, *image);
}

void quillTrayManagerStartAnimation() { callShared(&TrayManager::startAnimation); }

void quillTrayManagerStopAnimation() { callShared(&TrayManager::stopAnimation); }

void quillTrayManagerResetAnimation() { callShared(&TrayManager::resetAnimation); }

void quillTrayManagerSetMenuPtr(const void* menuPtr) {
  if (auto menu = Desktop::current().adoptMenu(menuPtr)) callSharedOnMainThread(&TrayManager::setMenu, std::move(menu));
}

void quillTrayManagerSetClickCallback(void (*callback)()) { callShared(&TrayManager::setClickCallback, callback); }

void quillTrayManagerSetMenuItemsJson(const char* jsonData) {
  if (!jsonData) {
    logError("[TrayManager] 设置菜单项数据失败：JSON 数据为空", kLogModule);
    return;
  }
  auto items = readMenuItems(utf8Text(jsonData));
  if (!items) {
    logError("[TrayManager] 设置菜单项数据失败：JSON 解析失败", kLogModule);
    return;
  }
  const auto count = items->size();
  callSharedOnMainThread(&TrayManager::setMenuItems, std::move(*items));
  logInfo("[TrayManager] 已设置菜单项数据，数量: " + std::to_string(count), kLogModule);
}

void quillTrayManagerSetMenuItemCallback(void (*callback)(const char*)) {
  callShared(&TrayManager::setMenuItemCallback, callback);
}

void quillTrayManagerOpenUrl(const char* urlString) {
  if (!urlString) {
    logError("[TrayManager] 打开 URL 失败：URL 字符串为空", kLogModule);
    return;
  }
  const auto text = utf8Text(urlString);
  const auto url = parseUrl(text);
  if (!url) {
    logError("[TrayManager] 打开 URL 失败：无效的 URL 字符串: " + text, kLogModule);
    return;
  }
  Desktop::current().openUrl(*url);
  logInfo("[TrayManager] 已打开 URL: " + text, kLogModule);
}

}  // namespace quill
