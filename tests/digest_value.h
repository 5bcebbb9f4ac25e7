// Digests of contents.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "fmt/format.h"

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
