#include "statistics/f_distribution.h"

#include "statistics/error_text.h"
#include "statistics/incomplete_beta.h"

namespace veldane {

double fCDF_upper(int m, int n, double x) {
    if (m < 1 || n < 1 || !(x >= 0.0)) {
        writeErrorText("fCDF_upper: (m < 1) or (n < 1) or (x < 0)");
        return -1.0;
    }
    return betaLower_reg(0.5 * n, 0.5 * m, n / (n + m * x));
}

double fCDF_upper_inv(int m, int n, double y) {
    if (m < 1 || n < 1 || !(y > 0.0) || y > 1.0) {
        writeErrorText("fCDF_upper_inv: (m < 1) or (n < 1) or (y <= 0) or (y > 1)");
        return -1.0;
    }
    const double a = 0.5 * m, b = 0.5 * n;
    if (y >= betaLower_reg(b, a, 0.5) && y >= 0.001) {
        const double w = betaLower_reg_inv(a, b, 1.0 - y);
        return n * w / (m * (1.0 - w));
    }
    const double w = betaLower_reg_inv(b, a, y);
    return (n - n * w) / (m * w);
}

}  // namespace veldane
