#include "memory_desktop.h"

#include <algorithm>

#include "no_destructor.h"

namespace quill {

Desktop& Desktop::current() { return memory::Desktop::current(); }

namespace memory {

class Desktop::Presenter : public StatusItemPresenter {
 public:
  explicit Presenter(Desktop& desktop) : desktop_(desktop) { ++desktop_.statusItemsInBar; }
  Presenter(const Presenter&) = delete;
  Presenter& operator=(const Presenter&) = delete;
  ~Presenter() override { --desktop_.statusItemsInBar; }

  void present(const StatusItem& item) override {
    ++desktop_.presentations;
    const auto image =
        item.button() && !item.button()->isHidden() && item.isVisible() ? item.button()->image() : std::nullopt;
    if (image == image_) return;
    image_ = image;
    desktop_.shown.push_back({desktop_.mainQueue_.now(), image});
  }
  void popUp(const Menu& menu, Point at) override { desktop_.poppedUp.push_back({&menu, at}); }

 private:
  Desktop& desktop_;
  std::optional<Image> image_;
};

Desktop& Desktop::current() {
  static NoDestructor<Desktop> desktop;
  made_ = true;
  return desktop.get();
}

void Desktop::mouseUp(EventType type) {
  if (const auto item = statusItem()) deliver(type, *item);
}

bool Desktop::choose(std::string_view title) {
  const auto item = statusItem();
  if (!item || !item->announcedMenu()) return false;
  const auto items = item->announcedMenu()->items();  // held, as the choice may replace the menu
  const auto chosen =
      std::find_if(items.begin(), items.end(), [&](const auto& entry) { return entry->title == title; });
  if (chosen == items.end()) return false;
  (*chosen)->choose();
  return true;
}

std::shared_ptr<StatusItem> Desktop::makeStatusItem(double length) {
  if (refusesStatusItems) return nullptr;
  auto item = StatusItem::make(length, mainQueue_, std::make_unique<Presenter>(*this), !refusesButtons);
  newest_ = item;
  return item;
}

void Desktop::prepare(Image& image) {
  ++prepared;
  auto kept = std::make_shared<Picture>();
  kept->width = image.picture()->width;
  kept->height = image.picture()->height;
  image.setPicture(std::move(kept));
}

}  // namespace memory
}  // namespace quill
