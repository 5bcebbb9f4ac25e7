#include "sound_player.h"

#include <algorithm>
#include <utility>

#include <QAudioDevice>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>

#include "text.h"

namespace larkmoor {

namespace {

constexpr int kBuffered = 200;  ///< milliseconds: longer than a frame takes to be drawn
constexpr double kPiece = 0.08; ///< seconds that are heard of a frame that is scrubbed over

/// Samples without an end, as the device asks for them.
class TrackDevice : public QIODevice {
  public:
    explicit TrackDevice(SoundTrack& track) : m_track(track) { open(QIODevice::ReadOnly); }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return 1 << 20; }

  protected:
    qint64 readData(char* data, qint64 most) override {
        constexpr auto frame = static_cast<qint64>(SoundTrack::kChannels * sizeof(float));
        m_samples.resize(static_cast<std::size_t>(std::min<qint64>(most / frame, 1 << 14) * SoundTrack::kChannels));
        try {
            m_track.read(m_samples);
        } catch (const std::exception&) {
            std::ranges::fill(m_samples, 0.0f); // damaged sound is silence
        }
        const auto bytes = static_cast<qint64>(m_samples.size() * sizeof(float));
        std::copy_n(reinterpret_cast<const char*>(m_samples.data()), bytes, data);
        return bytes;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

  private:
    SoundTrack& m_track;
    std::vector<float> m_samples;
};

} // namespace

SoundPlayer::SoundPlayer(QObject* parent) : QObject(parent) {}
SoundPlayer::~SoundPlayer() {
    stop();
}

void SoundPlayer::forget() {
    stop();
    m_track.reset();
    m_told = false;
}

void SoundPlayer::tell(const QString& sentence) {
    if (!std::exchange(m_told, true)) emit silent(sentence);
}

/// Empty where it sounds, or where there is nothing to hear.
QString SoundPlayer::open(const Project& project, const PictureFacts& facts, double seconds,
                          std::optional<double> length) {
    try {
        if (!m_track) m_track = std::make_unique<SoundTrack>(project, facts);
        if (!m_track->any()) return {};
        m_track->seek(seconds, length);
        m_from = seconds;
        if (m_sink) return {};
        const QAudioDevice device = QMediaDevices::defaultAudioOutput();
        if (device.isNull()) return tr("No sound device is there; the film plays silently.");
        QAudioFormat format;
        format.setSampleRate(SoundTrack::kRate);
        format.setChannelCount(SoundTrack::kChannels);
        format.setSampleFormat(QAudioFormat::Float);
        if (!device.isFormatSupported(format))
            return tr("The sound device takes no stereo sound of 48 kHz; the film plays silently.");
        m_samples = std::make_unique<TrackDevice>(*m_track);
        m_sink = std::make_unique<QAudioSink>(device, format);
        m_sink->setBufferSize(format.bytesForDuration(kBuffered * 1000));
        m_sink->start(m_samples.get());
        if (m_sink->error() == QAudio::NoError) return {};
        stop();
        return tr("The sound device does not start; the film plays silently.");
    } catch (const std::exception& error) {
        stop();
        return text(error.what());
    }
}

void SoundPlayer::start(const Project& project, const PictureFacts& facts, double seconds) {
    stop();
    if (const QString fault = open(project, facts, seconds, {}); !fault.isEmpty()) tell(fault);
}

void SoundPlayer::touch(const Project& project, const PictureFacts& facts, double seconds) {
    open(project, facts, seconds, kPiece);
}

void SoundPlayer::stop() {
    if (m_sink) m_sink->stop();
    m_sink.reset();
    m_samples.reset();
}

std::optional<double> SoundPlayer::position() const {
    if (!m_sink || m_sink->state() == QAudio::StoppedState) return {};
    // What the device has been given is not yet heard.
    const auto waiting = m_sink->format().durationForBytes(m_sink->bufferSize() - m_sink->bytesFree());
    return m_from + static_cast<double>(std::max<qint64>(0, m_sink->processedUSecs() - waiting)) / 1e6;
}

} // namespace larkmoor
