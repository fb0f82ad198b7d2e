#include "validation/residual_tables.h"

#include <algorithm>

namespace veldane {
namespace {

/// e -= t p.
void deflateRow(float* e, float t, const float* p, int m) {
    for (int j = 0; j < m; ++j) e[j] -= t * p[j];
}

/// Squares of a row of residuals over their divisor for the sample, and over those for the
/// variables; 0 for what is missing.
void squareRow(const float* e, int m, float remaining, float sampleDivisor,
               const float* variableDivisors, float* forSample, float* shares) {
    for (int j = 0; j < m; ++j) {
        const float residual = e[j] / remaining;
        const float square = isMissing(residual) ? 0.0f : residual * residual;
        forSample[j] = square / sampleDivisor;
        shares[j] += square / variableDivisors[j];
    }
}

/// Sums of the rows: independent chains, run together to hide the latency of an addition.
void sumRows(const FMatrix& rows, float* sums) {
    constexpr int abreast = 4;
    int a = 0;
    for (; a + abreast <= rows.rows(); a += abreast) {
        float sum[abreast] = {};
        for (int j = 0; j < rows.cols(); ++j) {
            for (int k = 0; k < abreast; ++k) sum[k] += rows[a + k][j];
        }
        std::copy_n(sum, abreast, sums + a);
    }
    for (; a < rows.rows(); ++a) {
        sums[a] = 0.0f;
        for (int j = 0; j < rows.cols(); ++j) sums[a] += rows[a][j];
    }
}

int valuesOf(const float* row, int m) {
    int count = 0;
    for (int j = 0; j < m; ++j) count += isMissing(row[j]) ? 0 : 1;
    return count;
}

/// Row a: the divisors of the variables with a components; 1 where there is none.
FMatrix variableDivisors(const ResidualDivisors& divisors, int A, int m) {
    FMatrix result(A + 1, m, 1.0f);
    for (int a = 0; a <= A; ++a) {
        for (int j = 0; j < m; ++j) {
            const float count = divisors.variableCounts[j];
            const float d = divisors.componentsCount
                                ? static_cast<float>(m - a) * count / static_cast<float>(m)
                                : count;
            if (d != 0.0f) result[a][j] = d;
        }
    }
    return result;
}

/// Adds the shares, or nothing that could be a number where there is no divisor.
void addShares(const FMatrix& shares, const ResidualDivisors& divisors, const FMatrix& variables) {
    const int m = shares.cols();
    for (int a = 0; a < shares.rows(); ++a) {
        const bool usedUp = divisors.componentsCount && a == m;
        for (int j = 0; j < m; ++j) {
            if (usedUp || divisors.variableCounts[j] == 0.0f) {
                variables[a][j] = missingValue();
            } else {
                variables[a][j] += shares[a][j];
            }
        }
    }
}

}  // namespace

FVector valueCounts(const FMatrix& a) {
    FVector counts(a.cols(), 0.0f);
    for (int i = 0; i < a.filledRows(); ++i) {
        for (int j = 0; j < a.cols(); ++j) counts[j] += isMissing(a[i][j]) ? 0.0f : 1.0f;
    }
    return counts;
}

void addResiduals(const FMatrix& e, const FMatrix& t, const FMatrix& p, const FMatrix& remaining,
                  const ResidualDivisors& divisors, const IVector& numbers, const FMatrix& samples,
                  const FMatrix& variables) {
    const int A = p.rows(), m = e.cols();
    const FMatrix perVariable = variableDivisors(divisors, A, m);
    const FMatrix shares(A + 1, m, 0.0f);
    const FMatrix squares(A + 1, m);
    const FVector sums(A + 1);
    for (int i = 0; i < e.filledRows(); ++i) {
        const int count = valuesOf(e[i], m);
        const auto divisor = [&](int a) { return divisors.componentsCount ? count - a : count; };
        for (int a = 0; a <= A; ++a) {
            if (a > 0) deflateRow(e[i], t[i][a - 1], p[a - 1], m);
            squareRow(e[i], m, remaining.size() > 0 ? remaining[i][a] : 1.0f,
                      static_cast<float>(divisor(a)), perVariable[a], squares[a], shares[a]);
        }
        sumRows(squares, sums.data());
        for (int a = 0; a <= A; ++a) {
            samples[numbers[i]][a] = divisor(a) > 0 ? sums[a] : missingValue();
        }
    }
    addShares(shares, divisors, variables);
}

}  // namespace veldane
