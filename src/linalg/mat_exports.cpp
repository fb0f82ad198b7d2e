#include "core/descriptor.h"
#include "linalg/golub_kahan_svd.h"
#include "linalg/householder_solver.h"
#include "linalg/kernels.h"

using namespace veldane;

namespace {

constexpr int shapeError = -1;

struct Shape {
    int rows = 0;
    int cols = 0;
};

/// The extents that the caller wrote, also where the array then counts as empty.
Shape shapeOf(const ArrayDesc* desc) {
    return desc ? Shape{desc->rows, desc->cols} : Shape{};
}

bool broadcasts(Shape a, Shape b) {
    if (b.rows == 1 && b.cols != a.cols) return false;
    if (b.cols == 1 && b.rows != a.rows) return false;
    if (b.cols > 1 && a.cols != b.cols) return false;
    if (b.rows > 1 && a.rows != b.rows) return false;
    return true;
}

}  // namespace

int MAT_Kronecker(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    FMatrix product = matHadamard(descToMatrix(a), descToMatrix(b));
    if (product.size() == 0) return shapeError;
    matrixToDesc(std::move(product), out);
    return 0;
}

int MAT_Add(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    if (!broadcasts(shapeOf(a), shapeOf(b))) return shapeError;
    matrixToDesc(matAdd(descToMatrix(a), descToMatrix(b)), out);
    return 0;
}

int MAT_Subtract(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    if (!broadcasts(shapeOf(a), shapeOf(b))) return shapeError;
    matrixToDesc(matSubtract(descToMatrix(a), descToMatrix(b)), out);
    return 0;
}

int MAT_XtX(const ArrayDesc* x, ArrayDesc* out) {
    matrixToDesc(matXtX(descToMatrix(x)), out);
    return 0;
}

int MAT_Multiply(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    if (shapeOf(a).cols != shapeOf(b).rows) return shapeError;
    matrixToDesc(matMultiply(descToMatrix(a), descToMatrix(b)), out);
    return 0;
}

int MAT_Inverse(const ArrayDesc* x, ArrayDesc* out) {
    matrixToDesc(matInverse(descToMatrix(x)), out);
    return 0;
}

int MAT_QR(const ArrayDesc* x, ArrayDesc* q, ArrayDesc* r) {
    if (shapeOf(x).rows < shapeOf(x).cols) return shapeError;
    const HouseholderSolver solver(descToMatrix(x));
    matrixToDesc(solver.q(), q);
    matrixToDesc(solver.r(), r);
    return 0;
}

int MAT_DotDivide(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    const Shape left = shapeOf(a);
    const Shape right = shapeOf(b);
    // Wanted as it is: one extent that differs alone is no error but an empty result.
    if (left.rows != right.rows && left.cols != right.cols) return shapeError;
    matrixToDesc(matDotDivide(descToMatrix(a), descToMatrix(b)), out);
    return 0;
}

int MAT_SVD(const ArrayDesc* x, ArrayDesc* u, ArrayDesc* s, ArrayDesc* v) {
    CSVD svd;
    const int result = svd.compute(descToMatrix(x), true);
    if (result != 0) return result;
    FMatrix left, right;
    svd.getU(left);
    svd.getV(right);
    vectorToDesc(std::move(svd.s), s);
    matrixToDesc(std::move(left), u);
    matrixToDesc(std::move(right), v);
    return 0;
}

int MAT_Divide(const ArrayDesc* a, const ArrayDesc* b, ArrayDesc* out) {
    if (shapeOf(a).cols != shapeOf(b).cols) return shapeError;
    matrixToDesc(matMultiply(descToMatrix(a), matPseudoInverse(descToMatrix(b))), out);
    return 0;
}
