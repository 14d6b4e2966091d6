#pragma once

#include <cstdint>

namespace quill {

// What stands behind the exported functions: converts the arguments and calls one operation of
// TrayManager::shared(), on the caller's thread. An argument that cannot be converted does not make
// the tray manager come into being. Each may throw std::bad_alloc, and nothing else.

void quillTrayManagerCreate();
void quillTrayManagerSetMainIcon(const std::uint8_t* iconData, std::intptr_t iconLength);
void quillTrayManagerAddAnimationFrame(const std::uint8_t* frameData, std::intptr_t frameLength);
void quillTrayManagerStartAnimation();
void quillTrayManagerStopAnimation();
void quillTrayManagerResetAnimation();
void quillTrayManagerSetMenuPtr(const void* menuPtr);
void quillTrayManagerSetClickCallback(void (*callback)());
void quillTrayManagerSetMenuItemsJson(const char* jsonData);
void quillTrayManagerSetMenuItemCallback(void (*callback)(const char*));
/// Neither touches nor makes the tray manager.
void quillTrayManagerOpenUrl(const char* urlString);

}  // namespace quill
