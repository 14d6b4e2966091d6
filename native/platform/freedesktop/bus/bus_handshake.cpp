#include "bus_handshake.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "session_bus_address.h"

namespace quill::freedesktop {
namespace {

constexpr std::size_t kMaxAnswers = 1024;  // bytes

bool connectTo(int socket, std::string_view path) {
  sockaddr_un place{};
  place.sun_family = AF_UNIX;
  if (path.size() >= sizeof place.sun_path) return false;
  path.copy(place.sun_path, path.size());
  return connect(socket, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
}

/// Returns a socket connected to the first of the address's paths that accepts a connection, or -1.
int connectedSocket(const std::string& address) {
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket < 0) return -1;
  for (const auto& path : socketPaths(address)) {
    if (connectTo(socket, path)) return socket;
  }
  close(socket);
  return -1;
}

bool sendAll(int socket, std::string_view text) {
  return send(socket, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size());
}

/// Authenticates as this process's user: the decimal digits of the user's number, each in hexadecimal.
std::string request() {
  std::string text("\0AUTH EXTERNAL ", 15);
  for (const char digit : std::to_string(geteuid())) text += {'3', digit};
  return text + "\r\nNEGOTIATE_UNIX_FD\r\n";
}

}  // namespace

BusHandshake::BusHandshake(const std::string& address) : socket_(connectedSocket(address)) {
  if (isConnected()) sendAll(descriptor(), request());  // a failure shows as a missing answer
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

// sd-bus insists on a handshake of its own. It runs that handshake against one end of a socket pair, in which the
// server's replies lie ready. Then dup3(2) puts the real connection in the place of sd-bus's descriptor, before the
// first message.
int BusHandshake::start(sd_bus* bus) {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, pair.data()) < 0) return -errno;
  const posix::FileDescriptor theirs(pair[0]);
  const posix::FileDescriptor answering(pair[1]);
  if (!sendAll(answering.number(), "DATA\r\n" + answers_)) return -EPROTO;
  const int socket = fcntl(theirs.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (socket < 0) return -errno;
  int result = sd_bus_set_fd(bus, socket, socket);  // which owns it from here on
  if (result >= 0) result = sd_bus_start(bus);
  if (result >= 0) result = sd_bus_process(bus, nullptr);  // reads the answers
  if (result >= 0 && dup3(descriptor(), socket, O_CLOEXEC) < 0) result = -errno;
  return result;
}

}  // namespace quill::freedesktop
