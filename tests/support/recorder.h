#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/array.h"
#include "veldane.h"

/// The host's side of the boundary: a callback that takes notes, and descriptors.
namespace veldane::test {

/// Registered as the callback for as long as it lives. One at a time.
struct Recorder {
    struct Report {
        float progress;
        std::string message;
    };

    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    ~Recorder();

    int count(const std::string& message) const;

    std::vector<Report> reports;
    /// Runs within each report, which is the last of `reports` by then.
    std::function<void(const Report&)> onReport = [](const Report&) {};
    char buffer[VELDANE_MESSAGE_SIZE] = {};
};

/// What stands in an output before a call, and after it in what was not written.
constexpr int untouched = -77;

/// An input: a descriptor on elements of its own.
struct InDesc : ArrayDesc {
    explicit InDesc(const FMatrix& matrix)
        : ArrayDesc{0, matrix.cols(), matrix.rows(), 1, nullptr}, elements(matrix.clone()) {
        data = elements.storage().data();
    }
    FMatrix elements;
};

struct Applied {
    int code;
    FMatrix table;
};

/// What a function that works in place makes of a table.
template <class... Arguments, class... Given>
Applied apply(int (*run)(ArrayDesc*, Arguments...), const FMatrix& table, Given... arguments) {
    InDesc data(table);
    const int code = run(&data, arguments...);
    return {code, data.elements};
}

/// An output from the library's memory.
struct HandedOut : ArrayDesc {
    HandedOut() : ArrayDesc{VELDANE_KIND_LIBRARY, untouched, untouched, untouched, nullptr} {}
    bool written() const { return cols != untouched; }
    FMatrix copy() const { return FMatrix(rows, cols, data).clone(); }
};

/// An output to a buffer of the host's.
struct CopiedOut : InDesc {
    CopiedOut(int outRows, int outCols) : InDesc(FMatrix(outRows, outCols, float{untouched})) {
        cols = rows = pages = untouched;
    }
    bool extentsWritten() const {
        return cols != untouched || rows != untouched || pages != untouched;
    }
};

/// What a getter hands out; the empty matrix if it fails.
template <class Getter>
FMatrix fetch(Getter getter) {
    HandedOut out;
    return getter(&out) == 0 ? out.copy() : FMatrix();
}

}  // namespace veldane::test
