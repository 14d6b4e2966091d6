#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace quill {

using namespace ::testing;
using namespace std::chrono_literals;
namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// Whether the allocator, the addresses and the descriptors are a sanitizer's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

inline constexpr std::uint8_t kOnePixelGif[] = "GIF89a\1\0\1\0\x80\0\0\xff\0\0\0\0\xff,\0\0\0\0\1\0\1\0\0\2\2D\1\0;";

/// In memory where that can be: what is tested is not the disk's speed.
struct TemporaryDirectory {
  ~TemporaryDirectory() { fs::remove_all(path); }

  const fs::path path =
      mkdtemp(std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm/quill-XXXXXX" : "/tmp/quill-XXXXXX").data());
};

inline std::string contents(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Descriptions of objects without their addresses: "<StatusItem>".
inline std::string withoutAddresses(std::string text) {
  for (std::size_t at = 0; (at = text.find(": 0x", at)) != std::string::npos;) text.erase(at, text.find('>', at) - at);
  return text;
}

/// The lines of a table beside the test, "given => expected".
inline std::vector<std::pair<std::string, std::string>> casesIn(const std::string& table) {
  std::vector<std::pair<std::string, std::string>> cases;
  std::ifstream lines(table);
  for (std::string line; std::getline(lines, line);) {
    const auto arrow = line.find(" => ");
    cases.emplace_back(line.substr(0, arrow), line.substr(arrow + 4));
  }
  EXPECT_FALSE(cases.empty()) << table;
  return cases;
}

/// How many files there are in a directory.
inline auto countIn(const fs::path& directory) {
  return std::distance(fs::directory_iterator(directory), fs::directory_iterator());
}

inline std::string times(std::size_t count, std::string_view text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

}  // namespace quill
