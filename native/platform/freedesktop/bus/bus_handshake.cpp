#include "bus_handshake.h"

#include <fcntl.h>
#include <glib.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "glib_handles.h"

namespace quill::freedesktop {
namespace {

constexpr std::size_t kMaxAnswers = 1024;  // bytes

bool connectTo(int socket, std::string_view path) {
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof place.sun_path) return false;
  path.copy(place.sun_path, path.size());
  return connect(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
}

/// The socket of the first of an address's alternatives that is a path and takes a connection; else -1.
int connectedSocket(std::string_view address) {
  constexpr std::string_view kPath = "unix:path=";
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  while (socket >= 0 && !address.empty()) {
    const auto alternative = address.substr(0, address.find(';'));
    address.remove_prefix(std::min(alternative.size() + 1, address.size()));
    if (!alternative.starts_with(kPath)) continue;
    const auto value = alternative.substr(kPath.size(), alternative.find(',') - kPath.size());
    const GCharPointer path(g_uri_unescape_segment(value.data(), value.data() + value.size(), nullptr));
    if (path && connectTo(socket, path.get())) return socket;
  }
  if (socket >= 0) close(socket);
  return -1;
}

bool sendAll(int socket, std::string_view text) {
  return send(socket, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

/// Who asks is this process's user, whose number is told in hexadecimal digits of its decimal ones.
std::string request() {
  std::string text("\0AUTH EXTERNAL ", 15);
  for (const char digit : std::to_string(geteuid())) text += {'3', digit};
  return text + "\r\nNEGOTIATE_UNIX_FD\r\n";
}

}  // namespace

BusHandshake::BusHandshake(const std::string& address) : socket_(connectedSocket(address)) {
  if (isConnected()) sendAll(descriptor(), request());  // what does not go out is never answered
}

int BusHandshake::advance() {
  std::array<char, kMaxAnswers> some{};
  const auto count = recv(descriptor(), some.data(), some.size() - answers_.size(), 0);
  if (count == 0) return -ECONNRESET;
  if (count < 0) return errno == EAGAIN || errno == EINTR ? 0 : -errno;
  answers_.append(some.data(), static_cast<std::size_t>(count));
  const auto first = answers_.find("\r\n");
  const bool isComplete = first != std::string::npos && answers_.find("\r\n", first + 2) != std::string::npos;
  if (!isComplete) return answers_.size() < kMaxAnswers ? 0 : -EPROTO;
  return answers_.starts_with("OK ") && sendAll(descriptor(), "BEGIN\r\n") ? 1 : -EPROTO;
}

int BusHandshake::finish(std::chrono::milliseconds timeout) {
  int result = 0;
  while (result == 0) {
    pollfd answer{descriptor(), POLLIN, 0};
    if (poll(&answer, 1, static_cast<int>(timeout.count())) == 0) return -ETIMEDOUT;
    result = advance();
  }
  return result;
}

// sd-bus has no way in behind the handshake. So it has one of its own, with the answers that came,
// over a pair of sockets, in whose place the connection is put before the first message.
int BusHandshake::start(sd_bus* bus) {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair.data()) < 0) return -errno;
  const posix::FileDescriptor answering(pair[1]);
  int result = sd_bus_set_fd(bus, pair[0], pair[0]);
  if (result < 0) {
    close(pair[0]);
    return result;
  }
  if (!sendAll(answering.number(), "DATA\r\n" + answers_)) return -EPROTO;
  result = sd_bus_start(bus);
  if (result >= 0) result = sd_bus_process(bus, nullptr);  // takes the answers in
  if (result >= 0 && dup3(descriptor(), pair[0], O_CLOEXEC) < 0) result = -errno;
  return result;
}

}  // namespace quill::freedesktop
