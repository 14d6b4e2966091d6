// The least a program can do to show an icon: sd-bus, a poll loop and pixels that are ready. It has no menu.
#include <poll.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/timerfd.h>
#include <systemd/sd-bus.h>

#include "item.h"

enum { kSmall = 22, kLarge = 44 };

struct Icon {
  uint8_t small[kSmall * kSmall * 4];
  uint8_t large[kLarge * kLarge * 4];
};
static struct Icon icons[kIcons];

static const char kItem[] = "org.kde.StatusNotifierItem";
static const char kPath[] = "/StatusNotifierItem";

struct Item {
  const char* category;
  const char* id;
  const char* title;
  const char* status;
  const char* iconName;
  const char* menu;
  int isMenu;
  const struct Icon* icon;
};
static struct Item item = {.category = "ApplicationStatus",
                           .id = "bare",
                           .title = "bare",
                           .status = "Active",
                           .iconName = "",
                           .menu = "/MenuBar",
                           .icon = &icons[0]};

static void require(int result, const char* what) {
  if (result >= 0) return;
  fprintf(stderr, "bare_item: %s: %s\n", what, strerror(-result));
  exit(1);
}

static int appendPicture(sd_bus_message* reply, int side, const uint8_t* pixels) {
  int result = sd_bus_message_open_container(reply, 'r', "iiay");
  if (result >= 0) result = sd_bus_message_append(reply, "ii", side, side);
  if (result >= 0) result = sd_bus_message_append_array(reply, 'y', pixels, (size_t)(side * side * 4));
  return result < 0 ? result : sd_bus_message_close_container(reply);
}

static int getIcon(sd_bus* bus, const char* path, const char* interface, const char* property, sd_bus_message* reply,
                   void* data, sd_bus_error* error) {
  (void)bus, (void)path, (void)interface, (void)property, (void)data, (void)error;
  int result = sd_bus_message_open_container(reply, 'a', "(iiay)");
  if (result >= 0) result = appendPicture(reply, kSmall, item.icon->small);
  if (result >= 0) result = appendPicture(reply, kLarge, item.icon->large);
  return result < 0 ? result : sd_bus_message_close_container(reply);
}

static int ignoreCall(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  return sd_bus_reply_method_return(call, NULL);
}

static const sd_bus_vtable kVtable[] = {SD_BUS_VTABLE_START(0),
                                        SD_BUS_METHOD("ContextMenu", "ii", "", ignoreCall, SD_BUS_VTABLE_UNPRIVILEGED),
                                        SD_BUS_METHOD("Activate", "ii", "", ignoreCall, SD_BUS_VTABLE_UNPRIVILEGED),
                                        SD_BUS_PROPERTY("Category", "s", NULL, offsetof(struct Item, category), 0),
                                        SD_BUS_PROPERTY("Id", "s", NULL, offsetof(struct Item, id), 0),
                                        SD_BUS_PROPERTY("Title", "s", NULL, offsetof(struct Item, title), 0),
                                        SD_BUS_PROPERTY("Status", "s", NULL, offsetof(struct Item, status), 0),
                                        SD_BUS_PROPERTY("IconName", "s", NULL, offsetof(struct Item, iconName), 0),
                                        SD_BUS_PROPERTY("IconPixmap", "a(iiay)", getIcon, 0, 0),
                                        SD_BUS_PROPERTY("Menu", "o", NULL, offsetof(struct Item, menu), 0),
                                        SD_BUS_PROPERTY("ItemIsMenu", "b", NULL, offsetof(struct Item, isMenu), 0),
                                        SD_BUS_SIGNAL("NewIcon", "", 0),
                                        SD_BUS_VTABLE_END};

static void setTimer(int timer, long milliseconds) {
  const struct timespec period = {0, milliseconds * 1000000};
  const struct itimerspec setting = {period, period};
  require(timerfd_settime(timer, 0, &setting, NULL), "timer");
}

int main(void) {
  for (int i = 0; i < kIcons; ++i) memset(&icons[i], i, sizeof icons[i]);
  sd_bus* bus = NULL;
  require(sd_bus_open_user(&bus), "bus");
  require(sd_bus_add_object_vtable(bus, NULL, kPath, kItem, kVtable, &item), "object");
  require(
      sd_bus_call_method_async(bus, NULL, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                               "org.kde.StatusNotifierWatcher", "RegisterStatusNotifierItem", NULL, NULL, "s", kPath),
      "registration");

  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
  int left = 0;
  for (;;) {
    int result = 1;
    while (result > 0) require(result = sd_bus_process(bus, NULL), "bus");
    struct pollfd files[] = {
        {sd_bus_get_fd(bus), (short)sd_bus_get_events(bus), 0}, {timer, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    poll(files, 3, -1);
    if (files[1].revents != 0) {
      uint64_t expirations = 0;
      if (read(timer, &expirations, sizeof expirations) < 0) return 1;
      item.icon = &icons[--left % kIcons];
      require(sd_bus_emit_signal(bus, kPath, kItem, "NewIcon", NULL), "signal");
      if (left == 0) {
        setTimer(timer, 0);
        done();
      }
    }
    if (files[2].revents != 0) {
      const struct Command command = readCommand();
      if (isNamed(&command, "change")) {
        left = atoi(command.argument);
        setTimer(timer, kTick);
      }
    }
  }
}
