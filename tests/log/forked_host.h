#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace quill::testing {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

/// As scripts/soak wants it.
inline const bool isLong = std::getenv("QUILL_SOAK") != nullptr;

/// Hosts that are forked children with a home of their own.
class ForkedHost : public ::testing::Test {
 protected:
  ForkedHost() { setenv("HOME", home.c_str(), 1); }
  ~ForkedHost() override { fs::remove_all(home); }

  void run(const std::function<void()>& body, int expected = 0) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      alarm(isLong ? 300 : 50);
      if (freopen(console.c_str(), "w", stdout) == nullptr) abort();  // also: no orientation any more
      body();
      exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, expected) << ::testing::PrintToString(lines(console));
  }

  // Every line must have its end.
  static std::vector<std::string> lines(const fs::path& of) {
    std::vector<std::string> all;
    std::ifstream text(of);
    for (std::string line; std::getline(text, line); all.push_back(line)) EXPECT_FALSE(text.eof()) << "torn: " << line;
    return all;
  }

  // A disk in memory where there is one: what is tested is not the disk's speed.
  const fs::path home =
      mkdtemp(std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm/quill-XXXXXX" : "/tmp/quill-XXXXXX").data());
  const fs::path console = home / "console";
  const fs::path directory = home / "Library/Application Support/com.orvi.tamble/.logs";
  const fs::path file = directory / "native.log";
};

}  // namespace quill::testing
