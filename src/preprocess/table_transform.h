#pragma once

#include <algorithm>

#include "core/descriptor.h"
#include "core/status.h"

/// What every preprocessing export does around its arithmetic: refuse a null, wrap the caller's
/// table, report along the rows, hand the table out through the same descriptor.
namespace veldane {

constexpr int badArgument = 2;
constexpr int badOrder = 3;
constexpr int negativeGap = 4;
constexpr int evenGap = 5;
constexpr int badWidth = 6;

/// In place of a closing message: nothing is reported.
constexpr const char* silent = nullptr;

constexpr char normalized[] = "Completed normalization";
constexpr char baselineCorrected[] = "Completed baseline correction";
constexpr char transformed[] = "Completed transformation";

inline void reportShare(int done, int all) {
    status().report(static_cast<float>(static_cast<double>(done) / all), "");
}

template <class Transform>
int transformTable(ArrayDesc* data, Transform transform) {
    if (!data) return badArgument;
    const FMatrix x = descToMatrix(data);
    transform(x);
    matrixToDesc(x, data);
    return 0;
}

/// row(elements, cols).
template <class Row>
void eachRow(const FMatrix& x, const char* closing, Row row) {
    for (int i = 0; i < x.rows(); ++i) {
        if (closing) reportShare(i, x.rows());
        if (x.cols() > 0) row(x[i], x.cols());
    }
    if (closing) status().report(1.0f, closing);
}

template <class Row>
int transformRows(ArrayDesc* data, const char* closing, Row row) {
    return transformTable(data, [&](const FMatrix& x) { eachRow(x, closing, row); });
}

/// block(rows) for views of a few rows, whose sums are formed side by side.
template <class Block>
int transformBlocks(ArrayDesc* data, const char* closing, Block block) {
    return transformTable(data, [&](const FMatrix& x) {
        constexpr int height = 32;
        for (int i = 0; i < x.rows(); i += height) {
            const int end = std::min(i + height, x.rows());
            for (int r = i; closing && r < end; ++r) reportShare(r, x.rows());
            if (x.cols() > 0) block(x.view(i, end - 1, 0, x.cols() - 1));
        }
        if (closing) status().report(1.0f, closing);
    });
}

/// A 0-based column that the rows of the table do not have. A table without elements has no rows to
/// miss it in.
inline bool columnIsOutside(const ArrayDesc* data, int64_t column) {
    const FMatrix x = descToMatrix(data);
    return x.size() > 0 && (column < 0 || column >= x.cols());
}

}  // namespace veldane
