#include "core/status.h"

#include <cstdarg>
#include <cstdio>

namespace veldane {
namespace {

CStatusCommunicator communicator;

}  // namespace

void CStatusCommunicator::attach(char* buffer, veldane_progress_callback callback) {
    buffer_ = buffer;
    callback_ = callback;
}

bool CStatusCommunicator::report(float progress, const std::string& message) {
    if (!callback_) return false;
    if (progress > 1.0f) return false;
    if (buffer_) buffer_[message.copy(buffer_, VELDANE_MESSAGE_SIZE - 1)] = '\0';
    callback_(progress, buffer_);
    return true;
}

bool CStatusCommunicator::reportError(const std::string& message) {
    if (!callback_) return false;
    return report(-1.0f, message);
}

CStatusCommunicator& status() {
    return communicator;
}

std::string formatMessage(const char* format, ...) {
    char text[VELDANE_MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

}  // namespace veldane
