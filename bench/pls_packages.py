"""PLS builds beside R's pls and scikit-learn: same data, one run, best of several turns, one thread.

python3 bench/pls_packages.py build-bench/libveldane.so
Needs python3-sklearn, r-base-core and r-cran-pls.
"""
import os
import sys

for variable in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[variable] = "1"

import ctypes
import subprocess
import tempfile
import time
import warnings

import numpy as np
from sklearn.cross_decomposition import PLSRegression

TURNS = 15
FACTORS = 10

R_PROGRAM = """
suppressMessages(library(pls))
args <- commandArgs(TRUE)
n <- as.integer(args[2]); p <- as.integer(args[3]); m <- as.integer(args[4])
values <- readBin(args[1], "double", n * (p + m))
X <- matrix(values[1:(n * p)], n, p); Y <- matrix(values[-(1:(n * p))], n, m)
fit <- get(args[5])
cat(min(replicate(%d, {
    t0 <- Sys.time(); fit(X, Y, %d, stripped = TRUE); as.numeric(Sys.time() - t0, units = "secs")
})))
""" % (TURNS, FACTORS)


class ArrayDesc(ctypes.Structure):
    _fields_ = [(name, ctypes.c_int32) for name in ("kind", "cols", "rows", "pages")]
    _fields_.append(("data", ctypes.c_void_p))


def desc(array):
    return ArrayDesc(0, array.shape[1], array.shape[0], 1, array.ctypes.data)


def library_seconds(lib, X, Y, algorithm):
    x, y = desc(X), desc(Y)
    lib.PLS_Init()
    start = time.perf_counter()
    result = lib.PLS_BuildModel(ctypes.byref(x), ctypes.byref(y), 1, FACTORS, algorithm)
    elapsed = time.perf_counter() - start
    assert result == 0
    return elapsed


def sklearn_seconds(X, Y):
    start = time.perf_counter()
    PLSRegression(FACTORS, scale=False).fit(X, Y)
    return time.perf_counter() - start


def r_seconds(X, Y, function):
    with tempfile.NamedTemporaryFile() as data, tempfile.NamedTemporaryFile("w") as program:
        X.T.tofile(data), Y.T.tofile(data)
        data.flush(), program.write(R_PROGRAM), program.flush()
        sizes = [str(size) for size in (*X.shape, Y.shape[1])]
        command = ["Rscript", program.name, data.name, *sizes, function]
        return float(subprocess.run(command, capture_output=True, check=True, text=True).stdout)


def main():
    warnings.simplefilter("ignore")
    lib = ctypes.CDLL(sys.argv[1])
    rows = [(500, 2000, 1, 0, "kernelpls.fit"), (500, 2000, 5, 0, "kernelpls.fit"),
            (100, 10000, 1, 1, "widekernelpls.fit"), (500, 2000, 1, 2, "oscorespls.fit")]
    for n, p, m, algorithm, function in rows:
        rng = np.random.default_rng(1)
        scores = rng.normal(size=(n, 20))
        X = scores @ rng.normal(size=(20, p)) + 0.1 * rng.normal(size=(n, p))
        Y = scores @ rng.normal(size=(20, m)) + 0.1 * rng.normal(size=(n, m))
        x, y = X.astype(np.float32), Y.astype(np.float32)
        ours = theirs = np.inf
        for _ in range(TURNS):
            ours = min(ours, library_seconds(lib, x, y, algorithm))
            theirs = min(theirs, sklearn_seconds(X, Y))
        r = r_seconds(X, Y, function)
        print(f"{n} x {p}, m = {m}, algorithm {algorithm}: library {ours * 1e3:.1f} ms, "
              f"{function} {r * 1e3:.1f} ms ({ours / r:.2f}), "
              f"scikit-learn {theirs * 1e3:.1f} ms ({ours / theirs:.2f})")


main()
