"""The Q limits of the gasoline spectra that pca_results_test.cpp holds the library to (NumPy, double)."""
import numpy as np

x = np.genfromtxt("examples/data/gasoline.csv", delimiter=",", skip_header=1)[:, 1:]
eigenvalues = np.linalg.svd(x - x.mean(0), compute_uv=False) ** 2 / (len(x) - 1)
for c in range(5):
    th1, th2, th3 = ((eigenvalues[c:] ** power).sum() for power in (1, 2, 3))
    h0 = 1 - 2 * th1 * th3 / (3 * th2**2)
    print(th1 * (1.65 * np.sqrt(2 * th2 * h0**2) / th1 + 1 + th2 * h0 * (h0 - 1) / th1**2) ** (1 / h0))
