#pragma once

#include <cstddef>
#include <memory>

#include "process_queue.h"
#include "url.h"

namespace quill::freedesktop {

/// Opens URLs in the user's default handlers, one after the other, on a thread of its own, because finding a handler
/// reads files. Each application on the bus has a further thread until the application runs. A process that exits waits
/// for these threads, as for its log. GIO finds the handler but does not start it, because GIO would keep a connection
/// to the session bus and end the process when that connection closes. Any thread.
class UrlOpener {
 public:
  /// URLs that may wait; a further one is not opened and logs an error line.
  static constexpr std::size_t kMaxWaiting = 256;

  UrlOpener();
  void open(const Url& url);

 private:
  struct Request;
  class Requests;

  std::shared_ptr<Requests> requests_;
  posix::ProcessQueue queue_{"open-url", posix::Priority::ordinary};  // handlers inherit the priority
};

}  // namespace quill::freedesktop
