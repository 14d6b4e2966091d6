#include "shared_library.h"

#include <dlfcn.h>

namespace quill {

SharedLibrary::SharedLibrary(const char* name) : handle_(dlopen(name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)) {}

SharedLibrary::~SharedLibrary() {
  if (handle_) dlclose(handle_);
}

void* SharedLibrary::find(const char* name) const { return handle_ ? dlsym(handle_, name) : nullptr; }

}  // namespace quill
