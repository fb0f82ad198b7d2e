#include "statistics/chi_square.h"

#include "statistics/error_text.h"
#include "statistics/incomplete_gamma.h"

namespace veldane {

double chiCDF_upper_inv(double df, double y) {
    if (!(y >= 0.0) || y > 1.0 || !(df >= 1.0)) {
        writeErrorText("chiCDF_upper_inv: (y < 0) or (y > 1) or (df < 1)");
        return -1.0;
    }
    return 2.0 * gammaUpper_reg_inv(df / 2.0, y);
}

}  // namespace veldane
