#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

#include "surroundings.h"

namespace quill::posix {

/// Opens, appends all bytes in one write, flushes to the disk, closes. The error is that of opening;
/// of a write that fails half-way nothing stays in the file. Does not wait for a FIFO's reader.
std::error_code appendToFile(const std::filesystem::path& file, std::string_view bytes, Surroundings::Missing missing);

}  // namespace quill::posix
