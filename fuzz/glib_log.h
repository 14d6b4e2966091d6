#pragma once

#include <glib.h>

#include "require.h"

namespace quill::fuzz {

/// From now on what GLib and its like report as a caller's fault is a finding.
inline void refuseCriticals() {
  g_log_set_default_handler(
      [](const char* domain, GLogLevelFlags level, const char* message, gpointer) {
        g_log_default_handler(domain, level, message, nullptr);
        require((level & (G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_ERROR)) == 0);
      },
      nullptr);
}

}  // namespace quill::fuzz
