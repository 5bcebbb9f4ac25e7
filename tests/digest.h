// Digests of contents, and tables of them in tests/data. After a change that is meant, LARKMOOR_UPDATE=1 writes the
// rows of the tests that run anew; `git diff` then tells which ones changed.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <span>
#include <string>

#include <fmt/format.h>

/// FNV-1a over 64-bit words, folded.
class Digest {
  public:
    void add(std::uint64_t word) { m_hash = (m_hash ^ word ^ m_hash >> 29) * 0x100000001B3; }
    void add(std::span<const std::byte> bytes) {
        for (std::size_t i = 0; i < bytes.size(); i += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes.data() + i, std::min<std::size_t>(8, bytes.size() - i));
            add(word);
        }
    }
    std::string text() const { return fmt::format("{:08x}", static_cast<std::uint32_t>(m_hash ^ m_hash >> 32)); }

  private:
    std::uint64_t m_hash = 0xCBF29CE484222325;
};

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
