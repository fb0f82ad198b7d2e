#include "core/platform/shared_library.h"

#include <dlfcn.h>

namespace veldane {

SharedLibrary::SharedLibrary(const char* name) : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL)) {}

void* SharedLibrary::address(const char* name) const {
    // A null handle would have the search go through the whole process.
    return handle_ ? dlsym(handle_, name) : nullptr;
}

}  // namespace veldane
