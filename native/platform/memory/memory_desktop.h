#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "desktop.h"
#include "memory_main_queue.h"

namespace quill::memory {

/// A desktop without a screen, for tests: records what a user would see and does what a user would do.
class Desktop : public quill::Desktop {
 public:
  /// The object that quill::Desktop::current() returns.
  static Desktop& current();
  /// Whether current() has been called.
  static bool isMade() { return made_; }

  Desktop() { application.emplace(); }

  bool refusesStatusItems = false;
  bool refusesButtons = false;

  struct Shown {
    std::chrono::nanoseconds at;
    std::optional<Image> image;  ///< empty: the item shows no image
  };
  struct PoppedUp {
    const Menu* menu;
    Point at;
  };
  std::vector<Shown> shown;  ///< one entry for each change of the item's image
  std::vector<PoppedUp> poppedUp;
  int presentations = 0;
  int statusItemsInBar = 0;
  int prepared = 0;
  int terminations = 0;
  std::vector<std::string> urlsOpened;

  // The user's actions.
  void click() { mouseUp(EventType::leftMouseUp); }
  void rightClick() { mouseUp(EventType::rightMouseUp); }
  void mouseUp(EventType type);
  /// Chooses the first item with this title in the announced menu; false if there is none.
  bool choose(std::string_view title);

  std::shared_ptr<StatusItem> statusItem() const { return newest_.lock(); }
  MainQueue& mainQueue() override { return mainQueue_; }
  std::shared_ptr<StatusItem> makeStatusItem(double length) override;
  void present(std::shared_ptr<View> /*group*/) override {}
  void prepare(Image& image) override;
  std::shared_ptr<Menu> adoptMenu(const void* /*menu*/) override { return nullptr; }
  void openUrl(const Url& url) override { urlsOpened.push_back(url.text); }
  void terminate() override { ++terminations; }

 private:
  class Presenter;
  static inline std::atomic<bool> made_ = false;

  MainQueue mainQueue_;
  std::weak_ptr<StatusItem> newest_;
};

}  // namespace quill::memory
