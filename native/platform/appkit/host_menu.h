#pragma once

#import <AppKit/AppKit.h>

#include "foundation.h"
#include "menu.h"

namespace quill::appkit {

/// A host's NSMenu, held for as long as this lives. Its items stay the host's: shown, and told of a choice, by the
/// platform alone. Main thread.
class HostMenu : public Menu {
 public:
  explicit HostMenu(NSMenu* menu) : menu_(menu) {}
  /// Null for nil and for an object that is no NSMenu.
  static std::shared_ptr<HostMenu> adopt(id menu);

  NSMenu* native() const { return menu_.get(); }
  /// The titles alone; anew whenever asked.
  Items items() const override;
  void lookChanged() override;
  std::string description() const override;

 private:
  const Handle<NSMenu> menu_;
  mutable Items items_;  // as they were read last
};

}  // namespace quill::appkit
