#include "linalg/score_statistics.h"

#include <cmath>
#include <vector>

#include "linalg/kernels.h"

namespace veldane {
namespace {

constexpr float largestLeverage = 0.99f;

/// The normal deviate of the Q limit, 5 % one-sided.
constexpr double deviate = 1.65;

float quotient(float x, float divisor) {
    return divisor == 0.0f ? 0.0f : x / divisor;
}

/// The columns of a matrix, each in a row of memory.
std::vector<FMatrix> columnsOf(const FMatrix& transposed) {
    std::vector<FMatrix> columns;
    columns.reserve(static_cast<size_t>(transposed.rows()));
    for (int j = 0; j < transposed.filledRows(); ++j) {
        columns.emplace_back(transposed.cols(), 1, transposed[j]);
    }
    return columns;
}

}  // namespace

FVector crossProductDiagonal(const FMatrix& a) {
    FVector result(a.cols(), 0.0f);
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) result[j] += a[i][j] * a[i][j];
    }
    return result;
}

FMatrix accumulatedSquares(const FMatrix& scores, const FVector& scale, int components) {
    FMatrix result(scores.rows(), components);
    for (int i = 0; i < result.filledRows(); ++i) {
        float sum = 0.0f;
        for (int a = 0; a < components; ++a) {
            const float scaled = scale[a] * scores[i][a];
            if (!isMissing(scaled)) sum += scaled * scaled;
            result[i][a] = sum;
        }
    }
    return result;
}

FMatrix sampleLeverages(const FMatrix& T) {
    const int n = T.rows();
    const FVector lengths = matColumnSumSquares(T);
    const FMatrix squares = matSquare(T);
    FMatrix result(n, T.cols());
    for (int i = 0; i < squares.filledRows(); ++i) {
        float sum = 0.0f;
        for (int a = 0; a < T.cols(); ++a) {
            const float part = quotient(squares[i][a], lengths[a]);
            if (!isMissing(part)) sum += part;
            const float leverage = 1.0f / static_cast<float>(n) + sum;
            result[i][a] = leverage > largestLeverage ? largestLeverage : leverage;
        }
    }
    return result;
}

FMatrix variableLeverages(const FMatrix& rows) {
    const float length = rows.size() > 0 ? matRowSumSquare(rows, 0) : 0.0f;
    FMatrix result = matSquare(rows);
    for (int a = 0; a < rows.filledRows(); ++a) {
        for (int j = 0; j < rows.cols(); ++j) {
            const float part = quotient(result[a][j], length);
            result[a][j] = a == 0 ? part : result[a - 1][j] + part;
        }
    }
    return result;
}

FMatrix correlationLoadings(const FMatrix& scores, const FMatrix& variables) {
    FMatrix result(scores.cols(), variables.cols(), -0.0f);
    const FMatrix scoreRows = matTranspose(scores);
    const FMatrix variableRows = matTranspose(variables);
    const std::vector<FMatrix> t = columnsOf(scoreRows);
    const std::vector<FMatrix> x = columnsOf(variableRows);
    for (size_t j = 0; j < x.size(); ++j) {
        for (size_t a = 0; a < t.size(); ++a) {
            result[static_cast<int>(a)][static_cast<int>(j)] = matCorrelation(t[a], x[j]);
        }
    }
    return result;
}

double jacksonMudholkarLimit(double th1, double th2, double th3) {
    const double h0 = 1.0 - (2.0 * th1 * th3) / (3.0 * th2 * th2);
    const double base = ((h0 - 1.0) * th2 * h0) / (th1 * th1) +
                        (std::sqrt(2.0 * th2 * h0 * h0) * deviate) / th1 + 1.0;
    return th1 * std::pow(base, 1.0 / h0);
}

}  // namespace veldane
