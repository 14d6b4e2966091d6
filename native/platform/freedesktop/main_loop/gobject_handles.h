#pragma once

#include <gio/gio.h>

#include <memory>
#include <utility>

#include "deleter.h"

namespace quill::freedesktop {

/// A reference of our own.
template <typename Object>
using ObjectPointer = std::unique_ptr<Object, Deleter<g_object_unref>>;

template <typename Object>
ObjectPointer<Object> holdObject(Object* object) {
  return ObjectPointer<Object>(static_cast<Object*>(g_object_ref(object)));
}

using VariantPointer = std::unique_ptr<GVariant, Deleter<g_variant_unref>>;

/// A signal handler that this object disconnects. The object holds a reference to the sender. Connecting and
/// disconnecting may call the host, because the host may watch its objects' references.
class SignalConnection {
 public:
  SignalConnection(gpointer sender, const char* signal, GCallback handler, gpointer data)
      : sender_(holdObject(static_cast<GObject*>(sender))),
        id_(g_signal_connect_swapped(sender, signal, handler, data)) {}
  SignalConnection(SignalConnection&& other) noexcept
      : sender_(std::move(other.sender_)), id_(std::exchange(other.id_, 0)) {}
  SignalConnection& operator=(SignalConnection&&) = delete;
  ~SignalConnection() {
    // A sender that was disposed of has no handlers left.
    if (sender_ && g_signal_handler_is_connected(sender_.get(), id_) != FALSE) {
      g_signal_handler_disconnect(sender_.get(), id_);
    }
  }

 private:
  ObjectPointer<GObject> sender_;
  gulong id_;
};

}  // namespace quill::freedesktop
