#pragma once

#include <stdexcept>
#include <string>
#include <vector>

/// Something that the user can put right. The text is one line for the terminal.
struct InputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Rows are samples, columns are variables, row after row as the library wants it. NaN is a missing
/// value.
struct Matrix {
    int rows = 0;
    int cols = 0;
    std::vector<float> values;

    const float* operator[](int i) const { return &values[static_cast<size_t>(i) * cols]; }
    float* operator[](int i) { return &values[static_cast<size_t>(i) * cols]; }
};

struct CsvTable {
    std::vector<std::string> names;  ///< of the columns, from the header line
    Matrix cells;

    Matrix columns(int first, int count) const;
};

/// Reads numbers with a decimal point between commas, below one header line. An empty cell, NaN,
/// nan and NA are missing values. Quotes have no meaning.
///
/// Throws InputError "path:line:column: why", where column counts the cells of the line from 1.
CsvTable readCsv(const std::string& path);
