#include "validation/warning_list.h"

#include <algorithm>

namespace veldane {

FMatrix WarningList::toMatrix() const {
    FMatrix result(static_cast<int>(found_.size()), static_cast<int>(WarningRecord().size()));
    int i = 0;
    for (const auto& [key, record] : found_) std::copy(record.begin(), record.end(), result[i++]);
    return result;
}

}  // namespace veldane
