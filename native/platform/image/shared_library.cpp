#include "shared_library.h"

#include <dlfcn.h>

namespace quill {

SharedLibrary::SharedLibrary(const char* name)
    : handle_(dlopen(name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)), isComplete_(handle_ != nullptr) {}

SharedLibrary::~SharedLibrary() {
  if (handle_) dlclose(handle_);
}

void* SharedLibrary::find(const char* function) {
  void* const found = handle_ ? dlsym(handle_, function) : nullptr;
  isComplete_ = isComplete_ && found;
  return found;
}

}  // namespace quill
