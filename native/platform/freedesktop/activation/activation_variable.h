#pragma once

#include <string_view>

namespace quill::freedesktop {

/// Sets XDG_ACTIVATION_TOKEN in the process's environment to `token`, always in the same bytes. An empty `token` clears
/// the value and adds no variable. `token` has at most ActivationToken::kMaxSize bytes. Main thread.
///
/// Other threads may call getenv(3) at any time. Therefore no list of variables and no value that they may hold is
/// freed or moved. setenv(3) is no substitute, because it could free the list that others read. The first call builds a
/// new list with the variable at the end, then makes it the process's list. Qt removes the variable once Qt has used
/// the token. The removal moves no other variable, because this one is the last, and the next call restores it in
/// place. A new list is built only if the host has built one, for example by adding a variable.
void setActivationVariable(std::string_view token);

/// Whether an entry of the environment is the variable that setActivationVariable fills. Any thread.
bool isActivationVariable(const char* entry);

}  // namespace quill::freedesktop
