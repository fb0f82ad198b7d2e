#include "support/data.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <valarray>

namespace veldane::test {
namespace {

using Row = std::valarray<double>;

double dot(const Row& a, const Row& b) {
    return (a * b).sum();
}

/// One-sided Jacobi: the rows become orthogonal, the longest first.
void orthogonalise(std::vector<Row>& rows) {
    for (int sweep = 0; sweep < 15; ++sweep) {
        for (auto a = rows.begin(); a != rows.end(); ++a) {
            for (auto b = a + 1; b != rows.end(); ++b) {
                const double angle = std::atan2(2.0 * dot(*a, *b), dot(*a, *a) - dot(*b, *b)) / 2.0;
                const Row turned = std::cos(angle) * *a + std::sin(angle) * *b;
                *b = std::cos(angle) * *b - std::sin(angle) * *a;
                *a = turned;
            }
        }
    }
}

}  // namespace

FMatrix readTable(const std::string& file) {
    std::ifstream stream(std::string(VELDANE_PROJECT_DIR) + "/" + file);
    if (!stream) throw std::runtime_error("cannot read " + file);
    std::string header;
    std::getline(stream, header);
    std::vector<float> values;
    for (float value; stream >> value; stream.ignore()) values.push_back(value);
    const int cols = static_cast<int>(std::count(header.begin(), header.end(), ',')) + 1;
    return FMatrix(static_cast<int>(values.size()) / cols, cols, values.data()).clone();
}

FMatrix gasolineSpectra() {
    const FMatrix table = readTable("examples/data/gasoline.csv");
    return table.view(0, table.rows() - 1, 1, table.cols() - 1).clone();
}

FMatrix irisMeasurements() {
    return readTable("tests/data/iris.csv").view(0, 149, 0, 3).clone();
}

Decomposition decompose(const FMatrix& x, bool centre) {
    const int n = x.rows(), m = x.cols(), k = std::min(n, m);
    std::vector<Row> table(static_cast<size_t>(n), Row(static_cast<size_t>(m)));
    Row means(static_cast<size_t>(m));
    for (int i = 0; i < n; ++i) {
        std::copy_n(x[i], m, std::begin(table[i]));
        means += table[i] / static_cast<double>(n);
    }
    for (Row& row : table) row -= centre ? means : 0.0 * means;
    std::vector<Row> turned = table;
    orthogonalise(turned);

    Decomposition result = {FMatrix(n, k), FMatrix(k, m), {}};
    for (int a = 0; a < k; ++a) {
        result.eigenvalues.push_back(dot(turned[a], turned[a]));
        const Row loading = turned[a] / std::sqrt(result.eigenvalues.back());
        std::copy(std::begin(loading), std::end(loading), result.loadings[a]);
        for (int i = 0; i < n; ++i)
            result.scores[i][a] = static_cast<float>(dot(table[i], loading));
    }
    return result;
}

}  // namespace veldane::test
