#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "desktop.h"
#include "memory_main_queue.h"

namespace quill::memory {

/// A desktop without a screen: records what a user would see and does what a user would do.
class Desktop : public quill::Desktop {
 public:
  /// The one that quill::Desktop::current() answers with.
  static Desktop& current();
  /// Whether anyone has asked for it yet.
  static bool isMade() { return made_; }

  Desktop() { application.emplace(); }

  // What a machine can refuse; the application object goes with `application.reset()`.
  bool refusesStatusItems = false;
  bool refusesButtons = false;

  // What happened.
  struct Shown {
    std::chrono::nanoseconds at;
    std::optional<Image> image;  ///< empty: the place holds no image
  };
  struct PoppedUp {
    const Menu* menu;
    Point at;
  };
  std::vector<Shown> shown;  ///< one entry for each time the bar's picture changed
  std::vector<PoppedUp> poppedUp;
  int presentations = 0;
  int statusItemsMade = 0;
  int statusItemsInBar = 0;
  int prepared = 0;
  std::shared_ptr<View> presentedGroup;  ///< the views that were handed over last
  int terminations = 0;
  std::vector<std::string> urlsOpened;

  /// The menu objects of a host: what adoptMenu takes as their addresses is the key.
  std::map<const void*, std::shared_ptr<Menu>> hostMenus;

  // The user. A click that no item can take does nothing.
  void click() { mouseUp(EventType::leftMouseUp); }
  void rightClick() { mouseUp(EventType::rightMouseUp); }
  void mouseUp(EventType type);
  /// Chooses the first entry with this title from the menu that the bar was told last; false: none.
  bool choose(std::string_view title);

  std::shared_ptr<StatusItem> statusItem() const { return newest_.lock(); }
  MainQueue& mainQueue() override { return mainQueue_; }
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  void present(std::shared_ptr<View> group) override { presentedGroup = std::move(group); }
  void prepare(Image& image) override;
  std::shared_ptr<Menu> adoptMenu(const void* menu) override;
  void openUrl(const Url& url) override { urlsOpened.push_back(url.text); }
  void terminate() override { ++terminations; }

 private:
  class Presenter;
  static inline std::atomic<bool> made_ = false;

  MainQueue mainQueue_;
  std::weak_ptr<StatusItem> newest_;
};

}  // namespace quill::memory
