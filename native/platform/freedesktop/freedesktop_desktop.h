#pragma once

#include "desktop.h"
#include "forked_child.h"
#include "glib_main_queue.h"
#include "host_application.h"
#include "host_menu.h"
#include "icon_folder.h"
#include "url_opener.h"

namespace quill::freedesktop {

/// The panels of Linux desktops, reached through the session bus from GLib's default main context.
class Desktop : public quill::Desktop {
 public:
  Desktop() { application.emplace(); }

  MainQueue& mainQueue() override { return mainQueue_; }
  /// Null where the environment names no usable session bus. A bus that is not there yet is waited for.
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  /// Panels have no views.
  void present(std::shared_ptr<View> /*group*/) override {}
  void prepare(Image& image) override;
  std::shared_ptr<Menu> adoptMenu(const void* menu) override { return HostMenu::adopt(menu, hostMenuReads_); }
  void openUrl(const Url& url) override { urlOpener_.open(url); }
  void terminate() override { terminateHost(); }

  /// Removes the files made for panels, for good, as the process ends.
  void removeFiles() {
    if (!isForkedChild()) iconFolders_.close();
  }

 private:
  GlibMainQueue mainQueue_;
  IconFolders iconFolders_;
  UrlOpener urlOpener_;
  std::shared_ptr<HostMenuReads> hostMenuReads_ = std::make_shared<HostMenuReads>();
};

}  // namespace quill::freedesktop
