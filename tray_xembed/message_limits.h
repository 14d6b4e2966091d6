#pragma once

#include <gio/gio.h>

namespace quill::xembed {

/// Drops messages to this process that hold more than an item or a menu needs, because any process of the session can
/// send them. libdbusmenu uses the same connection. The bus itself bounds the depth.
void limitMessages(GDBusConnection* bus);

}  // namespace quill::xembed
