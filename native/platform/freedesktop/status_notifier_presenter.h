#pragma once

#include <memory>
#include <string>

#include "bar_colours.h"
#include "bus.h"
#include "dbusmenu.h"
#include "desktop.h"
#include "host_calls.h"
#include "icon_folder.h"
#include "registration.h"
#include "status_item.h"
#include "status_notifier_item.h"
#include "xembed_tray.h"

namespace quill::freedesktop {

/// One status item on a connection of its own. Main thread.
class StatusNotifierPresenter : public StatusItemPresenter {
 public:
  /// Connects at the first present(), so that the bus is only touched from the main loop.
  StatusNotifierPresenter(quill::Desktop& desktop, GlibMainQueue& queue, IconFolders& iconFolders,
                          const std::string& busAddress);

  void present(const StatusItem& item) override;
  /// Nothing to do: the panel shows the announced menu itself.
  void popUp(const Menu&, Point) override {}

 private:
  void clicked(EventType type);

  quill::Desktop& desktop_;
  const std::shared_ptr<HostCalls> hostCalls_;
  std::weak_ptr<const StatusItem> presented_;
  Bus bus_;
  StatusNotifierItem item_;
  DBusMenu menu_;
  BarColours barColours_;
  XEmbedTray xembedTray_;
  Registration registration_;
};

}  // namespace quill::freedesktop
