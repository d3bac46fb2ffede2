// Tables of cases in tests/data/tables: a row a line, its cells between bars, lines that begin with "#" left out.
#pragma once

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

using Row = std::vector<std::string>;

// One blank beside a bar is not part of a cell.
inline std::vector<Row> ReadTable(const std::string& name) {
    std::ifstream file(TEST_DATA "/tables/" + name);
    EXPECT_TRUE(file) << name;
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        rows.emplace_back();
        for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
            end = line.find('|', start);
            std::string cell = line.substr(start, end - start);
            if (start > 0 && !cell.empty() && cell.front() == ' ') cell.erase(0, 1);
            if (end != std::string::npos && !cell.empty() && cell.back() == ' ') cell.pop_back();
            rows.back().push_back(cell);
        }
    }
    return rows;
}

inline std::vector<double> Numbers(const std::string& cell) {
    std::istringstream stream(cell);
    std::vector<double> numbers;
    for (double number = 0.0; stream >> number;) numbers.push_back(number);
    return numbers;
}

inline std::string WithBlanks(std::string cell) {
    std::replace(cell.begin(), cell.end(), '_', ' ');
    return cell;
}
