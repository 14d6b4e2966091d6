#pragma once

#include <gio/gio.h>

#include <string>

#include "gobject_handles.h"

namespace quill::freedesktop {

/// While it lives, what the host does counts as asked for by the user: the default GApplication is
/// told the panel's token, as it is for what arrives from another process, so that a window which is
/// presented meanwhile may be raised. Nothing without a token or such an application. Main thread.
class ActivationScope {
 public:
  explicit ActivationScope(const std::string& token);
  ActivationScope(const ActivationScope&) = delete;
  ActivationScope& operator=(const ActivationScope&) = delete;
  ~ActivationScope();

 private:
  ObjectPointer<GApplication> application_;
  VariantPointer platformData_;
};

}  // namespace quill::freedesktop
