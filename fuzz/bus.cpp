// A status item with its menu, and a bus and a panel that send it whatever they like. All is one thread: the
// bus is this file's; the item's side is the library's down to its socket, in the default main context.
#include <gio/gio.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <set>
#include <sstream>
#include <vector>

#include "bus_text.h"
#include "file_descriptor.h"
#include "freedesktop_desktop.h"
#include "glib_log.h"
#include "gobject_handles.h"
#include "made_up_text.h"
#include "require.h"

namespace quill::fuzz {
namespace {

/// Turns of the main loop that one input may take: more is a loop that does not come to rest.
constexpr int kMaxTurns = 10'000;

/// Where the item finds its bus: a name of the kernel's, no file.
class Listener {
 public:
  Listener() : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto name = "quill-fuzz-" + std::to_string(getpid());
    name.copy(address.sun_path + 1, name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    require(bind(socket_.number(), reinterpret_cast<const sockaddr*>(&address), size) == 0);
    require(listen(socket_.number(), 8) == 0);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:abstract=" + name).c_str(), 1);
  }
  /// The connection that the item has asked for; negative if there is none.
  int accept() { return accept4(socket_.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC); }

 private:
  posix::FileDescriptor socket_;
};

using MessagePointer = freedesktop::ObjectPointer<GDBusMessage>;

/// Null for bytes that no bus passes on, but for the names in them.
MessagePointer parse(std::string& bytes, std::size_t size) {
  return MessagePointer(g_dbus_message_new_from_blob(reinterpret_cast<guchar*>(bytes.data()), size,
                                                     G_DBUS_CAPABILITY_FLAGS_UNIX_FD_PASSING, nullptr));
}

/// Whether a bus passes it on for certain: GIO takes more signatures than a bus does.
bool isCall(std::string& bytes) {
  constexpr std::size_t kMaxSignature = 32;  // so that it is not too deep either
  const auto message = parse(bytes, bytes.size());
  if (!message) return false;
  const std::string_view signature = g_dbus_message_get_signature(message.get());
  for (std::size_t i = 0; i < signature.size(); ++i) {
    if (signature.substr(i).starts_with("()")) return false;
    if (signature[i] == '{' && (i == 0 || signature[i - 1] != 'a')) return false;
  }
  return signature.size() <= kMaxSignature;
}

/// The bus's end of the item's connection.
class Wire {
 public:
  explicit Wire(int number) : socket_(number) { require(socket_.isOpen()); }

  void send(std::string_view bytes) {
    while (!bytes.empty() && !isClosed_) {
      const auto sent = ::send(socket_.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (sent > 0) {
        bytes.remove_prefix(static_cast<std::size_t>(sent));
      } else {
        require(errno == EAGAIN || errno == EPIPE || errno == ECONNRESET);
        isClosed_ = errno != EAGAIN;
      }
      settle();
    }
  }
  void send(Message message, std::uint32_t serial) {
    if (message.wantsAnswer) {
      mayBeAnswered_.insert(serial);
      if (isCall(message.bytes)) mustBeAnswered_.insert(serial);
    }
    send(message.bytes);
  }
  /// Runs the main loop until neither side has anything to say.
  void settle() {
    while (g_main_context_iteration(nullptr, FALSE) != FALSE || receive()) require(++turns_ < kMaxTurns);
  }
  /// Whether the item is gone from the bus.
  bool isClosed() const { return isClosed_; }
  bool isAllAnswered() const { return mustBeAnswered_.empty(); }

 private:
  bool receive() {
    std::array<char, 65536> buffer;
    const auto size = read(socket_.number(), buffer.data(), buffer.size());
    if (size <= 0) {
      isClosed_ = isClosed_ || size == 0 || errno == ECONNRESET;
      return false;
    }
    received_.append(buffer.data(), static_cast<std::size_t>(size));
    if (!isPastGreeting_) {
      constexpr std::string_view kLast = "BEGIN\r\n";
      const auto last = received_.find(kLast);
      if (last == std::string::npos) return true;
      received_.erase(0, last + kLast.size());
      isPastGreeting_ = true;
    }
    takeMessages();
    return true;
  }

  /// Every message is one that a bus passes on, and an answer is to a call that has none yet.
  void takeMessages() {
    constexpr std::size_t kFixedHeader = 16;
    while (received_.size() >= kFixedHeader) {
      const auto needed =
          g_dbus_message_bytes_needed(reinterpret_cast<guchar*>(received_.data()), received_.size(), nullptr);
      require(needed > 0);
      const auto size = static_cast<std::size_t>(needed);
      if (received_.size() < size) return;
      const auto message = parse(received_, size);
      require(message != nullptr);
      const auto type = g_dbus_message_get_message_type(message.get());
      if (type == G_DBUS_MESSAGE_TYPE_METHOD_RETURN || type == G_DBUS_MESSAGE_TYPE_ERROR) {
        const auto answered = g_dbus_message_get_reply_serial(message.get());
        require(mayBeAnswered_.erase(answered) == 1);
        mustBeAnswered_.erase(answered);
      }
      received_.erase(0, size);
    }
  }

  posix::FileDescriptor socket_;
  bool isClosed_ = false;
  bool isPastGreeting_ = false;
  int turns_ = 0;
  std::string received_;
  std::set<std::uint32_t> mayBeAnswered_;
  std::set<std::uint32_t> mustBeAnswered_;  // those of the former that a bus had passed on
};

/// The host: what it shows is told by words, and an entry called "again" makes it show its menu anew.
class Host : public Responder, public std::enable_shared_from_this<Host> {
 public:
  explicit Host(freedesktop::Desktop& desktop) : item_(desktop.makeStatusItem(kSquareStatusItemLength)) {
    require(item_ != nullptr);
  }
  void start() {
    item_->button()->sendActionOn(kClickEvents);
    item_->button()->setTarget(weak_from_this());
    item_->button()->setAction("click");
  }
  bool perform(Selector, const MenuItem* sender) override {
    if (sender != nullptr && sender->title == "again") showMenu("one [ two ] again");
    if (sender == nullptr) item_->setVisible(!item_->isVisible());
    return true;
  }

  /// Titles; "[" and "]" around those below the entry before, "-" a separator, "!…" disabled, "*…" checked.
  void showMenu(const std::string& line) {
    std::istringstream words(line);
    std::vector<std::shared_ptr<Menu>> open = {std::make_shared<Menu>()};
    for (std::string word; words >> word;) {
      const auto entries = open.back()->items();
      if (word == "[" && !entries.empty()) {
        open.push_back(entries.back()->submenu = std::make_shared<Menu>());
      } else if (word == "]" && open.size() > 1) {
        open.pop_back();
      } else if (word == "-") {
        open.back()->addItem(MenuItem::separator());
      } else {
        open.back()->addItem(entryOf(word));
      }
    }
    item_->announceMenu(open.front());
  }
  void showIcon(const std::optional<Image>& icon) { item_->button()->setImage(icon); }

 private:
  std::shared_ptr<MenuItem> entryOf(std::string_view word) {
    const bool isOn = word.starts_with('*');
    const bool isDisabled = word.starts_with('!');
    if (isOn || isDisabled) word.remove_prefix(1);
    auto title = textOf(reinterpret_cast<const std::uint8_t*>(word.data()), word.size());
    auto entry = MenuItem::make(title, "choose:", title.substr(0, title.find('_')));
    entry->enabled = !isDisabled;
    entry->on = isOn;
    if (isOn) entry->toggleType = ToggleType::check;
    entry->action.target = weak_from_this();
    entry->representedObject = title.substr(0, 1);  // another title that begins so is the same entry
    return entry;
  }

  std::shared_ptr<StatusItem> item_;
};

/// None, one of a single size and one of two.
std::optional<Image> iconAt(freedesktop::Desktop& desktop, std::uint32_t number) {
  constexpr std::array kSides = {0, 16, 48};
  const int side = kSides[number % kSides.size()];
  if (side == 0) return std::nullopt;
  const auto bytes = static_cast<std::size_t>(side * side * 4);
  Image icon(std::make_shared<Pixels>(side, side, std::pmr::vector<std::uint8_t>(bytes, 255)), {22, 22});
  desktop.prepare(icon);
  return icon;
}

/// Each line is a message (bus_text.h), or what the host does: `shows <menu>` or `icon <number>`.
void run(std::string text) {
  std::ranges::replace(text, '\0', ' ');  // no text on a bus holds U+0000
  Listener listener;
  freedesktop::Desktop desktop;
  auto host = std::make_shared<Host>(desktop);
  host->start();
  host->showMenu("one *two - again [ deep_er ] !last");
  host->showIcon(iconAt(desktop, 1));
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  Wire wire(listener.accept());
  wire.send("DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n");
  wire.send(messageOf("reply 1 ('" + std::string(kItemName) + "',)", 1)->bytes);

  std::istringstream lines(text);
  std::uint32_t serial = 2;
  for (std::string line; std::getline(lines, line) && !wire.isClosed(); ++serial) {
    if (const auto message = messageOf(line, serial)) wire.send(*message, serial);
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    std::uint32_t number = 0;
    if (verb == "shows") host->showMenu(line.substr(line.find(verb) + verb.size()));
    if (verb == "icon" && words >> number) host->showIcon(iconAt(desktop, number));
    wire.settle();
  }
  require(wire.isClosed() || wire.isAllAnswered());
  host.reset();
  wire.settle();
  require(wire.isClosed());
}

}  // namespace
}  // namespace quill::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quill::fuzz::refuseCriticals();
  g_set_application_name("fuzz");
  unsetenv("XDG_RUNTIME_DIR");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quill::fuzz::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
