#pragma once

#include <cstdint>

namespace quill {

// The bodies of the exported functions. Each converts its arguments and calls an operation of
// TrayManager::shared() on the caller's thread. Arguments that cannot be converted do not create the tray
// manager. Each may throw std::bad_alloc, and nothing else.

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
/// Does not create the tray manager.
void quillTrayManagerOpenUrl(const char* urlString);

}  // namespace quill
