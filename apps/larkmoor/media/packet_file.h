// Encoded pictures in a file of their own, chunk by chunk.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "media/picture_encoder.h"

namespace larkmoor {

/// Containers change stamps or leave facts about packets out; this keeps a packet as the encoder gave it. All numbers
/// are little-endian, and a sum over everything stands at the end.
class PacketWriter final : public PictureTaker {
  public:
    /// @param name of the file, for sentences.
    /// @param head what the packets belong to. Throws Error, as all else does, when the file cannot be written.
    PacketWriter(const std::string& path, const std::string& name, const std::string& head);
    void take(PacketPtr packet) override;
    void endChunk(std::int64_t frames) override;
    /// Call last.
    /// @param damaged a clip was damaged, at one of the frames or before.
    void finish(bool damaged);

  private:
    void put(const std::string& bytes);

    std::string m_name;
    std::ofstream m_file;
    std::uint32_t m_sum = 0;
};

class PacketReader {
  public:
    /// Throws Error for a file that cannot be read or is no such file.
    explicit PacketReader(const std::string& path);

    const std::string& head() const { return m_head; }
    /// Whether all was read, and its sum is right.
    bool ended() const { return m_kind == 'Z'; }
    /// As `finish` was told; known once all was read.
    bool damaged() const { return m_damaged; }
    /// The next packet of the chunk; empty at its end. Throws Error for a damaged file.
    PacketPtr next();
    /// Goes past the end of a chunk, once `next` has got there. @return its frames.
    std::int64_t endChunk();

  private:
    std::string take(std::uint64_t bytes);
    template <class T>
    T number();
    void advance();
    [[noreturn]] void fail() const;

    std::string m_path;
    std::ifstream m_file;
    std::uint64_t m_left = 0; ///< bytes
    std::uint32_t m_sum = 0;
    std::string m_head;
    char m_kind = 0; ///< of the record that is read next
    bool m_damaged = false;
};

} // namespace larkmoor
