#include "csv_table.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <limits>
#include <string_view>
#include <system_error>

namespace {

struct Place {
    const std::string& path;
    int line;
    int column;
};

[[noreturn]] void fail(const Place& place, const std::string& why) {
    throw InputError(place.path + ":" + std::to_string(place.line) + ":" +
                     std::to_string(place.column) + ": " + why);
}

/// Takes the CR of a line end away as well.
std::string_view trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> split(std::string_view line) {
    std::vector<std::string_view> cells;
    for (;;) {
        const size_t comma = line.find(',');
        cells.push_back(trim(line.substr(0, comma)));
        if (comma == line.npos) return cells;
        line.remove_prefix(comma + 1);
    }
}

/// A file that is no CSV at all may hold anything, and the message is to stay one readable line.
std::string quote(std::string_view cell) {
    constexpr size_t longest = 32;
    std::string text(cell.substr(0, longest));
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
    }
    return "'" + text + (cell.size() > longest ? "...'" : "'");
}

/// from_chars knows no locale: a decimal point is a point in every country. It reads NaN as well.
float parse(std::string_view cell, const Place& place) {
    constexpr float missing = std::numeric_limits<float>::quiet_NaN();
    if (cell.empty() || cell == "NA") return missing;
    const char* const end = cell.data() + cell.size();
    float value = 0.0f;
    const auto [rest, error] = std::from_chars(cell.data(), end, value);
    if (error == std::errc::invalid_argument || rest != end) {
        fail(place, quote(cell) + " is not a number");
    }
    if (error == std::errc::result_out_of_range) {
        // What is too small for a float is reported like what is too large, and is as good as 0.
        double wide = std::numeric_limits<double>::infinity();
        std::from_chars(cell.data(), end, wide);
        if (std::abs(wide) < 1.0) return 0.0f;
        fail(place, quote(cell) + " does not fit a float");
    }
    if (std::isinf(value)) fail(place, quote(cell) + " is not finite");
    return std::isnan(value) ? missing : value;
}

void appendRow(CsvTable& table, const std::string& line, const std::string& path, int number) {
    const std::vector<std::string_view> cells = split(line);
    const size_t wanted = table.names.size();
    if (cells.size() != wanted) {
        const int column = static_cast<int>(std::min(cells.size(), wanted)) + 1;
        fail({path, number, column}, "the row has " + std::to_string(cells.size()) +
                                         " cells, the header has " + std::to_string(wanted));
    }
    for (size_t j = 0; j < wanted; ++j) {
        table.cells.values.push_back(parse(cells[j], {path, number, static_cast<int>(j) + 1}));
    }
    ++table.cells.rows;
}

void readHeader(CsvTable& table, std::string_view line) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (line.substr(0, byteOrderMark.size()) == byteOrderMark) {
        line.remove_prefix(byteOrderMark.size());
    }
    for (const std::string_view name : split(line)) table.names.emplace_back(name);
    table.cells.cols = static_cast<int>(table.names.size());
}

}  // namespace

Matrix CsvTable::columns(int first, int count) const {
    Matrix part = {cells.rows, count, {}};
    part.values.reserve(static_cast<size_t>(cells.rows) * count);
    for (int i = 0; i < cells.rows; ++i) {
        part.values.insert(part.values.end(), cells[i] + first, cells[i] + first + count);
    }
    return part;
}

CsvTable readCsv(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    CsvTable table;
    std::string line;
    int number = 0;
    int firstBlank = 0;
    while (std::getline(file, line)) {
        ++number;
        if (trim(line).empty()) {
            if (firstBlank == 0) firstBlank = number;
        } else if (firstBlank != 0) {
            fail({path, firstBlank, 1}, "an empty line inside the table");
        } else if (number == 1) {
            readHeader(table, line);
        } else {
            appendRow(table, line, path, number);
        }
    }
    // A directory can be opened; only reading it fails.
    if (!file.is_open() || file.bad()) {
        throw InputError(path + ": " + std::generic_category().message(errno));
    }
    if (table.names.empty()) fail({path, 1, 1}, "the file is empty");
    if (table.cells.rows == 0) fail({path, 2, 1}, "no row below the header");
    return table;
}
