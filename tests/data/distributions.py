"""Writes distributions.inc, which the tests hold the library's distributions to (mpmath, SciPy)."""
import math
import pathlib

import mpmath as mp
from scipy import stats

mp.mp.dps = 50
below, above = lambda x: math.nextafter(x, -math.inf), lambda x: math.nextafter(x, math.inf)


def beta_lower(a, b, x):
    """The continued fraction of DLMF 8.17.22, from its far end."""
    a, b, x = mp.mpf(a), mp.mpf(b), mp.mpf(x)
    if x > (a + 1) / (a + b + 2):
        return 1 - beta_lower(b, a, 1 - x)
    fraction = mp.mpf(0)
    for m in range(200 + int(20 * mp.sqrt(max(a, b))), 0, -1):
        even = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m))
        odd = -(a + m - 1) * (a + b + m - 1) * x / ((a + 2 * m - 2) * (a + 2 * m - 1))
        fraction = odd / (1 + even / (1 + fraction))
    return mp.exp(a * mp.log(x) + b * mp.log(1 - x) + mp.loggamma(a + b) - mp.loggamma(a)
                  - mp.loggamma(b)) / a / (1 + fraction)


def gamma_lower(a, x):
    """The series of DLMF 8.7.1."""
    a, x = mp.mpf(a), mp.mpf(x)
    term = total = 1 / a
    n = 1
    while term > total * mp.eps:
        term *= x / (a + n)
        total += term
        n += 1
    return total * mp.exp(a * mp.log(x) - x - mp.loggamma(a))


def inverse(f, start):
    return mp.findroot(f, (mp.mpf(start), mp.mpf(start) * (1 + mp.mpf(10) ** -5)), tol=mp.mpf(10) ** -36)


def f_upper(m, n, x):
    m, n, x = map(mp.mpf, (m, n, x))
    return beta_lower(n / 2, m / 2, n / (n + m * x))


def f_upper_inv(m, n, y):
    return inverse(lambda x: f_upper(m, n, x) / y - 1, stats.f.isf(y, m, n))


def chi_upper_inv(df, y):
    return inverse(lambda x: gamma_lower(mp.mpf(df) / 2, x / 2) / (1 - mp.mpf(y)) - 1, stats.chi2.isf(y, df))


def t_lower(t, k):
    t = mp.mpf(t)
    tail = beta_lower(mp.mpf(k) / 2, 0.5, k / (k + t * t)) / 2
    return tail if t < 0 else 1 - tail


def beta_lower_inv(a, b, y):
    return inverse(lambda x: beta_lower(a, b, x) / y - 1, stats.beta.ppf(y, a, b))


def normal_inv(y):
    y = mp.mpf(y)
    return inverse(lambda x: mp.ncdf(x) / y - 1, stats.norm.ppf(float(y)))


ordinary = [(m, n, y) for m, n in ((1, 3), (2, 1), (5, 10), (30, 342), (40000, 12))
            for y in (1e-5, below(0.001), 0.001, 0.05, 0.7, 1 - 1e-5)]
exp2, exp32 = math.exp(-2), math.exp(-32)
CASES = {
    "fCDF_upper": (f_upper, [(5, 10, 3.3), (1, 40000, 0.01), (7, 1, 1e20), (171, 170, 1.0), (172, 171, 0.9)]),
    "fCDF_upper_inv": (f_upper_inv, ordinary + [(5, 10, 1e-12), (3, 4, 1 - 1e-12), (40000, 40000, 0.01)]),
    "chiCDF_upper_inv": (chi_upper_inv, [(df, y) for df in (1, 2, 31, 1e6)
                                         for y in (1e-12, 0.05, 0.5, 0.999)]),
    "tCDF": (t_lower, [(t, k) for t in (-30.0, below(-2.0), -2.0, 1e-3, 7.5) for k in (1, 2, 7, 20000)]
             + [(-2.0, 999999), (1.5, 1000000)]),
    "betaLower_reg": (beta_lower, [
        (2.5, 4.0, 0.25), (2.5, 4.0, above(0.25)), (0.5, 1.0, 0.95), (0.5, 1.0, above(0.95)), (3.0, 5.0, 0.375),
        (3.0, 5.0, above(0.375)), (85.75, 85.75, 0.4), (86.0, 85.75, 0.4), (0.5, 171.0, 1e-6), (4.0, 900.0, 0.7),
        (2000.0, 3.0, 0.9), (1e-3, 1e-3, 0.3)]),
    "betaLower_reg_inv": (beta_lower_inv, [(2.0, 3.0, 0.7), (0.5, 0.5, 0.3), (0.01, 5.0, 0.2), (100.0, 3.0, 1e-6),
                                           (9.0, 2.0, 0.99)]),
    "gammaLower_reg": (gamma_lower, [(0.3, 1.0), (1.0, above(1.0)), (10.0, 10.0), (10.0, above(10.0)),
                                     (50000.0, 49000.0)]),
    "gammaUpper_reg": (lambda a, x: 1 - gamma_lower(a, x), [(0.3, below(1.0)), (0.3, 1.0), (10.0, below(10.0)),
                                                            (10.0, 80.0), (5000.0, 5200.0)]),
    "gamma": (mp.gamma, [(x,) for x in (-150.5, -33.5, -32.5, -0.5, -1e-9, 1e-9, above(1e-9), 2.0, 3.0, 33.0,
                                        above(33.0), 143.01608, above(143.01608), 171.6)]),
    "gamma_log": (lambda x: mp.log(abs(mp.gamma(x))) if x < 0 else mp.loggamma(x), [
        (x,) for x in (-500.25, -34.5, -33.5, -0.5, 0.25, 2.0, below(13.0), 13.0, below(1000.0), 1000.0, 1e8,
                       above(1e8), 1e300)]),
    "normalCDF": (lambda x: mp.ncdf(x), [(x,) for x in (-37.0, -10.0, below(-4.0), -4.0, -0.6629126073623884,
                                                        -0.6629126073623883, 0.5, 3.0, 5.0)]),
    "normalCDF_inv": (normal_inv, [(y,) for y in (1e-300, below(exp32), above(exp32), below(exp2), above(exp2), 0.3,
                                                  below(1 - exp2), above(1 - exp2), 1 - 1e-12)]),
}

if __name__ == "__main__":
    with open(pathlib.Path(__file__).with_suffix(".inc"), "w") as out:
        for name, (function, arguments) in CASES.items():
            for args in arguments:
                value = mp.nstr(function(*args), 17)
                print(f"CASE({name}({', '.join(f'{a:.17g}' for a in args)}), {value})", file=out)
