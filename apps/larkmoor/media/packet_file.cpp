#include "media/packet_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>

#include <fmt/format.h>

extern "C" {
#include <libavutil/crc.h>
}

namespace larkmoor {

namespace {

constexpr std::string_view magic = "larkmoor packets 1\n";

template <class T>
void append(std::string& bytes, T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i)
        bytes.push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i)));
}

void append(std::string& bytes, const std::uint8_t* data, std::size_t size) {
    append(bytes, static_cast<std::uint32_t>(size));
    bytes.append(reinterpret_cast<const char*>(data), size);
}

std::uint32_t sumOf(std::uint32_t before, std::string_view bytes) {
    return av_crc(av_crc_get_table(AV_CRC_32_IEEE_LE), before, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                  bytes.size());
}

} // namespace

PacketWriter::PacketWriter(const std::string& path, const std::string& name, const std::string& head) : m_name(name) {
    m_file.open(path, std::ios::binary);
    std::string bytes(magic);
    append(bytes, reinterpret_cast<const std::uint8_t*>(head.data()), head.size());
    put(bytes);
}

void PacketWriter::put(const std::string& bytes) {
    m_sum = sumOf(m_sum, bytes);
    errno = 0;
    if (!m_file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
        throw Error(fmt::format("cannot write {}: {}", m_name, std::strerror(errno ? errno : EIO)));
}

void PacketWriter::take(PacketPtr packet) {
    std::string bytes(1, 'P');
    append(bytes, packet->pts);
    append(bytes, packet->dts);
    append(bytes, packet->duration);
    append(bytes, packet->flags);
    append(bytes, packet->side_data_elems);
    for (int i = 0; i < packet->side_data_elems; ++i) {
        const AVPacketSideData& side = packet->side_data[i];
        append(bytes, static_cast<std::int32_t>(side.type));
        append(bytes, side.data, side.size);
    }
    append(bytes, packet->data, static_cast<std::size_t>(packet->size));
    put(bytes);
}

void PacketWriter::endChunk(std::int64_t frames) {
    std::string bytes(1, 'E');
    append(bytes, frames);
    put(bytes);
}

void PacketWriter::finish(bool damaged) {
    if (damaged) put("D");
    std::string bytes(1, 'Z');
    append(bytes, m_sum);
    put(bytes);
    errno = 0;
    m_file.close();
    if (!m_file) throw Error(fmt::format("cannot write {}: {}", m_name, std::strerror(errno ? errno : EIO)));
}

PacketReader::PacketReader(const std::string& path) : m_path(path), m_file(path, std::ios::binary) {
    std::error_code error;
    m_left = std::filesystem::file_size(path, error);
    if (error || !m_file) throw Error(fmt::format("cannot read {}", path));
    if (take(magic.size()) != magic) fail();
    m_head = take(number<std::uint32_t>());
    advance();
}

void PacketReader::fail() const {
    throw Error(fmt::format("{} is damaged; remove it, and `larkmoor work` makes it anew", m_path));
}

std::string PacketReader::take(std::uint64_t bytes) {
    if (bytes > m_left) fail();
    std::string text(bytes, '\0');
    if (!m_file.read(text.data(), static_cast<std::streamsize>(bytes))) fail();
    m_left -= bytes;
    m_sum = sumOf(m_sum, text);
    return text;
}

template <class T>
T PacketReader::number() {
    std::uint64_t value = 0;
    const std::string bytes = take(sizeof(T));
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return static_cast<T>(value);
}

void PacketReader::advance() {
    std::uint32_t sum = 0;
    do {
        sum = m_sum;
        m_kind = take(1)[0];
        m_damaged = m_damaged || m_kind == 'D';
    } while (m_kind == 'D');
    if (m_kind == 'Z' && (number<std::uint32_t>() != sum || m_left != 0)) fail();
    if (m_kind != 'P' && m_kind != 'E' && m_kind != 'Z') fail();
}

PacketPtr PacketReader::next() {
    if (m_kind != 'P') return {};
    PacketPtr packet = newPacket();
    const auto pts = number<std::int64_t>(), dts = number<std::int64_t>(), duration = number<std::int64_t>();
    const auto flags = number<std::int32_t>(), sides = number<std::int32_t>();
    for (std::int32_t i = 0; i < sides; ++i) {
        const auto type = number<std::uint32_t>();
        if (type >= AV_PKT_DATA_NB) fail();
        const std::string data = take(number<std::uint32_t>());
        std::uint8_t* const copy =
            av_packet_new_side_data(packet.get(), static_cast<AVPacketSideDataType>(type), data.size());
        if (!copy) throw std::bad_alloc();
        std::memcpy(copy, data.data(), data.size());
    }
    const std::string data = take(number<std::uint32_t>());
    if (data.size() > static_cast<std::size_t>(INT32_MAX) - AV_INPUT_BUFFER_PADDING_SIZE) fail();
    AVPacket payload{};
    if (av_new_packet(&payload, static_cast<int>(data.size())) < 0) throw std::bad_alloc();
    std::memcpy(payload.data, data.data(), data.size());
    packet->buf = payload.buf;
    packet->data = payload.data;
    packet->size = payload.size;
    packet->pts = pts;
    packet->dts = dts;
    packet->duration = duration;
    packet->flags = flags;
    advance();
    return packet;
}

std::int64_t PacketReader::endChunk() {
    if (m_kind != 'E') return 0;
    const auto frames = number<std::int64_t>();
    advance();
    return frames;
}

} // namespace larkmoor
