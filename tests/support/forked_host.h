#pragma once

#include <sys/wait.h>

#include "testing.h"

namespace quill {

/// As scripts/soak wants it.
inline const bool isLong = std::getenv("QUILL_SOAK") != nullptr;

/// Hosts that are forked children with a home of their own.
class ForkedHost : public Test {
 protected:
  ForkedHost() { setenv("HOME", home.c_str(), 1); }

  void run(const std::function<void()>& body, int expected = 0) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      alarm(isLong ? 300 : 50);
      if (freopen(console.c_str(), "w", stdout) == nullptr) abort();  // also: no orientation any more
      body();
      exit(HasFailure() ? 1 : 0);
    }
    EXPECT_EQ(statusOf(child), expected) << contents(console);
  }
  /// Of a child, once it has ended.
  static int statusOf(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  // Every line must have its end.
  static Lines lines(const fs::path& of) {
    Lines all;
    std::ifstream text(of);
    for (std::string line; std::getline(text, line); all.push_back(line)) EXPECT_FALSE(text.eof()) << "torn: " << line;
    return all;
  }

  /// What the hosts logged, as "LEVEL message"; the lines of others as they are.
  Lines logged() const {
    auto all = lines(file);
    const std::string names = "][TrayManager] [TrayManager]";
    for (auto& line : all) {  // the level is behind 26 characters of brackets and time
      if (const auto at = line.find(names); at != std::string::npos) line.erase(at, names.size()).erase(0, 26);
    }
    return all;
  }
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
