#pragma once

#include <string>

#include "veldane.h"

namespace veldane {

/// Carries progress and messages to the callback that the host registered.
class CStatusCommunicator {
  public:
    virtual ~CStatusCommunicator() = default;

    void attach(char* buffer, veldane_progress_callback callback);

    /// False without a callback, and for a progress above 1, which is never delivered. A NaN is.
    /// Writes at most VELDANE_MESSAGE_SIZE bytes to the host's buffer, which fits every message.
    bool report(float progress, const std::string& message);

    /// A report with the progress -1.
    bool reportError(const std::string& message);

  private:
    veldane_progress_callback callback_ = nullptr;
    char* buffer_ = nullptr;
};

/// The communicator of the process.
CStatusCommunicator& status();

/// printf to a message, cut after VELDANE_MESSAGE_SIZE - 1 characters.
[[gnu::format(printf, 1, 2)]] std::string formatMessage(const char* format, ...);

}  // namespace veldane
