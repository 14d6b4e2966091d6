#pragma once

#include "forked_host.h"
#include "private_bus.h"
#include "quill_tray_manager.h"

namespace quill::tests {

class HostTest : public ForkedHost {
 protected:
  HostTest() {
    for (const auto* name : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) setenv(name, home.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
  }

  /// Runs `host` until it exits. Answers with what it logged, as "LEVEL message".
  Lines run(const std::function<void()>& host) {
    fs::remove(file);
    ForkedHost::run(host);
    return logged();
  }

  PrivateBus bus;  // not started: items wait for it
};

}  // namespace quill::tests
