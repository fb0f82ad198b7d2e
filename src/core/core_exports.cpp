#include <ctime>

#include "core/halt_event.h"
#include "core/random.h"
#include "core/status.h"
#include "veldane.h"

void init_callback(char* buffer, veldane_progress_callback callback) {
    veldane::status().attach(buffer, callback);
    veldane::seedRandom(static_cast<uint32_t>(std::time(nullptr)));
}

int halt_computation(int processId) {
    return veldane::requestHalt(processId) ? 0 : -1;
}
