#pragma once

#import <AppKit/AppKit.h>

#include "foundation.h"
#include "menu.h"

namespace quill::appkit {

/// A host's NSMenu, retained for as long as this object lives. AppKit shows its items and sends their actions; the
/// library does not take part. Main thread.
class HostMenu : public Menu {
 public:
  explicit HostMenu(NSMenu* menu) : menu_(menu) {}
  /// Null for nil and for an object that is no NSMenu.
  static std::shared_ptr<HostMenu> adopt(id menu);

  NSMenu* native() const { return menu_.get(); }
  /// Returns items that have only a title, read again at each call.
  Items items() const override;
  void lookChanged() override;
  std::string description() const override;

 private:
  const Handle<NSMenu> menu_;
  mutable std::vector<std::weak_ptr<MenuItem>> items_;  // as they were read last, while the reader holds them
};

}  // namespace quill::appkit
