#pragma once

#include <dlfcn.h>

namespace quill::posix {

/// A library that its first user loads, and that stays loaded. A class for one library derives from this class and has
/// a QUILL_FUNCTION for each function that it calls.
class SharedLibrary {
 public:
  explicit SharedLibrary(const char* name) : handle_(dlopen(name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)) {}
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
  ~SharedLibrary() {
    if (handle_) dlclose(handle_);
  }

  /// False if the machine lacks the library or one of the functions. Then call none of them.
  bool isComplete() const { return handle_ && !isFunctionMissing_; }

 protected:
  /// Finds functions of this library and of the libraries that it needs.
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

}  // namespace quill::posix
