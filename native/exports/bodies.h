#pragma once

#include <cstdint>

namespace quill {

// What stands behind the exported functions: converts the arguments and calls one operation of
// TrayManager::shared(), on the caller's thread. An argument that cannot be converted does not make
// the tray manager come into being. No exception leaves them: they end the process on one that is
// not expected, which is no more than memory that ran out.

void quillTrayManagerCreate() noexcept;
void quillTrayManagerSetMainIcon(const std::uint8_t* iconData, std::intptr_t iconLength) noexcept;
void quillTrayManagerAddAnimationFrame(const std::uint8_t* frameData, std::intptr_t frameLength) noexcept;
void quillTrayManagerStartAnimation() noexcept;
void quillTrayManagerStopAnimation() noexcept;
void quillTrayManagerResetAnimation() noexcept;
void quillTrayManagerSetMenuPtr(const void* menuPtr) noexcept;
void quillTrayManagerSetClickCallback(void (*callback)()) noexcept;
void quillTrayManagerSetMenuItemsJson(const char* jsonData) noexcept;
void quillTrayManagerSetMenuItemCallback(void (*callback)(const char*)) noexcept;
/// Neither touches nor makes the tray manager.
void quillTrayManagerOpenUrl(const char* urlString) noexcept;

}  // namespace quill
