#pragma once

namespace quill::freedesktop {

/// The panels that an item is shown to in a way of their own, told apart by who owns the watcher's name.
enum class PanelKind { other, gnome, plasma };

}  // namespace quill::freedesktop
