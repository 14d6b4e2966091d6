#include "fake_panel.h"

#include <cstring>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace quill::freedesktop {
namespace {

constexpr auto kWatcher = "org.kde.StatusNotifierWatcher";

const char* pathOf(const char* interface) {
  return std::strcmp(interface, FakePanel::kMenu) == 0 ? "/MenuBar" : "/StatusNotifierItem";
}

}  // namespace

bool runUntil(const std::function<bool()>& done) {
  GlibMainQueue queue;
  bool expired = false;
  DueCall deadline(queue, [&] { expired = true; });
  deadline.setDueIn(std::chrono::seconds(10));
  while (!done() && !expired) g_main_context_iteration(nullptr, TRUE);
  return done();
}

std::chrono::nanoseconds runFor(std::chrono::milliseconds duration) {
  GlibMainQueue queue;
  bool expired = false;
  DueCall end(queue, [&] { expired = true; });
  end.setDueIn(duration);
  const auto cpuTime = [] {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
  };
  const auto before = cpuTime();
  while (!expired) g_main_context_iteration(nullptr, TRUE);
  return cpuTime() - before;
}

FakePanel::FakePanel(const std::string& address, int errorsFirst)
    : errorsFirst_(errorsFirst),
      connection_(queue_, address,
                  {[this](sd_bus* bus) {
                     static const sd_bus_vtable vtable[] = {
                         SD_BUS_VTABLE_START(0),
                         SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", onRegister, SD_BUS_VTABLE_UNPRIVILEGED),
                         SD_BUS_VTABLE_END};
                     sd_bus_add_object_vtable(bus, nullptr, "/StatusNotifierWatcher", kWatcher, vtable, this);
                     sd_bus_add_match_async(bus, nullptr, "type='signal',path='/StatusNotifierItem'", onSignal, nullptr,
                                            this);
                     sd_bus_add_match_async(bus, nullptr, "type='signal',path='/MenuBar'", onSignal, nullptr, this);
                     sd_bus_request_name_async(bus, nullptr, kWatcher, SD_BUS_NAME_QUEUE, nullptr, nullptr);
                     bus_ = bus;
                   },
                   [] {}}) {
  connection_.start();
}

int FakePanel::onRegister(sd_bus_message* message, void* self, sd_bus_error* error) {
  auto& panel = *static_cast<FakePanel*>(self);
  if (panel.refused < panel.errorsFirst_) {
    ++panel.refused;
    return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "not yet");
  }
  const char* path = nullptr;
  sd_bus_message_read(message, "s", &path);
  panel.itemName = sd_bus_message_get_sender(message);
  panel.itemPaths.emplace_back(path);
  return sd_bus_reply_method_return(message, nullptr);
}

int FakePanel::onSignal(sd_bus_message* message, void* self, sd_bus_error*) {
  auto& panel = *static_cast<FakePanel*>(self);
  panel.signals_.emplace_back(sd_bus_message_get_member(message));
  panel.lastSignal.reset(sd_bus_message_ref(message));
  if (panel.heard) panel.heard(panel.signals_.back());
  return 0;
}

MessageHandle FakePanel::newCall(const char* interface, const char* member) {
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus_, &message, itemName.c_str(), pathOf(interface), interface, member) < 0) {
    throw std::runtime_error("no call");
  }
  return MessageHandle(message);
}

MessageHandle FakePanel::send(MessageHandle message) {
  MessageHandle reply;
  const auto keep = [](sd_bus_message* answer, void* kept, sd_bus_error*) {
    static_cast<MessageHandle*>(kept)->reset(sd_bus_message_ref(answer));
    return 0;
  };
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_, &slot, message.get(), keep, &reply, 0) < 0) throw std::runtime_error("not sent");
  const SlotHandle waiting(slot);
  runUntil([&] { return reply != nullptr; });
  return reply;
}

MessageHandle FakePanel::getAll(const char* interface) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(bus_, &message, itemName.c_str(), pathOf(interface), "org.freedesktop.DBus.Properties",
                                 "GetAll");
  sd_bus_message_append(message, "s", interface);
  return send(MessageHandle(message));
}

std::vector<std::string> FakePanel::takeSignals() {
  bool presented = false;  // what was changed before this is shown once this has run
  queue_.post([&] { presented = true; });
  runUntil([&] { return presented; });
  getAll(kMenu);  // signals sent before come in before its reply
  return std::exchange(signals_, {});
}

}  // namespace quill::freedesktop
