#pragma once

#include <gdk/gdk.h>

#include <array>
#include <optional>

#include "gobject_handles.h"

namespace quill::xembed {

/// Red, green, blue.
using Colour = std::array<guint8, 3>;
/// The X property with the colours that a tray wants for its icons.
inline constexpr auto kTrayColours = "_NET_SYSTEM_TRAY_COLORS";

/// The colour that the default display's tray wants for icons; empty: no tray, or no such property.
std::optional<Colour> trayInk();

/// The picture for a tray of `side` pixels, from pixmaps of type "a(iiay)"; null if none is usable. With `ink`, white
/// becomes that colour and black becomes transparent. Pure.
freedesktop::ObjectPointer<GdkPixbuf> trayPicture(GVariant* pixmaps, int side, std::optional<Colour> ink);

}  // namespace quill::xembed
