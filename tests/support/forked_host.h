#pragma once

#include <sys/wait.h>

#include <regex>

#include "testing.h"

namespace quill {

/// A test whose hosts are forked children with a home of their own.
class ForkedHost : public Test {
 protected:
  ForkedHost() { setenv("HOME", home.c_str(), 1); }

  void run(const std::function<void()>& body, int expected = 0) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      alarm(50);
      if (freopen(console.c_str(), "w", stdout) == nullptr) abort();  // also: no orientation any more
      body();
      exit(HasFailure() ? 1 : 0);
    }
    EXPECT_EQ(statusOf(child), expected) << contents(console);
  }
  /// Waits until the child ends and returns its exit status.
  static int statusOf(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  // Expects that every line ends in a line feed.
  static Lines lines(const fs::path& of) {
    Lines all;
    std::ifstream text(of);
    for (std::string line; std::getline(text, line); all.push_back(line)) EXPECT_FALSE(text.eof()) << "torn: " << line;
    return all;
  }

  /// The log file's lines, each as "LEVEL [module] message", and those of the tray manager as "LEVEL message".
  Lines logged() const {
    static const std::regex start(R"(^\[[-0-9]{10} [:0-9]{8}\.\d{3}\]\[(\w+)\](\[TrayManager\] \[TrayManager\])? ?)");
    auto all = lines(file);
    for (auto& line : all) line = std::regex_replace(line, start, "$1 ", std::regex_constants::format_first_only);
    return all;
  }
  bool hasPrinted(const std::string& text) const { return contents(console).find(text) != std::string::npos; }
  static std::string joined(const Lines& lines) {
    std::string all;
    for (const auto& line : lines) all += withoutAddresses(line) + "\n";
    return all;
  }

  const TemporaryDirectory temporary;
  const fs::path& home = temporary.path;
  const fs::path console = home / "console";
  const fs::path directory = home / "Library/Application Support/com.orvi.tamble/.logs";
  const fs::path file = directory / "native.log";
};

}  // namespace quill
