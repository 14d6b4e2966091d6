#pragma once

#include <memory>
#include <string_view>

#include "action.h"
#include "image.h"
#include "menu.h"

namespace quill {

/// The core as a desktop sees it, where the platform's objects may call the tray manager's operations by name. The
/// actions that buttons, menu items and timers send come through perform().
class Tray : public Responder {
 public:
  /// The tray manager of the process, made on first use. Defined by the core. Any thread.
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

/// Logs, as an error, what the platform could not do and gave no other sign of. Defined by the core. Any thread.
void reportFault(std::string_view what);

}  // namespace quill
