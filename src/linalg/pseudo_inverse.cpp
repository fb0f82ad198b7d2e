#include "linalg/golub_kahan_svd.h"
#include "linalg/kernels.h"

namespace veldane {

FMatrix matPseudoInverse(const FMatrix& a) {
    if (a.size() == 0) return {};
    const bool wide = a.rows() < a.cols();
    const CSVD svd(wide ? matTranspose(a) : a);
    FMatrix U, S, V;
    svd.getU(U);
    svd.getS(S);
    svd.getV(V);
    for (int k = 0; k < S.rows(); ++k) {
        S[k][k] = S[k][k] == 0.0f ? reciprocalOfZero : 1.0f / S[k][k];
    }
    return wide ? matMultiplyABt(matMultiply(U, S), V) : matMultiplyABt(matMultiply(V, S), U);
}

}  // namespace veldane
