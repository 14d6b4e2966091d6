#pragma once

#include <dlfcn.h>

namespace quill {

/// A library that is loaded by its first user and stays in the process. A class for one library derives from this and
/// has a QUILL_FUNCTION for each function that it calls.
class SharedLibrary {
 public:
  explicit SharedLibrary(const char* name) : handle_(dlopen(name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)) {}
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
  ~SharedLibrary() {
    if (handle_) dlclose(handle_);
  }

  /// False if the machine lacks the library or one of the functions: then none may be called.
  bool isComplete() const { return handle_ && !isFunctionMissing_; }

 protected:
  /// Also finds functions of the libraries that this one needs.
  void* find(const char* function) {
    void* const found = handle_ ? dlsym(handle_, function) : nullptr;
    if (!found) isFunctionMissing_ = true;
    return found;
  }

 private:
  void* const handle_;
  bool isFunctionMissing_ = false;
};

// NOLINTBEGIN(bugprone-macro-parentheses): a declaration has no place for them
/// A member with the function's own name and type.
#define QUILL_FUNCTION(name) decltype(&::name) name = reinterpret_cast<decltype(&::name)>(find(#name))
// NOLINTEND(bugprone-macro-parentheses)

}  // namespace quill
