#include "status_notifier_item.h"

#include <string_view>
#include <utility>

#include "bus_message.h"
#include "dbusmenu.h"
#include "host_application.h"
#include "member_callbacks.h"
#include "symbolic_svg.h"

namespace quill::freedesktop {
namespace {

constexpr auto kItemInterface = "org.kde.StatusNotifierItem";

/// An icon that is shown for so long is at rest.
constexpr std::chrono::milliseconds kRest{200};

const char* statusName(bool isActive) { return isActive ? "Active" : "Passive"; }

// Properties that are the same for every item.
void appendEmpty(MessageWriter& to) { to.append(""); }
void appendNoPixels(MessageWriter& to) {
  to.container('a', "(iiay)", [] {});
}
void appendCategory(MessageWriter& to) { to.append("ApplicationStatus"); }
void appendWindowId(MessageWriter& to) { to.append(std::int32_t{0}); }
void appendMenuPath(MessageWriter& to) { to.appendPath(DBusMenu::kPath); }
void appendItemIsMenu(MessageWriter& to) { to.append(false); }

}  // namespace

const sd_bus_vtable StatusNotifierItem::kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("ContextMenu", "ii", "", call<&StatusNotifierItem::contextMenu>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Activate", "ii", "", call<&StatusNotifierItem::activate>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SecondaryActivate", "ii", "", call<&StatusNotifierItem::ignore>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Scroll", "is", "", call<&StatusNotifierItem::ignore>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("ProvideXdgActivationToken", "s", "", call<&StatusNotifierItem::provideXdgActivationToken>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Category", "s", get<appendCategory>, 0, 0),
    SD_BUS_PROPERTY("Id", "s", get<&StatusNotifierItem::id_>, 0, 0),
    SD_BUS_PROPERTY("Title", "s", get<&StatusNotifierItem::name_>, 0, 0),
    SD_BUS_PROPERTY("Status", "s", get<&StatusNotifierItem::appendStatus>, 0, 0),
    SD_BUS_PROPERTY("WindowId", "i", get<appendWindowId>, 0, 0),
    SD_BUS_PROPERTY("IconName", "s", get<&StatusNotifierItem::appendIconName>, 0, 0),
    SD_BUS_PROPERTY("IconPixmap", "a(iiay)", get<&StatusNotifierItem::appendIcon>, 0, 0),
    SD_BUS_PROPERTY("IconAccessibleDesc", "s", get<&StatusNotifierItem::name_>, 0, 0),
    SD_BUS_PROPERTY("OverlayIconName", "s", get<appendEmpty>, 0, 0),
    SD_BUS_PROPERTY("OverlayIconPixmap", "a(iiay)", get<appendNoPixels>, 0, 0),
    SD_BUS_PROPERTY("AttentionIconName", "s", get<appendEmpty>, 0, 0),
    SD_BUS_PROPERTY("AttentionIconPixmap", "a(iiay)", get<appendNoPixels>, 0, 0),
    SD_BUS_PROPERTY("AttentionMovieName", "s", get<appendEmpty>, 0, 0),
    SD_BUS_PROPERTY("AttentionAccessibleDesc", "s", get<appendEmpty>, 0, 0),
    SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", get<&StatusNotifierItem::appendToolTip>, 0, 0),
    SD_BUS_PROPERTY("IconThemePath", "s", get<&StatusNotifierItem::appendIconThemePath>, 0, 0),
    SD_BUS_PROPERTY("Menu", "o", get<appendMenuPath>, 0, 0),
    SD_BUS_PROPERTY("ItemIsMenu", "b", get<appendItemIsMenu>, 0, 0),
    SD_BUS_SIGNAL("NewTitle", "", 0),
    SD_BUS_SIGNAL("NewIcon", "", 0),
    SD_BUS_SIGNAL("NewAttentionIcon", "", 0),
    SD_BUS_SIGNAL("NewOverlayIcon", "", 0),
    SD_BUS_SIGNAL("NewToolTip", "", 0),
    SD_BUS_SIGNAL("NewStatus", "s", 0),
    SD_BUS_SIGNAL("NewIconThemePath", "s", 0),
    SD_BUS_SIGNAL("NewMenu", "", 0),
    SD_BUS_VTABLE_END};

StatusNotifierItem::StatusNotifierItem(Bus& bus, GlibMainQueue& queue, std::function<void(EventType)> clicked)
    : bus_(bus), clicked_(std::move(clicked)), rest_(queue, [this] {
        isMoving_ = false;
        writeFile();
        signal("NewIcon");
      }) {}

void StatusNotifierItem::exportOn(sd_bus* bus) {
  sd_bus_add_object_vtable(bus, nullptr, kPath, kItemInterface, kVtable, this);
}

void StatusNotifierItem::show(const StatusItem& item) {
  if (id_.empty()) id_ = hostId();
  if (auto name = hostName(); name != name_) {
    name_ = std::move(name);
    signal("NewTitle");
    signal("NewToolTip");
  }
  const auto& button = item.button();
  if (const bool isActive = item.isVisible() && button && !button->isHidden(); isActive != isActive_) {
    isActive_ = isActive;
    signal("NewStatus", statusName(isActive_));
    // xfce4-panel 4.18 paints the icon of an item that becomes active in white, until its path differs.
    if (isActive_ && panel_->keepsPaintedIcon) repaint();
  }
  const auto image = button ? button->image() : std::nullopt;
  if (image == image_) return;
  image_ = image;
  auto icon = image ? iconRenderingOf(*image) : nullptr;
  if (icon == icon_ || (icon && icon_ && icon->hasSamePixels(*icon_))) return;
  isMoving_ = panel_->animatesPixels && isMoving(icon);
  icon_ = std::move(icon);
  writeFile();
  signal("NewIcon");
}

bool StatusNotifierItem::isMoving(const std::shared_ptr<const IconRendering>& next) {
  const auto now = monotonicNow();
  const bool isSoon = now - std::exchange(shownAt_, now) < kRest;
  if (!isSoon) atRest_ = icon_;
  if (!isSoon || next == atRest_) {  // as when an animation ends
    rest_.cancel();
    return false;
  }
  rest_.setDueIn(kRest);
  return true;
}

void StatusNotifierItem::setPanel(const Panel& panel, std::shared_ptr<IconFolder> folder) {
  panel_ = &panel;
  bar_ = {panel.tone};
  if (!folder && !folder_) return;
  folder_ = std::move(folder);
  writeFile();
  // For a panel that read the item before its watcher was there.
  signal("NewIconThemePath", themePath().c_str());
  signal("NewIcon");
}

void StatusNotifierItem::setBar(const Bar& bar) {
  if (bar == bar_) return;
  bar_ = bar;
  writeFile();
  signal("NewIcon");
}

void StatusNotifierItem::repaint() {
  if (fileName_.empty()) return;
  hasLongPath_ = panel_->keepsPaintedIcon && !hasLongPath_;
  signal("NewIcon");
}

void StatusNotifierItem::writeFile() {
  fileName_.clear();
  if (!folder_ || !icon_ || isMoving_ || bar_.isOfOtherColours) return;
  const auto svg = symbolicSvg(icon_->shape(), *panel_);
  auto name = symbolicName(svg);
  if (!svg.empty() && folder_->write(name, svg)) fileName_ = std::move(name);
}

void StatusNotifierItem::signal(const char* member, const char* argument) {
  sd_bus* const bus = bus_.connection();
  if (bus != nullptr)
    sd_bus_emit_signal(bus, kPath, kItemInterface, member, argument != nullptr ? "s" : nullptr, argument);
}

int StatusNotifierItem::click(sd_bus_message* call, EventType type) {
  const int result = sd_bus_reply_method_return(call, nullptr);
  clicked_(type);
  return result;
}

int StatusNotifierItem::ignore(sd_bus_message* call, sd_bus_error*) {
  takeActivationToken();  // it was for this event alone
  return sd_bus_reply_method_return(call, nullptr);
}

int StatusNotifierItem::provideXdgActivationToken(sd_bus_message* call, sd_bus_error*) {
  const char* token = nullptr;
  if (const int result = sd_bus_message_read(call, "s", &token); result < 0) return result;
  if (auto given = ActivationToken::parse(token)) activationToken_ = *std::move(given);
  return sd_bus_reply_method_return(call, nullptr);
}

void StatusNotifierItem::appendStatus(MessageWriter& to) const { to.append(statusName(isActive_)); }

std::string StatusNotifierItem::themePath() const {
  if (!folder_ || panel_->icon == IconForm::file) return {};
  return folder_->path() + (hasLongPath_ ? "/" : "");
}

void StatusNotifierItem::appendIconName(MessageWriter& to) const {
  const bool isPath = panel_->icon == IconForm::file && !fileName_.empty();
  to.append(isPath ? folder_->path() + '/' + fileName_ + ".svg" : fileName_);
}

void StatusNotifierItem::appendIconThemePath(MessageWriter& to) const { to.append(themePath()); }

void StatusNotifierItem::appendIcon(MessageWriter& to) const {
  to.container('a', "(iiay)", [&] {
    if (!icon_) return;
    for (const auto& pixels : icon_->sizes()) {
      to.container('r', "iiay", [&] {
        to.append(std::int32_t{pixels.width});
        to.append(std::int32_t{pixels.height});
        if (bar_.tone == Tone::white) return to.appendBytes(pixels.argb.data(), pixels.argb.size());
        const auto argb = inOtherTone(pixels.argb);
        to.appendBytes(argb.data(), argb.size());
      });
    }
  });
}

void StatusNotifierItem::appendToolTip(MessageWriter& to) const {
  to.container('r', "sa(iiay)ss", [&] {
    appendEmpty(to);
    appendNoPixels(to);
    to.append(name_);
    appendEmpty(to);
  });
}

}  // namespace quill::freedesktop
