#include <cmath>

#include "linalg/kernels.h"

namespace veldane {
namespace {

bool sameShape(const FMatrix& a, const FMatrix& b) {
    return a.rows() == b.rows() && a.cols() == b.cols();
}
bool isRowFor(const FMatrix& b, const FMatrix& a) {
    return b.rows() == 1 && b.cols() == a.cols();
}
bool isColumnFor(const FMatrix& b, const FMatrix& a) {
    return b.cols() == 1 && b.rows() == a.rows();
}

template <class Operation>
FMatrix mapElements(const FMatrix& a, Operation operation) {
    FMatrix result(a.rows(), a.cols());
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* from = a[i];
        float* to = result[i];
        for (int j = 0; j < a.cols(); ++j) to[j] = operation(from[j]);
    }
    return result;
}

/// With rows of b that match those of a, or one row of b for all of them.
template <class Operation>
FMatrix withRows(const FMatrix& a, const FMatrix& b, Operation operation) {
    FMatrix result(a.rows(), a.cols());
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* left = a[i];
        const float* right = b[b.rows() == 1 ? 0 : i];
        float* to = result[i];
        for (int j = 0; j < a.cols(); ++j) to[j] = operation(left[j], right[j]);
    }
    return result;
}

template <class Operation>
FMatrix withColumn(const FMatrix& a, const FMatrix& b, Operation operation) {
    FMatrix result(a.rows(), a.cols());
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* left = a[i];
        const float right = b[i][0];
        float* to = result[i];
        for (int j = 0; j < a.cols(); ++j) to[j] = operation(left[j], right);
    }
    return result;
}

template <class Operation>
FMatrix withSame(const FMatrix& a, const FMatrix& b, Operation operation) {
    return sameShape(a, b) ? withRows(a, b, operation) : FMatrix();
}

template <class Operation>
FMatrix rowThenColumn(const FMatrix& a, const FMatrix& b, Operation operation) {
    if (sameShape(a, b) || isRowFor(b, a)) return withRows(a, b, operation);
    if (isColumnFor(b, a)) return withColumn(a, b, operation);
    return {};
}

float sum(float x, float y) {
    return x + y;
}
float product(float x, float y) {
    return x * y;
}
float difference(float x, float y) {
    return isMissing(x) ? missingValue() : x - y;
}

}  // namespace

FMatrix matScale(const FMatrix& a, float s) {
    return mapElements(a, [s](float x) { return x * s; });
}

FMatrix matAddScalar(const FMatrix& a, float s) {
    return mapElements(a, [s](float x) { return x + s; });
}

FMatrix matSubtractScalar(const FMatrix& a, float s) {
    return mapElements(a, [s](float x) { return x - s; });
}

FMatrix matDivideScalar(const FMatrix& a, float s) {
    if (s == 0.0f || isMissing(s)) return {a.rows(), a.cols(), missingValue()};
    return mapElements(a, [s](float x) { return x / s; });
}

FMatrix matAddSame(const FMatrix& a, const FMatrix& b) {
    return withSame(a, b, sum);
}

FMatrix matSubtractSame(const FMatrix& a, const FMatrix& b) {
    return withSame(a, b, [](float x, float y) { return x - y; });
}

FMatrix matHadamardSame(const FMatrix& a, const FMatrix& b) {
    return withSame(a, b, product);
}

FMatrix matDotDivide(const FMatrix& a, const FMatrix& b) {
    return withSame(a, b, [](float x, float y) { return x / y; });
}

FMatrix matAdd(const FMatrix& a, const FMatrix& b) {
    return rowThenColumn(a, b, sum);
}

FMatrix matSubtract(const FMatrix& a, const FMatrix& b) {
    return rowThenColumn(a, b, difference);
}

FMatrix matHadamard(const FMatrix& a, const FMatrix& b) {
    if (sameShape(a, b)) return withRows(a, b, product);
    if (isColumnFor(b, a)) return withColumn(a, b, product);
    if (isRowFor(b, a)) return withRows(a, b, product);
    return {};
}

FMatrix matScaleColumns(const FMatrix& a, const FMatrix& w) {
    if (!isRowFor(w, a)) return {};
    return withRows(a, w, product);
}

bool matScaleColumnsInPlace(const FMatrix& a, const FMatrix& w) {
    if (!isRowFor(w, a)) return false;
    const FMatrix weights = matClone(w);
    for (int i = 0; i < a.filledRows(); ++i) {
        const float* weight = weights[0];
        float* row = a[i];
        for (int j = 0; j < a.cols(); ++j) row[j] *= weight[j];
    }
    return true;
}

FMatrix matSquare(const FMatrix& a) {
    return mapElements(a, [](float x) { return isMissing(x) ? 0.0f : x * x; });
}

FMatrix matSqrt(const FMatrix& a) {
    return mapElements(a, [](float x) { return x > 0.0f ? std::sqrt(x) : 0.0f; });
}

bool matConverged(const FMatrix& a, const FMatrix& b, double tol) {
    if (!sameShape(a, b)) return false;
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) {
            const double x = a[i][j];
            const double y = b[i][j];
            // Wanted as it is: against a zero any negative value passes.
            if (x == 0.0 ? tol < y : std::fabs((x - y) / x) > tol) return false;
        }
    }
    return true;
}

}  // namespace veldane
