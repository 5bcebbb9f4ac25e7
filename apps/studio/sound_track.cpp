#include "sound_track.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "media/sequence.h"

namespace larkmoor {

namespace {

std::unique_ptr<SoundSource> openSound(const std::string& path) {
    auto source = std::make_unique<SoundSource>(isSequence(path) ? std::string() : path);
    SoundFacts wanted;
    wanted.rate = SoundTrack::kRate;
    av_channel_layout_default(&wanted.layout, SoundTrack::kChannels);
    source->prepare(wanted);
    return source;
}

double fadesOut(double share) {
    return std::cos(share * std::numbers::pi / 2);
}
double fadesIn(double share) {
    return std::sin(share * std::numbers::pi / 2);
}

} // namespace

SoundTrack::SoundTrack(const Project& project, const PictureFacts& facts) {
    const auto* const clip = std::get_if<ProjectClip>(&project.source);
    if (!clip) return;
    const auto sampleOf = [&](std::int64_t frame) {
        return std::llround(static_cast<double>(frame) / av_q2d(facts.rate) * kRate);
    };
    m_parts.push_back({openSound(clip->path)});
    m_overlapStart = std::numeric_limits<std::int64_t>::max() / 2;
    m_overlapLength = 1;
    if (!project.second) return;
    m_overlapStart = sampleOf(facts.overlapStart);
    m_overlapLength = std::max<std::int64_t>(1, sampleOf(facts.overlapStart + facts.overlapFrames) - m_overlapStart);
    m_parts.push_back({openSound(project.second->path), m_overlapStart});
}

bool SoundTrack::any() const {
    return std::ranges::any_of(m_parts, [](const Part& part) { return part.source->any(); });
}

void SoundTrack::seek(double seconds, std::optional<double> length) {
    m_at = std::llround(std::max(0.0, seconds) * kRate);
    m_end = length ? std::optional(m_at + std::llround(*length * kRate)) : std::nullopt;
    for (Part& part : m_parts) part.begun = false;
}

/// How far the second clip is in, 0 to 1.
double SoundTrack::share(std::int64_t at) const {
    return std::clamp(static_cast<double>(at - m_overlapStart) / static_cast<double>(m_overlapLength), 0.0, 1.0);
}

void SoundTrack::add(Part& part, double (*gain)(double), std::span<float> samples) {
    const auto frames = static_cast<std::int64_t>(samples.size() / kChannels);
    const std::int64_t first = std::clamp<std::int64_t>(part.start - m_at, 0, frames);
    if (first == frames || !part.source->any()) return;
    if (!part.begun) part.source->seek(static_cast<double>(m_at + first - part.start) / kRate);
    part.begun = true;
    m_memory.resize(static_cast<std::size_t>(frames - first) * kChannels);
    part.source->read(m_memory);
    for (std::int64_t i = first; i < frames; ++i) {
        const auto volume = static_cast<float>(gain(share(m_at + i)));
        for (std::int64_t c = 0; c < kChannels; ++c)
            samples[static_cast<std::size_t>(i * kChannels + c)] +=
                volume * m_memory[static_cast<std::size_t>((i - first) * kChannels + c)];
    }
}

void SoundTrack::read(std::span<float> samples) {
    std::ranges::fill(samples, 0.0f);
    if (m_end) {
        const std::int64_t left = std::max<std::int64_t>(0, *m_end - m_at) * kChannels;
        samples = samples.first(std::min(samples.size(), static_cast<std::size_t>(left)));
        if (samples.empty()) return;
    }
    if (!m_parts.empty()) add(m_parts[0], fadesOut, samples);
    if (m_parts.size() > 1) add(m_parts[1], fadesIn, samples);
    m_at += static_cast<std::int64_t>(samples.size() / kChannels);
}

} // namespace larkmoor
