// Principal components of a table of spectra, with all its values and again without some of them.
//
// A small host of the library: it reads data, shows progress, lets Ctrl-C cancel and prints what it
// fetches.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "csv_table.h"
#include "host.h"
#include "veldane.h"

namespace {

constexpr int maxIterations = 500;
constexpr int shown = 5;  // samples and components in the table of scores

const char* const usage = "usage: explore_spectra FILE.csv [components] [algorithm]\n";
const char* const help =
    "\n"
    "Prints the principal components of the samples in FILE.csv, then again without 5 % of the\n"
    "values. Below a header line, the first column is a response that stays out of the model. An\n"
    "empty cell, NaN, nan and NA are missing values. Ctrl-C ends the computation and shows the\n"
    "components found so far; a second one ends the program.\n"
    "\n"
    "algorithm  svd      the library's own SVD, the first choice for complete data\n"
    "           lapack   SVD by LAPACK\n"
    "           nipals   one component after the other\n"
    "           missing  NIPALS around missing values, the first choice where there are any\n";

struct Algorithm {
    const char* name;
    const char* title;
    int number;
};

constexpr Algorithm algorithms[] = {
    {"svd", "SVD", VELDANE_PCA_SVD},
    {"lapack", "SVD by LAPACK", VELDANE_PCA_LAPACK_SVD},
    {"nipals", "NIPALS", VELDANE_PCA_NIPALS},
    {"missing", "NIPALS for missing values", VELDANE_PCA_MISSING_NIPALS}};
constexpr const Algorithm& forCompleteData = algorithms[0];
constexpr const Algorithm& forMissingValues = algorithms[3];

/// There is one PCA model in a process. This is its life.
struct PcaModel {
    PcaModel() { require(PCA_Init(), "PCA_Init"); }
    PcaModel(const PcaModel&) = delete;
    PcaModel& operator=(const PcaModel&) = delete;
    ~PcaModel() { PCA_Terminate(); }
};

struct Run {
    int finished;  ///< components; after a cancel T and Pt hold fill values behind them
    bool stopped;
    Matrix T;                ///< scores, n x A
    Matrix Pt;               ///< loadings, A x m
    Matrix hotellingT2;      ///< n x A
    Matrix sampleResiduals;  ///< mean squares, n x A
    Matrix qLimits;          ///< of the sums of squares that 0 to A components leave, 1 x (A + 1)
};

Run compute(Matrix& x, int components, int algorithm, Progress& progress) {
    const PcaModel model;
    // The library works on these very elements and copies none: x outlives the model.
    const ArrayDesc X = describe(x);
    progress.begin();
    const int result = PCA_BuildModel(&X, components, 1, maxIterations, algorithm, 0);
    progress.erase();
    // The result does not tell a cancel: it is 0 or -1 then, as the algorithm has it.
    if (!progress.cancelled) require(result, "PCA_BuildModel: " + progress.error);
    Run run = {};
    run.finished = progress.cancelled ? progress.component : components;
    // A Ctrl-C after the last component cancels nothing and is to stop the program all the same.
    run.stopped = progress.cancelled || wasInterrupted();
    run.T = fetch(PCA_GetScores, "PCA_GetScores");
    run.Pt = fetch(PCA_GetLoadings, "PCA_GetLoadings");
    if (run.stopped) return run;
    run.hotellingT2 = fetch(PCA_GetHotellingTSquare, "PCA_GetHotellingTSquare");
    run.sampleResiduals =
        fetch([](ArrayDesc* out) { return PCA_GetResiduals(out, nullptr); }, "PCA_GetResiduals");
    run.qLimits = fetch(PCA_GetQResLim, "PCA_GetQResLim");
    return run;
}

/// Counts and means of the values that are there.
struct Present {
    std::vector<int> inRow;
    std::vector<int> inColumn;
    std::vector<double> means;

    explicit Present(const Matrix& x) : inRow(x.rows), inColumn(x.cols), means(x.cols) {
        for (int i = 0; i < x.rows; ++i) {
            for (int j = 0; j < x.cols; ++j) {
                if (std::isnan(x[i][j])) continue;
                ++inRow[i];
                ++inColumn[j];
                means[j] += x[i][j];
            }
        }
        for (int j = 0; j < x.cols; ++j) means[j] /= inColumn[j];
    }
};

/// Share of the variance that the first 0, 1, 2, ... components explain: 1 - squares of (E - T P')
/// / squares of E, where E is the centred X and both sums leave missing values out. Without any, a
/// component's part is the sum of its t² over the squares of E, since loadings have unit length.
std::vector<double> explainedShares(const Matrix& x, const Run& run) {
    const Present present(x);
    std::vector<double> squares(run.finished + 1, 0.0);
    for (int i = 0; i < x.rows; ++i) {
        for (int j = 0; j < x.cols; ++j) {
            if (std::isnan(x[i][j])) continue;
            double e = x[i][j] - present.means[j];
            squares[0] += e * e;
            for (int a = 0; a < run.finished; ++a) {
                e -= double{run.T[i][a]} * run.Pt[a][j];
                squares[a + 1] += e * e;
            }
        }
    }
    if (squares[0] == 0.0) throw InputError("the samples do not differ: nothing to explain");
    const double total = squares[0];
    for (double& square : squares) square = 1.0 - square / total;
    return squares;
}

void showShares(const std::vector<double>& shares) {
    std::printf("\n  component   explained %%   cumulated %%\n");
    for (size_t a = 1; a < shares.size(); ++a) {
        std::printf("  %9zu   %11.3f   %11.3f\n", a, 100.0 * (shares[a] - shares[a - 1]),
                    100.0 * shares[a]);
    }
    if (std::isnan(shares.back())) std::printf("  nan: there is nothing left to explain.\n");
}

/// What a sample's variables have left of it: far from the model if it is above the limit.
double residual(const Run& run, const Matrix& x, int sample) {
    return double{run.sampleResiduals[sample][run.finished - 1]} * x.cols;
}

/// The limit of 5 % for it, an approximation that fails where it is below the mean. 0 for none.
double usableLimit(const Run& run, const Matrix& x) {
    if (run.stopped) return 0.0;
    double mean = 0.0;
    for (int i = 0; i < x.rows; ++i) mean += residual(run, x, i) / x.rows;
    const double limit = run.qLimits[0][run.finished];
    return limit > mean ? limit : 0.0;
}

/// The limit of 5 % for Hotelling's T² with all components; there is one with fewer of them than
/// samples. 0 for none.
double hotellingLimit(const Run& run, const Matrix& x) {
    if (run.stopped || run.finished >= x.rows) return 0.0;
    constexpr int fivePercent = 3;
    ArrayDesc limits = {VELDANE_KIND_LIBRARY, 0, 0, 1, nullptr};
    calculateHotellingT2Limits(x.rows, run.finished, &limits);
    return limits.data[fivePercent * limits.cols + run.finished - 1];
}

/// What a sample is marked with: the limits of 5 % that it is above.
std::string outlierMark(const Run& run, const Matrix& x, int sample, double limitT2,
                        double limitQ) {
    const bool far = limitT2 > 0.0 && run.hotellingT2[sample][run.finished - 1] > limitT2;
    const bool apart = limitQ > 0.0 && residual(run, x, sample) > limitQ;
    if (far && apart) return "  outlier by T2 and Q";
    return far ? "  outlier by T2" : apart ? "  outlier by Q" : "";
}

void showLimit(const char* name, double limit) {
    if (limit > 0.0) {
        std::printf("  limit of %s at 5 %%: %.4g\n", name, limit);
    } else {
        std::printf("  no limit of %s is known for this model\n", name);
    }
}

/// The first samples, and those above a limit. Only the SVD algorithms know the eigenvalues behind
/// the last component, which that of Q rests on.
void showSamples(const Run& run, const Matrix& x, const Matrix& response, const std::string& name) {
    const int scores = std::min(shown, run.finished);
    const double limitT2 = hotellingLimit(run, x), limitQ = usableLimit(run, x);
    std::printf("\n  sample   %12.12s", name.c_str());
    for (int a = 0; a < scores; ++a) std::printf("    score %d", a + 1);
    if (!run.stopped) std::printf("   Hotelling T2     residual Q");
    for (int i = 0; i < x.rows; ++i) {
        const std::string mark = outlierMark(run, x, i, limitT2, limitQ);
        if (i >= shown && mark.empty()) continue;
        std::printf("\n  %6d   %12.6g", i + 1, response[i][0]);
        for (int a = 0; a < scores; ++a) std::printf(" %10.4g", run.T[i][a]);
        if (run.stopped) continue;
        std::printf("   %12.4g   %12.4g%s", run.hotellingT2[i][run.finished - 1],
                    residual(run, x, i), mark.c_str());
    }
    std::printf("\n");
    if (run.stopped) return;
    showLimit("Hotelling T2", limitT2);
    showLimit("Q", limitQ);
}

void show(const Run& run, const Matrix& x, const Matrix& response, const std::string& name) {
    if (run.stopped) {
        std::printf("\n  Interrupted: %d components are finished, and only these are shown.\n",
                    run.finished);
    }
    if (run.finished == 0) return;
    showShares(explainedShares(x, run));
    showSamples(run, x, response, name);
}

/// Replaces one value of twenty by NaN, but never the last of a row or column, without which there
/// is nothing to compute a score or a loading from. Returns how many.
int removeSome(Matrix& x) {
    Present present(x);
    // This generator gives the same numbers everywhere; the distributions of <random> do not.
    std::mt19937 random(1);
    int removed = 0;
    for (int i = 0; i < x.rows; ++i) {
        for (int j = 0; j < x.cols; ++j) {
            if (random() % 20 != 0 || std::isnan(x[i][j])) continue;
            if (present.inRow[i] == 1 || present.inColumn[j] == 1) continue;
            x[i][j] = std::numeric_limits<float>::quiet_NaN();
            --present.inRow[i];
            --present.inColumn[j];
            ++removed;
        }
    }
    return removed;
}

/// By the cosine between a component's scores in both runs, without its sign, which is arbitrary.
void showChange(const Matrix& T, const Matrix& U) {
    double smallest = 1.0;
    int component = 1;
    for (int a = 0; a < T.cols; ++a) {
        double tt = 0.0, uu = 0.0, tu = 0.0;
        for (int i = 0; i < T.rows; ++i) {
            tt += double{T[i][a]} * T[i][a];
            uu += double{U[i][a]} * U[i][a];
            tu += double{T[i][a]} * U[i][a];
        }
        const double cosine = std::abs(tu) / std::sqrt(tt * uu);
        if (cosine >= smallest) continue;
        smallest = cosine;
        component = a + 1;
    }
    std::printf("\n  Scores against those of the first run: smallest cosine %.5f (component %d).\n",
                smallest, component);
}

/// Places in the file are line and cell, as in the messages of the reader: below the header line
/// and after the response.
void check(const std::string& path, const Matrix& x, int components) {
    const auto text = [](int number) { return std::to_string(number); };
    if (x.rows < 2 || x.cols < 2) {
        throw InputError(path + ": samples: " + text(x.rows) + ", variables: " + text(x.cols) +
                         "; a model takes 2 of each at least");
    }
    const int most = std::min(x.rows, x.cols);
    if (components > most) {
        throw InputError(text(components) + " components asked for, " + path + " allows 1 to " +
                         text(most));
    }
    const Present present(x);
    for (int i = 0; i < x.rows; ++i) {
        if (present.inRow[i] > 0) continue;
        throw InputError(path + ":" + text(i + 2) + ":2: this sample has no value");
    }
    for (int j = 0; j < x.cols; ++j) {
        if (present.inColumn[j] > 0) continue;
        throw InputError(path + ":2:" + text(j + 2) + ": this variable has no value");
    }
}

int explore(const std::string& path, int components, const Algorithm* algorithm) {
    const CsvTable table = readCsv(path);
    const Matrix response = table.columns(0, 1);
    Matrix x = table.columns(1, table.cells.cols - 1);
    check(path, x, components);
    // Centring takes one dimension from the samples.
    if (components == 0) components = std::min({4, x.rows - 1, x.cols});
    const std::vector<std::string>& names = table.names;
    std::printf("%s: %d samples, %d variables (%s to %s), response %s\n", path.c_str(), x.rows,
                x.cols, names[1].c_str(), names.back().c_str(), names[0].c_str());

    cancelOnInterrupt();
    Progress progress;
    const auto missing = std::count_if(x.values.begin(), x.values.end(),
                                       [](float value) { return std::isnan(value); });
    if (!algorithm) algorithm = missing > 0 ? &forMissingValues : &forCompleteData;
    if (missing > 0) std::printf("%d values are missing.\n", static_cast<int>(missing));
    std::printf("\n%s\n", algorithm->title);
    const Run full = compute(x, components, algorithm->number, progress);
    show(full, x, response, names[0]);
    if (full.stopped) return exitInterrupted;

    std::printf("\n%s, after %d of %zu values were removed at random\n", forMissingValues.title,
                removeSome(x), x.values.size());
    const Run reduced = compute(x, components, forMissingValues.number, progress);
    show(reduced, x, response, names[0]);
    if (reduced.stopped) return exitInterrupted;
    showChange(full.T, reduced.T);
    return 0;
}

const Algorithm* algorithmOf(const std::string& name) {
    for (const Algorithm& algorithm : algorithms) {
        if (name == algorithm.name) return &algorithm;
    }
    return nullptr;
}

int run(const std::vector<std::string>& arguments) {
    const size_t count = arguments.size();
    const int components = count > 1 ? positive(arguments[1]) : 0;
    const Algorithm* algorithm = nullptr;
    if (count > 2) algorithm = algorithmOf(arguments[2]);
    if (count < 1 || count > 3 || arguments[0][0] == '-' || (count > 1 && components == 0) ||
        (count > 2 && !algorithm)) {
        throw UsageError();
    }
    return explore(arguments[0], components, algorithm);
}

}  // namespace

int main(int argc, char** argv) {
    return runProgram({"explore_spectra", usage, help}, argc, argv, run);
}
