"""The filtered gasoline spectrum in scipy_filters.csv that filters_test.cpp reads (SciPy, double)."""
import numpy as np
from scipy import ndimage
from scipy.signal import savgol_filter

x = np.genfromtxt("examples/data/gasoline.csv", delimiter=",", skip_header=1)[0, 1:].astype(np.float32)
x = x.astype(float)
columns = {
    "channel": np.arange(len(x)),
    "savgol 0 15 2": savgol_filter(x, 15, 2),
    "savgol 1 15 2": savgol_filter(x, 15, 2, deriv=1),
    "savgol 2 21 3": savgol_filter(x, 21, 3, deriv=2),
    "savgol 3 25 4": savgol_filter(x, 25, 4, deriv=3),
    "savgol 1 15 2 again": savgol_filter(x, 15, 2, deriv=1),
    "uniform 9": ndimage.uniform_filter1d(x, 9),
    "median 7": ndimage.median_filter(x, 7),
    "gaussian 15": ndimage.gaussian_filter1d(x, 3.255, truncate=7 / 3.255),
}
with open("tests/data/scipy_filters.csv", "w") as out:
    print(",".join(columns), file=out)
    for j in range(15, len(x) - 15, 13):
        print(",".join(f"{column[j]:.9g}" for column in columns.values()), file=out)
