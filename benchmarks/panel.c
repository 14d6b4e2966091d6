// A watcher and panel for one item. It reads all properties when the item comes and again for each new icon, and the
// menu when told "layout". On standard error: "ready", "item NAME", "read" after each reading, "layout COUNT" with the
// number of entries on top.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <unistd.h>

static const char kWatcher[] = "org.kde.StatusNotifierWatcher";
static const char kItem[] = "org.kde.StatusNotifierItem";
static const char kMenu[] = "com.canonical.dbusmenu";

static sd_bus* bus;
static char* itemName;
static char* itemPath;
static char* menuPath;

static void require(int result, const char* what) {
  if (result >= 0) return;
  fprintf(stderr, "panel: %s: %s\n", what, strerror(-result));
  exit(1);
}

static void replaceText(char** text, const char* with) {
  free(*text);
  *text = strdup(with);
}

static int onProperties(sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  if (sd_bus_message_is_method_error(reply, NULL)) require(-EPROTO, sd_bus_message_get_error(reply)->message);
  require(sd_bus_message_enter_container(reply, 'a', "{sv}"), "properties");
  while (sd_bus_message_enter_container(reply, 'e', "sv") > 0) {
    const char* name = NULL;
    const char* path = NULL;
    require(sd_bus_message_read(reply, "s", &name), "property");
    if (strcmp(name, "Menu") == 0) {
      require(sd_bus_message_read(reply, "v", "o", &path), "menu");
      replaceText(&menuPath, path);
    } else {
      require(sd_bus_message_skip(reply, "v"), "value");
    }
    require(sd_bus_message_exit_container(reply), "property");
  }
  fputs("read\n", stderr);
  return 0;
}

static void readProperties(void) {
  require(sd_bus_call_method_async(bus, NULL, itemName, itemPath, "org.freedesktop.DBus.Properties", "GetAll",
                                   onProperties, NULL, "s", kItem),
          "GetAll");
}

static int onNewIcon(sd_bus_message* signal, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  if (itemName != NULL && strcmp(sd_bus_message_get_sender(signal), itemName) == 0) readProperties();
  return 0;
}

static int onLayout(sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  int count = 0;
  if (sd_bus_message_is_method_error(reply, NULL)) require(-EPROTO, sd_bus_message_get_error(reply)->message);
  require(sd_bus_message_skip(reply, "u"), "revision");
  require(sd_bus_message_enter_container(reply, 'r', "ia{sv}av"), "root");
  require(sd_bus_message_skip(reply, "ia{sv}"), "root");
  require(sd_bus_message_enter_container(reply, 'a', "v"), "entries");
  for (; sd_bus_message_at_end(reply, 0) == 0; ++count) require(sd_bus_message_skip(reply, "v"), "entry");
  fprintf(stderr, "layout %d\n", count);
  return 0;
}

/// A path of the sender's, or else the name of a connection with the usual path.
static int onRegister(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  const char* service = NULL;
  require(sd_bus_message_read(call, "s", &service), "registration");
  replaceText(&itemName, sd_bus_message_get_sender(call));
  replaceText(&itemPath, service[0] == '/' ? service : "/StatusNotifierItem");
  fprintf(stderr, "item %s\n", itemName);
  require(sd_bus_reply_method_return(call, NULL), "reply");
  readProperties();
  return 0;
}

static int ignoreCall(sd_bus_message* call, void* data, sd_bus_error* error) {
  (void)data, (void)error;
  return sd_bus_reply_method_return(call, NULL);
}

static int getTrue(sd_bus* connection, const char* path, const char* interface, const char* property,
                   sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)connection, (void)path, (void)interface, (void)property, (void)data, (void)error;
  return sd_bus_message_append(reply, "b", 1);
}

static int getZero(sd_bus* connection, const char* path, const char* interface, const char* property,
                   sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)connection, (void)path, (void)interface, (void)property, (void)data, (void)error;
  return sd_bus_message_append(reply, "i", 0);
}

static int getNone(sd_bus* connection, const char* path, const char* interface, const char* property,
                   sd_bus_message* reply, void* data, sd_bus_error* error) {
  (void)connection, (void)path, (void)interface, (void)property, (void)data, (void)error;
  return sd_bus_message_append(reply, "as", 0);
}

static int onInput(sd_event_source* source, int file, uint32_t events, void* data) {
  (void)events, (void)data;
  char line[64];
  if (read(file, line, sizeof line) <= 0) return sd_event_exit(sd_event_source_get_event(source), 0);
  require(sd_bus_call_method_async(bus, NULL, itemName, menuPath, kMenu, "GetLayout", onLayout, NULL, "iias", 0, -1, 0),
          "GetLayout");
  return 0;
}

static const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", onRegister, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("RegisterStatusNotifierHost", "s", "", ignoreCall, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("RegisteredStatusNotifierItems", "as", getNone, 0, 0),
    SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", getTrue, 0, 0),
    SD_BUS_PROPERTY("ProtocolVersion", "i", getZero, 0, 0),
    SD_BUS_SIGNAL("StatusNotifierHostRegistered", "", 0),
    SD_BUS_VTABLE_END};

int main(void) {
  sd_event* loop = NULL;
  require(sd_event_default(&loop), "loop");
  require(sd_bus_open_user(&bus), "bus");
  require(sd_bus_add_object_vtable(bus, NULL, "/StatusNotifierWatcher", kWatcher, kVtable, NULL), "object");
  require(sd_bus_match_signal(bus, NULL, NULL, NULL, kItem, "NewIcon", onNewIcon, NULL), "match");
  require(sd_bus_request_name(bus, kWatcher, 0), "name");
  require(sd_bus_attach_event(bus, loop, SD_EVENT_PRIORITY_NORMAL), "loop");
  require(sd_event_add_io(loop, NULL, STDIN_FILENO, 1 /* EPOLLIN */, onInput, NULL), "input");
  fputs("ready\n", stderr);
  require(sd_event_loop(loop), "loop");
  sd_bus_flush_close_unref(bus);
  return 0;
}
