#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "activation_token.h"
#include "application.h"
#include "bus.h"
#include "icon_folder.h"
#include "icon_rendering.h"
#include "panel.h"
#include "status_item.h"

namespace quill::freedesktop {

class MessageWriter;

/// org.kde.StatusNotifierItem: what a panel shows of a status item. Main thread.
class StatusNotifierItem {
 public:
  static constexpr auto kPath = "/StatusNotifierItem";

  /// `clicked` is called from within the bus's dispatch, after the panel has its answer.
  StatusNotifierItem(Bus& bus, GlibMainQueue& queue, std::function<void(EventType)> clicked);
  StatusNotifierItem(const StatusNotifierItem&) = delete;
  StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

  /// Copies what `item` shows, and signals what changed.
  void show(const StatusItem& item);
  void exportOn(sd_bus* bus);
  /// Shows the item in the form for `panel` from now on. `folder` is the place of icon files, or null for a panel that
  /// reads pixels, because many such panels show a broken image for a name that they cannot draw.
  void setPanel(const Panel& panel, std::shared_ptr<IconFolder> folder);
  /// Shows the icon in the tone for this bar from now on, and in pixels on a bar of other colours than the panel's.
  void setBar(const Bar& bar);
  /// Makes the panel paint an icon in its own colour again.
  void repaint();
  /// The activation token that the panel sent for the event that follows it.
  ActivationToken takeActivationToken() { return std::exchange(activationToken_, {}); }

 private:
  static const sd_bus_vtable kVtable[];

  int contextMenu(sd_bus_message* call, sd_bus_error*) { return click(call, EventType::rightMouseUp); }
  int activate(sd_bus_message* call, sd_bus_error*) { return click(call, EventType::leftMouseUp); }
  int click(sd_bus_message* call, EventType type);
  int ignore(sd_bus_message* call, sd_bus_error*);
  int provideXdgActivationToken(sd_bus_message* call, sd_bus_error*);

  void appendStatus(MessageWriter& to) const;
  void appendIconName(MessageWriter& to) const;
  void appendIconThemePath(MessageWriter& to) const;
  void appendIcon(MessageWriter& to) const;
  void appendToolTip(MessageWriter& to) const;

  /// Where the panel looks for the icon's name; empty: nowhere.
  std::string themePath() const;
  /// Writes the icon's file, the only place that does.
  void writeFile();
  /// Whether the icon changes as in an animation: twice within a moment.
  bool isMoving(const std::shared_ptr<const IconRendering>& next);
  /// `argument` may be null: none.
  void signal(const char* member, const char* argument = nullptr);

  Bus& bus_;
  std::function<void(EventType)> clicked_;
  std::string id_;
  std::string name_;
  bool isActive_ = false;
  std::optional<Image> image_;                 // what icon_ was made of
  std::shared_ptr<const IconRendering> icon_;  // null: no icon
  const Panel* panel_ = &kUnknownPanel;
  std::shared_ptr<IconFolder> folder_;
  std::string fileName_;  // in folder_, without ".svg"; empty where the panel reads pixels
  Bar bar_;
  bool hasLongPath_ = false;  // the folder's path has one slash more
  bool isMoving_ = false;
  std::shared_ptr<const IconRendering> atRest_;  // the last icon that was shown for longer than a moment
  std::chrono::nanoseconds shownAt_{};           // of CLOCK_MONOTONIC
  OneShotTimer rest_;
  ActivationToken activationToken_;
};

}  // namespace quill::freedesktop
