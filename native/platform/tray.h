#pragma once

#include <memory>
#include <string_view>

#include "action.h"
#include "image.h"
#include "menu.h"

namespace quill {

/// The tray manager as a platform backend sees it, for platforms whose objects call its operations by name. Buttons,
/// menu items and timers send their actions to perform().
class Tray : public Responder {
 public:
  /// The process's tray manager, made on first use. `tray_manager` defines this function. Any thread.
  static std::shared_ptr<Tray> shared();

  virtual void createTray() = 0;
  virtual void setMainIcon(const Image& image) = 0;
  virtual void setMenu(std::shared_ptr<Menu> menu) = 0;
  virtual std::shared_ptr<Menu> createStandardMenu() = 0;
  virtual std::shared_ptr<Menu> createBasicMenu() = 0;
  virtual void addAnimationFrame(const Image& image) = 0;
  virtual void startAnimation() = 0;
  virtual void stopAnimation() = 0;
  virtual void resetAnimation() = 0;
  virtual void setClickCallback(void (*callback)()) = 0;
};

/// Logs a failure of the platform as an error. `tray_manager` defines this function. Any thread.
void logPlatformException(std::string_view what);

}  // namespace quill
