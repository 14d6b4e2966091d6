#pragma once

#include <string_view>

namespace quill::freedesktop {

/// Gives XDG_ACTIVATION_TOKEN this value in the process's environment, in the same bytes each time. An empty value
/// stands for no token and adds no variable. `token` has at most ActivationToken::kMaxSize bytes. Main thread.
///
/// Other threads may call getenv(3) at any time, so neither a list of variables nor a value that they may hold is freed
/// or moved. The first call puts the variable at the end of a list of its own, made whole before it becomes the
/// process's list; setenv(3) could free the list that others read. Qt removes the variable once it has used the token,
/// which moves no other variable, since it is the last one; the next call puts it back into the same place. A new list
/// is made only where the host has made one, as it does when it adds a variable.
void setActivationVariable(std::string_view token);

/// Whether an entry of the environment is the variable that setActivationVariable fills. Any thread.
bool isActivationVariable(const char* entry);

}  // namespace quill::freedesktop
