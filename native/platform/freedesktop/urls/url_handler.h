#pragma once

#include <optional>
#include <string>

#include "detached_program.h"
#include "url.h"

namespace quill::freedesktop {

/// An application that opens URLs, as its desktop file says.
struct UrlHandler {
  std::string busName;  // where it wants URLs over the bus; else empty
  Program program;      // with the URL among its arguments; without arguments there is none
};

/// The user's default handler of a URL's scheme or, for a local file, of its type. Reads files. Any thread.
std::optional<UrlHandler> findUrlHandler(const Url& url);

/// The path that a `file:` URL names; empty for other URLs.
std::string localPath(const Url& url);

}  // namespace quill::freedesktop
