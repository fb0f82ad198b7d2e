#include "core/platform/process.h"

#include <unistd.h>

namespace veldane {

int currentProcessId() {
    return static_cast<int>(getpid());
}

}  // namespace veldane
