#include "media/complaints.h"

namespace larkmoor {

void Complaints::hear(AVCodecContext& decoder) {
    // Where each picture stands alone, what a decoder complains of is damage. Others complain of what a cut brings, or
    // a recording that begins in the middle, too.
    const AVCodecDescriptor* codec = avcodec_descriptor_get(decoder.codec_id);
    m_strict = codec && (codec->props & AV_CODEC_PROP_INTRA_ONLY);
    decoder.opaque = this;
}

bool Complaints::take(std::int64_t packet) {
    const std::lock_guard guard(m_lock);
    return m_packets.erase(packet) > 0;
}

bool Complaints::any(std::int64_t packet) {
    const std::lock_guard guard(m_lock);
    return m_packets.contains(packet);
}

void Complaints::log(void* object, int level, std::string_view line) {
    if (!object || *static_cast<const AVClass**>(object) != avcodec_get_class()) return;
    const auto& codec = *static_cast<const AVCodecContext*>(object);
    if (codec.opaque) static_cast<Complaints*>(codec.opaque)->add(codec.reordered_opaque, level, line);
}

bool Complaints::tells(std::string_view line) {
    // A part of the picture was made up from its neighbours.
    return line.starts_with("concealing");
}

void Complaints::add(std::int64_t packet, int level, std::string_view line) {
    // A tag of a picture file that the decoder has no use for.
    const bool harmless = line.starts_with("Unknown or unsupported tag");
    const bool broken = line.starts_with("Could not find ref with POC") || line.starts_with("slice CRC mismatch") ||
                        line.starts_with("mismatching checksum") || line.starts_with("Error parsing NAL unit") ||
                        line.starts_with("Error splitting the input into NAL units");
    if (!tells(line) && !broken && (!m_strict || level > AV_LOG_ERROR || harmless)) return;
    const std::lock_guard guard(m_lock);
    m_packets.insert(packet);
}

} // namespace larkmoor
