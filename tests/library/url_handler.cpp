// The user's handler of a scheme, an application that the bus starts: url_handler NOTES. Appends the URLs to NOTES.

#include <gio/gio.h>

#include <fstream>

int main(int, char** arguments) {
  g_autoptr(GApplication) application = g_application_new(
      "quill.test.Handler", static_cast<GApplicationFlags>(G_APPLICATION_IS_SERVICE | G_APPLICATION_HANDLES_OPEN));
  const auto open = +[](GApplication*, GFile** files, int, const char*, char* notes) {
    g_autofree char* url = g_file_get_uri(files[0]);
    std::ofstream(notes, std::ios::app) << url << '\n';
  };
  g_signal_connect(application, "open", G_CALLBACK(open), arguments[1]);
  return g_application_run(application, 0, nullptr);
}
