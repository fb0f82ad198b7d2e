#include "support/recorder.h"

namespace veldane::test {
namespace {

Recorder* active = nullptr;

void receive(float progress, char* message) {
    active->reports.push_back({progress, message});
    active->onReport(active->reports.back());
}

}  // namespace

Recorder::Recorder() {
    active = this;
    init_callback(buffer, receive);
}

Recorder::~Recorder() {
    init_callback(nullptr, nullptr);
}

int Recorder::count(const std::string& message) const {
    int result = 0;
    for (const Report& report : reports) result += report.message == message ? 1 : 0;
    return result;
}

}  // namespace veldane::test
