#pragma once

#import <AppKit/AppKit.h>

#include "foundation.h"
#include "menu.h"

namespace quill::appkit {

/// A host's NSMenu, which this object retains. AppKit shows the items and sends their actions without the library. Main
/// thread.
class HostMenu : public Menu {
 public:
  explicit HostMenu(NSMenu* menu) : menu_(menu) {}
  /// Returns null for nil and for an object that is no NSMenu.
  static std::shared_ptr<HostMenu> adopt(id menu);

  NSMenu* native() const { return menu_.get(); }
  /// Reads the items at each call. The returned items have only a title.
  Items items() const override;
  void lookChanged() override;
  std::string description() const override;

 private:
  const Handle<NSMenu> menu_;
  mutable std::vector<std::weak_ptr<MenuItem>> items_;  // of the last items(), while its caller holds them
};

}  // namespace quill::appkit
