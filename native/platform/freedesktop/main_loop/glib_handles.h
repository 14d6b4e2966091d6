#pragma once

#include <glib.h>

#include <memory>

#include "deleter.h"

namespace quill::freedesktop {

struct SourceEnd {
  void operator()(GSource* source) const {
    g_source_destroy(source);
    g_source_unref(source);
  }
};
/// A source that the handle removes from its main context, even during the source's own dispatch.
using SourceHandle = std::unique_ptr<GSource, SourceEnd>;
/// The ready time of a source that has none.
constexpr gint64 kNever = -1;

using GCharPointer = std::unique_ptr<char, Deleter<g_free>>;

}  // namespace quill::freedesktop
