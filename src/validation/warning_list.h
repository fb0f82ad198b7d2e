#pragma once

#include <array>
#include <map>

#include "core/array.h"

namespace veldane {

/// What a finding is about: its code and the 1-based numbers of a sample, an X-variable and a
/// Y-variable, -1 where one does not apply.
using WarningKey = std::array<int32_t, 4>;

/// The code, the number of components, the sample or variable, the second number of a finding about
/// an element (NaN otherwise), the limit and the value; -1 in a place that does not apply.
using WarningRecord = std::array<float, 6>;

/// The findings of one search, in the order of their keys. The first of a key stays.
class WarningList {
  public:
    void add(const WarningKey& key, const WarningRecord& record) { found_.emplace(key, record); }

    /// One row of 6 for each.
    FMatrix toMatrix() const;

  private:
    std::map<WarningKey, WarningRecord> found_;
};

}  // namespace veldane
