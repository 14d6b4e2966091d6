#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

#include "environment.h"

namespace quill::posix {

/// What Environment::append does, for one process among others that append to the same file: a
/// write that falls short is taken back, and no line of theirs with it. One thread at a time.
class Appender {
 public:
  /// The error is that of opening. Does not wait for a FIFO's reader.
  std::error_code append(const std::filesystem::path& file, std::string_view bytes, Environment::Missing missing,
                         Environment::Flush flush);

 private:
  bool lock(int file);

  bool isLockStuck_ = false;  // another process kept it too long
};

}  // namespace quill::posix
