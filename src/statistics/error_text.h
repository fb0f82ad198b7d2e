#pragma once

#include <cstdio>

namespace veldane {

/// Errors of the distributions go to the process's standard output, a line each, not to the status
/// callback: that is wanted.
inline void writeErrorText(const char* text) {
    std::puts(text);
    std::fflush(stdout);
}

}  // namespace veldane
