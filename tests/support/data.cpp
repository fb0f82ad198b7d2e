#include "support/data.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numeric>
#include <sstream>
#include <stdexcept>

#include "linalg/kernels.h"

namespace veldane::test {
namespace {

using Table = std::vector<std::vector<double>>;

Table centredTable(const FMatrix& x, bool centre) {
    Table e(static_cast<size_t>(x.rows()), std::vector<double>(static_cast<size_t>(x.cols())));
    for (int j = 0; j < x.cols(); ++j) {
        double mean = 0.0;
        for (int i = 0; i < x.rows() && centre; ++i) mean += x[i][j] / double(x.rows());
        for (int i = 0; i < x.rows(); ++i) e[i][j] = x[i][j] - mean;
    }
    return e;
}

/// Cyclic Jacobi: g becomes diagonal, v its eigenvectors in columns.
void diagonalise(Table& g, Table& v) {
    const size_t n = g.size();
    for (int sweep = 0; sweep < 30; ++sweep) {
        for (size_t p = 0; p < n; ++p) {
            for (size_t q = p + 1; q < n; ++q) {
                if (g[p][q] == 0.0) continue;
                const double angle = 0.5 * std::atan2(2.0 * g[p][q], g[q][q] - g[p][p]);
                const double c = std::cos(angle), s = std::sin(angle);
                const auto turn = [c, s](double& a, double& b) {
                    const double first = c * a - s * b;
                    b = s * a + c * b;
                    a = first;
                };
                for (size_t k = 0; k < n; ++k) turn(g[k][p], g[k][q]);
                for (size_t k = 0; k < n; ++k) turn(g[p][k], g[q][k]);
                for (size_t k = 0; k < n; ++k) turn(v[k][p], v[k][q]);
            }
        }
    }
}

}  // namespace

FMatrix readTable(const std::string& file) {
    std::ifstream stream(std::string(VELDANE_PROJECT_DIR) + "/" + file);
    if (!stream) throw std::runtime_error("cannot read " + file);
    std::string line;
    std::getline(stream, line);
    std::vector<float> values;
    int rows = 0;
    while (std::getline(stream, line)) {
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, ',');) values.push_back(std::stof(cell));
        ++rows;
    }
    return FMatrix(rows, static_cast<int>(values.size()) / rows, values.data()).clone();
}

FMatrix gasolineSpectra() {
    const FMatrix table = readTable("examples/data/gasoline.csv");
    return matSubMatrix(table, 0, table.rows() - 1, 1, table.cols() - 1).clone();
}

FMatrix irisMeasurements() {
    const FMatrix table = readTable("tests/data/iris.csv");
    return matSubMatrix(table, 0, table.rows() - 1, 0, 3).clone();
}

Decomposition decompose(const FMatrix& x, bool centre) {
    const Table e = centredTable(x, centre);
    const bool tall = x.rows() > x.cols();
    const size_t n = static_cast<size_t>(x.rows()), m = static_cast<size_t>(x.cols());
    const size_t k = std::min(n, m);
    const auto element = [&](size_t i, size_t l) { return tall ? e[l][i] : e[i][l]; };
    Table g(k, std::vector<double>(k, 0.0)), v = g;
    for (size_t i = 0; i < k; ++i) {
        v[i][i] = 1.0;
        for (size_t j = 0; j < k; ++j) {
            for (size_t l = 0; l < std::max(n, m); ++l) g[i][j] += element(i, l) * element(j, l);
        }
    }
    diagonalise(g, v);
    std::vector<size_t> order(k);
    std::iota(order.begin(), order.end(), size_t{0});
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return g[a][a] > g[b][b]; });

    Decomposition result;
    result.scores = FMatrix(x.rows(), static_cast<int>(k));
    result.loadings = FMatrix(static_cast<int>(k), x.cols());
    for (size_t a = 0; a < k; ++a) {
        const size_t c = order[a];
        const double eigenvalue = std::max(g[c][c], 0.0);
        const double singular = std::sqrt(eigenvalue);
        result.eigenvalues.push_back(eigenvalue);
        // The vector of the smaller side is at hand; the other one is a product with the table.
        for (size_t i = 0; i < n; ++i) {
            double score = 0.0;
            for (size_t j = 0; j < m && tall; ++j) score += e[i][j] * v[j][c];
            result.scores[int(i)][a] = static_cast<float>(tall ? score : v[i][c] * singular);
        }
        for (size_t j = 0; j < m; ++j) {
            double loading = 0.0;
            for (size_t i = 0; i < n && !tall; ++i) loading += e[i][j] * v[i][c] / singular;
            result.loadings[int(a)][j] = static_cast<float>(tall ? v[j][c] : loading);
        }
    }
    return result;
}

}  // namespace veldane::test
