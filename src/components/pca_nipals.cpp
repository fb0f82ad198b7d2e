#include <cmath>
#include <limits>

#include "components/pcr_model.h"
#include "core/halt_event.h"
#include "core/status.h"
#include "linalg/kernels.h"
#include "linalg/thin_products.h"

namespace veldane {
namespace {

constexpr double doubleEpsilon = std::numeric_limits<double>::epsilon();

/// One component of E: score t, n x 1, and loading p, 1 x m, of unit length.
struct Component {
    FMatrix t;
    FMatrix p;
};

/// Iterates from the t and p that it is given. Ends when the score of the first sample stands
/// still, which is wanted as it is: no other sample's score counts.
void iterate(const FMatrix& e, Component& c, int number, int maxIterations, HaltEvent& halt) {
    const double tolerance = e.rows() * doubleEpsilon;
    const FMatrix projection(1, e.cols());
    multiplyTransposedByVector(e, c.t[0], projection[0]);
    double change = 1.0;
    float previous = 0.0f;
    for (int iter = 1; change > tolerance && iter < maxIterations;) {
        c.p = matDivideScalar(projection, std::sqrt(matSumSquare(projection)));
        // t = E p, and E't for the round to come while E passes by.
        multiplyBothWays(e, c.p[0], c.t[0], projection[0]);
        // A cancelled component is still finished.
        if (halt.poll()) status().report(0.0f, "Cancelling computation. Please wait...");
        const float first = c.t[0][0];
        if (iter != 1) change = (first - previous) * (first - previous);
        previous = first;
        if (++iter == maxIterations) {
            status().reportError(formatMessage("Failed to converge for pc %d", number));
        }
    }
}

/// t' X p.
float latentValue(const FMatrix& x, const Component& c) {
    return matMultiplyABt(matMultiplyAtB(c.t, x), c.p)[0][0];
}

void deflate(const FMatrix& e, const Component& c) {
    const float* p = c.p[0];
    for (int i = 0; i < e.rows(); ++i) {
        const float ti = c.t[i][0];
        float* row = e[i];
        for (int j = 0; j < e.cols(); ++j) row[j] -= ti * p[j];
    }
}

}  // namespace

int CPCRModel::buildNipals(const FMatrix& x, int components, bool centre, int iterations) {
    assign(x, components, centre, nipals);
    if (!hasEnoughData() || !weightsFit()) return -1;
    HaltEvent halt;
    halt.open();
    applyWeights();
    latent = FVector(numPC, 0.0f);
    const int n = X.rows();
    const int m = X.cols();
    // With missing values these differ from the means that centring uses: the divisor is n.
    xMeans = matDivideScalar(matColumnSums(weightedX), static_cast<float>(n));
    const FMatrix e = centre ? matCentre(weightedX) : matClone(weightedX);

    const FMatrix scores(n, numPC, 1.0f);
    const FMatrix loadings(numPC, m, 1.0f);
    Component c = {FMatrix(n, 1), matRow(e, 0)};
    for (int a = 0; a < numPC; ++a) {
        status().report(componentProgress(a, numPC),
                        formatMessage("%s. Computing pc %d of %d", label, a + 1, numPC));
        c.t = matMultiplyABt(e, matSubMatrix(loadings, a, a, 0, m - 1));
        iterate(e, c, a + 1, iterations, halt);
        matSetColumn(scores, c.t, a);
        std::copy_n(c.p[0], m, loadings[a]);
        latent[a] = latentValue(weightedX, c);
        deflate(e, c);
        if (halt.poll()) {
            status().reportError("Computation cancelled. Results are incomplete.");
            cancelled = true;
            break;
        }
    }
    Pt = loadings;
    T = scores;
    status().report(1.0f, "PCA computation completed");
    return 0;
}

}  // namespace veldane
