// The user's handler of a scheme: url_handler NOTES [URL]. Appends a line to NOTES for a URL given here or, as an
// application that the bus starts, over the bus: URL, blocked and ignored signals, the variable QUILL_TEST.

#include <gio/gio.h>

#include <cstdlib>
#include <fstream>
#include <string>

static void note(const char* notes, std::string line) {
  std::ifstream status("/proc/self/status");
  for (std::string field; std::getline(status, field);) {
    if (field.starts_with("SigBlk:") || field.starts_with("SigIgn:")) line += " " + field.substr(8);
  }
  const char* variable = std::getenv("QUILL_TEST");
  line += std::string(" ") + (variable != nullptr ? variable : "-") + "\n";
  std::ofstream(notes, std::ios::app) << line;  // one write
}

int main(int count, char** arguments) {
  if (count > 2) return note(arguments[1], arguments[2]), 0;
  g_autoptr(GApplication) application = g_application_new(
      "quill.test.Handler", static_cast<GApplicationFlags>(G_APPLICATION_IS_SERVICE | G_APPLICATION_HANDLES_OPEN));
  const auto open = +[](GApplication*, GFile** files, int, const char*, char* notes) {
    g_autofree char* url = g_file_get_uri(files[0]);
    note(notes, url);
  };
  g_signal_connect(application, "open", G_CALLBACK(open), arguments[1]);
  return g_application_run(application, 0, nullptr);
}
