#include "activation_variable.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <span>
#include <vector>

#include "activation_token.h"
#include "no_destructor.h"

namespace quill::freedesktop {
namespace {

constexpr std::string_view kName = "XDG_ACTIVATION_TOKEN=";

/// The variable's name and value. The last byte stays 0, so that a reader never runs past the end.
constinit auto tokenVariable = [] {
  std::array<char, kName.size() + ActivationToken::kMaxSize + 1> named{};
  std::ranges::copy(kName, named.begin());
  return named;
}();

bool isNamed(const char* variable) { return std::string_view(variable).starts_with(kName); }

using VariableList = std::vector<char*>;

/// What `list` holds, with the variable at its end.
VariableList withVariableAtEnd(char** list) {
  VariableList variables;
  for (; list != nullptr && *list != nullptr; ++list) {
    if (!isNamed(*list)) variables.push_back(*list);
  }
  variables.insert(variables.end(), {tokenVariable.data(), nullptr});
  return variables;
}

void placeVariable() {
  static NoDestructor<std::vector<VariableList>> kept;  // for their readers; the last list is in use
  auto& lists = kept.get();
  const std::atomic_ref<char**> process(environ);
  char** current = process.load(std::memory_order_acquire);
  while (lists.empty() || current != lists.back().data()) {
    lists.push_back(withVariableAtEnd(current));
    // Fails if another thread has replaced the list in between.
    if (process.compare_exchange_strong(current, lists.back().data())) return;
    lists.pop_back();
  }
  while (*current != nullptr && !isNamed(*current)) ++current;
  std::atomic_ref<char*>(*current).store(tokenVariable.data(), std::memory_order_release);
}

}  // namespace

void setActivationVariable(std::string_view token) {
  if (!token.empty()) placeVariable();
  // A reader finds no value or the whole value, because the first byte is written last.
  const std::span<char> value(tokenVariable.begin() + kName.size(), ActivationToken::kMaxSize);
  const std::atomic_ref<char> first(value.front());
  first.store('\0');
  std::ranges::fill(value.subspan(1), '\0');
  if (token.empty()) return;
  std::ranges::copy(token.substr(1), value.begin() + 1);
  first.store(token.front());
}

bool isActivationVariable(const char* variable) { return variable == tokenVariable.data(); }

}  // namespace quill::freedesktop
