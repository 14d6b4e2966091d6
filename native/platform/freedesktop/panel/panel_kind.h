#pragma once

namespace quill::freedesktop {

/// Panels that get an item in a form of their own, told apart by the other names that the watcher's owner has.
enum class PanelKind { other, gnome, plasma };

}  // namespace quill::freedesktop
