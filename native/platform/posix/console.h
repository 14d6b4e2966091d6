#pragma once

#include <string_view>

namespace quill::posix {

/// Writes to C's standard output, whole, and in order with what the host printed there before; nothing
/// of it stays in the host's buffer. A failure is silent: no signal, errno as before. Any thread.
void writeToStandardOutput(std::string_view bytes);

}  // namespace quill::posix
