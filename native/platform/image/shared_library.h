#pragma once

namespace quill {

/// A library that is loaded on first use and then stays in the process, as its own types and exit handlers may. Opening
/// it again is a look at a list. A class for one library derives from this and names its functions.
class SharedLibrary {
 public:
  explicit SharedLibrary(const char* name);
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
  ~SharedLibrary();

  /// False where the machine lacks the library or one of the functions; then none may be called.
  bool isComplete() const { return isComplete_; }

 protected:
  /// Also finds what is in the libraries that this one needs.
  void* find(const char* function);

 private:
  void* handle_;
  bool isComplete_;
};

// NOLINTBEGIN(bugprone-macro-parentheses): a declaration has no place for them
/// A member of the function's own name and type.
#define QUILL_FUNCTION(name) decltype(&::name) name = reinterpret_cast<decltype(&::name)>(find(#name))
// NOLINTEND(bugprone-macro-parentheses)

}  // namespace quill
