#pragma once

#include <gio/gio.h>

#include <memory>
#include <string>
#include <vector>

#include "action.h"
#include "gobject_handles.h"
#include "menu.h"

namespace quill::freedesktop {

/// A host's GMenuModel as a tray menu: follows the model and the actions that its items name, and
/// activates those. It holds the model for as long as it lives. Main thread.
class HostMenu : public Menu, public Responder, public std::enable_shared_from_this<HostMenu> {
 public:
  /// Null for a null pointer and for an object that is no GMenuModel.
  static std::shared_ptr<HostMenu> adopt(const void* menu);

  const Items& items() const override;
  std::string description() const override;
  /// The action of an item of the model.
  bool perform(Selector selector, const MenuItem* sender) override;

 protected:
  explicit HostMenu(GMenuModel* model) : model_(holdObject(model)) {}

 private:
  class Builder;
  struct NamedAction {
    GActionGroup* group;  // null: no such action
    std::string name;     // without its prefix
  };

  NamedAction find(const std::string& prefixedName) const;
  static void changed(HostMenu* self);

  ObjectPointer<GMenuModel> model_;
  // What was made of the model, and the handlers that tell when that is out of date.
  mutable bool isOutdated_ = true;
  mutable Items built_;
  mutable std::vector<SignalConnection> connections_;
};

}  // namespace quill::freedesktop
