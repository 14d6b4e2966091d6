#pragma once

namespace quill {

/// A library that is loaded on first use and then stays in the process, as its own threads, types and exit handlers
/// may. Opening it again is a look at a list, so nobody needs to keep this.
class SharedLibrary {
 public:
  explicit SharedLibrary(const char* name);
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
  ~SharedLibrary();

  /// Sets `function` to the one of that name, which may also be that of a library it needs. False without one.
  template <typename Function>
  bool find(const char* name, Function*& function) const {
    function = reinterpret_cast<Function*>(find(name));  // NOLINT(*-reinterpret-cast)
    return function != nullptr;
  }

 private:
  void* find(const char* name) const;

  void* handle_;
};

}  // namespace quill
