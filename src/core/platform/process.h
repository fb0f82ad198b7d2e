#pragma once

namespace veldane {

int currentProcessId();

}  // namespace veldane
