// A calibration: PLS regression of a response on spectra, from the number of factors to the
// judgement of samples and variables, and the prediction of samples that the model has not seen.
//
// A small host of the library: it reads data, shows progress, lets Ctrl-C cancel and prints what it
// fetches.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "csv_table.h"
#include "host.h"
#include "veldane.h"

namespace {

constexpr int segmentCount = 10;
constexpr int testSamples = 10;
constexpr int mostFactors = 10;
constexpr int shown = 8;     // variables in the table of coefficients
constexpr int examples = 3;  // warnings of a kind that are shown one by one

const char* const usage = "usage: calibrate FILE.csv [preprocessing] [factors]\n";
const char* const help =
    "\n"
    "Regresses the first column of FILE.csv on the others, below a header line, by PLS. Every\n"
    "few samples one is kept for a test set, ten in all; the others are cross-validated in ten\n"
    "random segments. An empty cell, NaN, nan and NA are missing values. Ctrl-C cancels, a second\n"
    "one ends the program.\n"
    "\n"
    "preprocessing  none        the table as it is, the first choice\n"
    "               snv         standard normal variate: each sample with mean 0 and deviation 1\n"
    "               derivative  first derivative along the variables, Savitzky-Golay, 15 of them\n";

struct Preprocessing {
    const char* name;
    int (*apply)(ArrayDesc*);
};

constexpr Preprocessing preprocessings[] = {
    {"none", [](ArrayDesc*) { return 0; }}, {"snv", snv}, {"derivative", [](ArrayDesc* data) {
                                                               return derivsgolay(data, 1, 7, 7, 2);
                                                           }}};

/// Limits of the warnings, by the rows of PLS_ComputeWarnings.
constexpr float limits[14] = {3, 10, 0, 0.25f, 0.25f, 40, 0, 3, 0, 3, 3, 4, 6, 0};

/// What a warning says. %s is a sample or variable.
const std::map<int, const char*> words = {{100, "has a high leverage"},
                                          {102, "has a high leverage and a high residual"},
                                          {121, "fits the model of X badly"},
                                          {123, "fits the response badly"},
                                          {130, "has an odd value in X"},
                                          {140, "has an odd response"},
                                          {150, "is badly explained"},
                                          {151, "is badly explained in validation"},
                                          {160, "(response) is badly explained"},
                                          {161, "(response) is badly explained in validation"},
                                          {152, "X: too little is explained"},
                                          {153, "X: too little is explained in validation"},
                                          {162, "Y: too little is explained"},
                                          {163, "Y: too little is explained in validation"},
                                          {170, "X: validation is far worse than calibration"},
                                          {171, "Y: validation is far worse than calibration"},
                                          {172, "X: validation is far worse than calibration"},
                                          {173, "Y: validation is far worse than calibration"},
                                          {180, "X: a component raises the validation residual"},
                                          {181, "Y: a component raises the validation residual"}};

/// There is one PLS model in a process. This is its life.
struct PlsModel {
    PlsModel() { require(PLS_Init(), "PLS_Init"); }
    PlsModel(const PlsModel&) = delete;
    PlsModel& operator=(const PlsModel&) = delete;
    ~PlsModel() { PLS_Terminate(); }
};

Matrix rowsOf(const Matrix& a, const std::vector<int>& rows) {
    Matrix result = {static_cast<int>(rows.size()), a.cols, {}};
    for (const int i : rows) result.values.insert(result.values.end(), a[i], a[i] + a.cols);
    return result;
}

/// Samples of the test set, spread over the table, and the others.
struct Split {
    std::vector<int> train, test;

    explicit Split(int samples) {
        const int step = samples / testSamples;
        for (int i = 0; i < samples; ++i) {
            const bool tested = i % step == step - 1 && static_cast<int>(test.size()) < testSamples;
            (tested ? test : train).push_back(i);
        }
    }
};

struct Data {
    std::string response;
    std::vector<std::string> variables;
    Split split;
    Matrix X, Y;          ///< of the model
    Matrix testX, testY;  ///< of the test set
    bool missing;
};

Data read(const std::string& path, const Preprocessing& preprocessing, int factors) {
    const CsvTable table = readCsv(path);
    const Matrix y = table.columns(0, 1);
    Matrix x = table.columns(1, table.cells.cols - 1);
    const int least = 3 * testSamples;
    if (x.rows < least || x.cols < 2) {
        throw InputError(path + ": samples: " + std::to_string(x.rows) +
                         ", variables: " + std::to_string(x.cols) + "; a calibration takes " +
                         std::to_string(least) + " and 2 at least");
    }
    const Split split(x.rows);
    const auto& train = split.train;
    const int segment = (static_cast<int>(train.size()) + segmentCount - 1) / segmentCount;
    const int most = std::min(static_cast<int>(train.size()) - segment, x.cols);
    if (factors > most) {
        throw InputError(std::to_string(factors) + " factors asked for, " + path + " allows 1 to " +
                         std::to_string(most));
    }
    ArrayDesc inPlace = describe(x);
    require(preprocessing.apply(&inPlace), preprocessing.name);
    const auto isMissing = [](float value) { return std::isnan(value); };
    const bool missing = std::any_of(x.values.begin(), x.values.end(), isMissing) ||
                         std::any_of(y.values.begin(), y.values.end(), isMissing);
    return {table.names[0],
            {table.names.begin() + 1, table.names.end()},
            split,
            rowsOf(x, train),
            rowsOf(y, train),
            rowsOf(x, split.test),
            rowsOf(y, split.test),
            missing};
}

void build(Data& data, int factors, const Progress& progress) {
    const ArrayDesc X = describe(data.X), Y = describe(data.Y);
    const int algorithm = data.missing ? VELDANE_PLS_MISSING_NIPALS : VELDANE_PLS_COVARIANCE_KERNEL;
    const int result = PLS_BuildModel(&X, &Y, 1, factors, algorithm);
    require(result, "PLS_BuildModel: " + progress.error);
}

void validate(const Data& data, const Progress& progress) {
    const int samples = data.X.rows;
    ArrayDesc segments = {VELDANE_KIND_LIBRARY, 0, 0, 1, nullptr};
    createsegment(2, samples / segmentCount, 1, samples, &segments);
    const int result = PLS_DoValidation(VELDANE_CROSS_VALIDATION, &segments, 1, -1);
    require(result, "PLS_DoValidation: " + progress.error);
}

void showErrors(const Data& data, int suggested) {
    Matrix calibration, correlation;
    const Matrix validation = fetchSecond(PLS_GetRMSE, "PLS_GetRMSE", &calibration);
    const Matrix r = fetchSecond(PLS_GetMultipleCorrelation, "PLS_GetMultipleCorrelation");
    std::printf("\n  Root mean square error of %s\n\n", data.response.c_str());
    std::printf("  factors   calibration   cross-validation   correlation\n");
    for (int a = 0; a < validation.rows; ++a) {
        std::printf("  %7d   %11.4g   %16.4g   %11.4f%s\n", a, calibration[a][0], validation[a][0],
                    r[a][0], a == suggested ? "   suggested" : "");
    }
}

/// The largest coefficients of the tested number of factors.
void showCoefficients(const Data& data, int factors) {
    const Matrix beta = fetch(PLS_GetBeta, "PLS_GetBeta");
    const Matrix p = fetch(PLS_GetJackSigniB, "PLS_GetJackSigniB");
    std::vector<int> order(data.variables.size());
    std::iota(order.begin(), order.end(), 1);
    const auto size = [&](int i) { return std::abs(beta[i][factors - 1]); };
    std::sort(order.begin(), order.end(), [&](int i, int j) { return size(i) > size(j); });
    const auto significant =
        std::count_if(order.begin(), order.end(), [&](int i) { return p[i][0] < 0.05f; });
    std::printf("\n  Coefficients with %d factors; %d of %zu variables are significant at 5 %%\n\n",
                factors, static_cast<int>(significant), order.size());
    std::printf("  variable   coefficient   probability\n  %8s   %11.4g\n", "offset",
                beta[0][factors - 1]);
    order.resize(std::min<size_t>(order.size(), shown));
    for (const int i : order) {
        std::printf("  %8s   %11.4g   %11.4f\n", data.variables[i - 1].c_str(),
                    beta[i][factors - 1], p[i][0]);
    }
}

std::string subject(const Data& data, const float* warning) {
    const int code = static_cast<int>(warning[0]), number = static_cast<int>(warning[2]);
    if (number < 1) return "the model";
    if (code >= 150) {
        return "variable " + (code >= 160 ? data.response : data.variables[number - 1]);
    }
    std::string text = "sample " + std::to_string(data.split.train[number - 1] + 1);
    if (code == 130) text += ", variable " + data.variables[static_cast<int>(warning[3]) - 1];
    return text;
}

void showWarnings(const Data& data) {
    Matrix thresholds = {14, 1, {limits, limits + 14}};
    const ArrayDesc in = describe(thresholds);
    require(PLS_ComputeWarnings(&in), "PLS_ComputeWarnings");
    const Matrix warnings = fetch(PLS_GetWarnings, "PLS_GetWarnings");
    std::printf("\n  Warnings: %d\n", PLS_NumWarnings());
    for (int i = 0; i < warnings.rows;) {
        const int code = static_cast<int>(warnings[i][0]);
        int last = i;
        while (last < warnings.rows && static_cast<int>(warnings[last][0]) == code) ++last;
        std::printf("  %d  %s: %d\n", code, words.at(code), last - i);
        for (int k = i; k < std::min(last, i + examples); ++k) {
            const float* w = warnings[k];
            std::printf("       %s, with %d factors", subject(data, w).c_str(),
                        static_cast<int>(w[1]));
            if (code != 102) std::printf(": %.3g, limit %.3g", w[5], w[4]);
            std::printf("\n");
        }
        if (last - i > examples) std::printf("       ...\n");
        i = last;
    }
}

void showTestSet(Data& data, int factors, const Progress& progress) {
    const ArrayDesc X = describe(data.testX), Y = describe(data.testY);
    require(PLS_DoTestValidation(&X, &Y), "PLS_DoTestValidation: " + progress.error);
    const Matrix predicted = fetchSecond(PLS_GetYPredicted, "PLS_GetYPredicted");
    const Matrix error = fetchSecond(PLS_GetRMSE, "PLS_GetRMSE");
    std::printf("\n  Test set, predicted with %d factors\n\n", factors);
    std::printf("  sample   %10.10s    predicted\n", data.response.c_str());
    for (int i = 0; i < predicted.rows; ++i) {
        std::printf("  %6d   %10.5g   %10.5g\n", data.split.test[i] + 1, data.testY[i][0],
                    predicted[i][factors - 1]);
    }
    std::printf("\n  root mean square error of prediction: %.4g\n", error[factors][0]);
}

int calibrate(const std::string& path, const Preprocessing& preprocessing, int factors) {
    Data data = read(path, preprocessing, factors);
    if (factors == 0) factors = std::min({mostFactors, data.X.cols, data.X.rows * 2 / 3});
    std::printf(
        "%s: %d samples and %d in a test set, %d variables, response %s, preprocessing %s\n\n",
        path.c_str(), data.X.rows, data.testX.rows, data.X.cols, data.response.c_str(),
        preprocessing.name);
    cancelOnInterrupt();
    const PlsModel model;
    Progress progress;
    try {
        build(data, factors, progress);
        validate(data, progress);
    } catch (const std::runtime_error&) {
        progress.erase();
        if (!wasInterrupted()) throw;
        std::printf("\n  Interrupted.\n");
        return exitInterrupted;
    }
    progress.erase();
    const int suggested = PLS_GetSuggestedPC();
    showErrors(data, suggested);
    const int used = std::max(suggested, 1);
    showCoefficients(data, used);
    showWarnings(data);
    std::printf("\n");
    showTestSet(data, used, progress);
    return wasInterrupted() ? exitInterrupted : 0;
}

const Preprocessing* preprocessingOf(const std::string& name) {
    for (const Preprocessing& preprocessing : preprocessings) {
        if (name == preprocessing.name) return &preprocessing;
    }
    return nullptr;
}

int run(const std::vector<std::string>& arguments) {
    const size_t count = arguments.size();
    const Preprocessing* preprocessing = preprocessings;
    if (count > 1) preprocessing = preprocessingOf(arguments[1]);
    const int factors = count > 2 ? positive(arguments[2]) : 0;
    if (count < 1 || count > 3 || arguments[0][0] == '-' || !preprocessing ||
        (count > 2 && factors == 0)) {
        throw UsageError();
    }
    return calibrate(arguments[0], *preprocessing, factors);
}

}  // namespace

int main(int argc, char** argv) {
    return runProgram({"calibrate", usage, help}, argc, argv, run);
}
