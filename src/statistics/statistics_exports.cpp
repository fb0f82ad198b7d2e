#include <cmath>

#include "statistics/chi_square.h"
#include "statistics/f_distribution.h"
#include "statistics/normal.h"
#include "statistics/student_t.h"
#include "veldane.h"

double STAT_FDist(int m, int n, double alpha) {
    return veldane::fCDF_upper_inv(m, n, alpha);
}

double STAT_TDist(int df, double p) {
    return df < 0 ? 0.0 : std::fabs(veldane::tCDF_inv(p, df));
}

double STAT_Chisquare(int df, float p) {
    return df < 0 ? 0.0 : veldane::chiCDF_upper_inv(df, p);
}

double STAT_NormCDF(double x) {
    return veldane::normalCDF(x);
}

double STAT_NormPDF(double x, double mean, double variance) {
    return veldane::normalPDF(x, mean, variance);
}
