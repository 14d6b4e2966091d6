#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "action.h"
#include "gobject_handles.h"
#include "menu.h"

namespace quill::freedesktop {

/// Guards against recursion: while the library queries a host's menu, the host may trigger another read. Main thread.
struct HostMenuReads {
  int depth = 0;
  int total = 0;  ///< since the outermost read began
};

/// A host's GMenuModel as a tray menu. It holds a reference to the model, follows the model and its actions, and
/// activates the actions. Each call of a host's object may call any function of this library, even the release of its
/// last reference. Main thread.
class HostMenu : public Menu, public Responder, public std::enable_shared_from_this<HostMenu> {
 public:
  /// Null for a null pointer and for an object that is no GMenuModel. `reads` is shared by all menus of a desktop.
  static std::shared_ptr<HostMenu> adopt(const void* menu, std::shared_ptr<HostMenuReads> reads);

  /// adopt() is what to call.
  HostMenu(GMenuModel* model, std::shared_ptr<HostMenuReads> reads)
      : model_(holdObject(model)), reads_(std::move(reads)) {}

  /// Asked from inside too many other reads, it answers with what was read last.
  Items items() const override;
  std::string description() const override;
  /// Activates the action of an item of the model.
  bool perform(Selector selector, const MenuItem* sender) override;

 private:
  class Builder;
  struct NamedAction {
    ObjectPointer<GActionGroup> group;  // null: no such action
    std::string name;                   // without its prefix
  };

  NamedAction find(const std::string& prefixedName) const;
  static void changed(HostMenu* self);

  ObjectPointer<GMenuModel> model_;
  std::shared_ptr<HostMenuReads> reads_;
  // The results of the last read, and the handlers that tell when they are outdated.
  mutable bool isOutdated_ = true;
  mutable std::uint64_t readsBegun_ = 0;
  mutable std::uint64_t lastRead_ = 0;  // differs from readsBegun_ during a read
  mutable Items built_;
  mutable std::vector<SignalConnection> connections_;
};

}  // namespace quill::freedesktop
