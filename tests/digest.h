// Tables of digests in tests/data. After a change that is meant, LARKMOOR_UPDATE=1 writes the
// rows of the tests that run anew; `git diff` then tells which ones changed.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "digest_value.h"

/// Expects a row "name | content" of a table whose rows stand in the order of their names.
inline void expectRow(const std::string& file, const std::string& name, const std::string& content) {
    const std::string path = LARKMOOR_TEST_FOLDER "/data/" + file;
    std::map<std::string, std::string> rows;
    std::ifstream table(path);
    for (std::string line; std::getline(table, line);) rows[line.substr(0, line.find(" | "))] = line;
    const std::string row = name + " | " + content;
    if (std::getenv("LARKMOOR_UPDATE")) {
        rows[name] = row;
        std::ofstream anew(path);
        for (const auto& [known, line] : rows) anew << line << "\n";
    }
    EXPECT_EQ(rows[name], row) << path;
}
