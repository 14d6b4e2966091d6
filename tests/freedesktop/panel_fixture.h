#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "fake_panel.h"
#include "freedesktop_desktop.h"
#include "menus.h"
#include "private_bus.h"

namespace quill::freedesktop {

/// An item on a private bus, and a panel that reads it.
class PanelTest : public ::testing::Test {
 protected:
  PanelTest() { setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1); }

  void makeItem() {
    item = desktop.makeStatusItem(kSquareStatusItemLength);
    ASSERT_NE(item, nullptr);
    item->button()->sendActionOn(kClickEvents);
    item->button()->setTarget(host);
    item->button()->setAction("click");
  }
  void show(const std::vector<Row>& rows) { item->announceMenu(menuOf(rows, host)); }
  /// An item with two entries in a panel.
  void showInPanel() {
    bus.start();
    panel = std::make_unique<FakePanel>(bus.address());
    makeItem();
    show({{"a", "A"}, {"b", "B"}});
    ASSERT_TRUE(panel->waitForItem());
    panel->takeSignals();
  }
  Image image() {
    auto pixels = std::make_shared<Pixels>(Pixels{44, 44, {}});
    for (int i = 0; i < 44 * 44; ++i) pixels->rgba.insert(pixels->rgba.end(), {1, 2, 3, 255});
    Image made(pixels, {22, 22});
    desktop.prepare(made);
    return made;
  }
  /// Reads the menu as panels do; answers with the ids of the entries on top.
  std::vector<std::int32_t> readMenu() {
    const auto reply = panel->call(FakePanel::kMenu, "GetLayout", "iias", 0, -1, 0);
    std::vector<std::int32_t> ids;
    sd_bus_message_skip(reply.get(), "u");
    sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av");
    sd_bus_message_skip(reply.get(), "ia{sv}");
    sd_bus_message_enter_container(reply.get(), 'a', "v");
    while (sd_bus_message_enter_container(reply.get(), 'v', "(ia{sv}av)") > 0) {
      sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av");
      sd_bus_message_read(reply.get(), "i", &ids.emplace_back());
      sd_bus_message_skip(reply.get(), "a{sv}av");
      sd_bus_message_exit_container(reply.get());
      sd_bus_message_exit_container(reply.get());
    }
    return ids;
  }
  MessageHandle choose(std::int32_t id) {
    return panel->call(FakePanel::kMenu, "Event", "isvu", id, "clicked", "i", 0, 0U);
  }

  PrivateBus bus;
  Desktop desktop;
  std::shared_ptr<Host> host = std::make_shared<Host>();
  std::shared_ptr<StatusItem> item;
  std::unique_ptr<FakePanel> panel;
};

}  // namespace quill::freedesktop
