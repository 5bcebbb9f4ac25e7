// An encoded clip, picture or numbered sequence with its sound, subtitles, chapters and metadata.
#pragma once

#include <map>
#include <memory>

#include "media/audio_encoder.h"
#include "media/encoder.h"
#include "media/sink.h"
#include "media/subtitle_encoder.h"

namespace larkmoor {

class ContainerSink : public FrameSink {
  public:
    /// @param path where to write; @param name what the user called it.
    /// @param like the clip whose metadata, chapters and rotation are carried over; null for none.
    /// Throws Error or UsageError as `encoderFor` and `openEncoder` do.
    ContainerSink(const std::string& path, const std::string& name, const VideoFacts& video,
                  const EncodeOptions& options, const Reader* like);
    ~ContainerSink() override;

    /// Carries the other streams of a clip: copied where the container takes them, sound and text encoded anew where
    /// it does not, else left out with a warning. Call before `begin`.
    void passStreams(Reader& source);

    /// Sound that comes as samples through `writeSound`. Call before `begin`.
    /// @return false when the container takes none.
    bool addSound(int sampleRate, const AVChannelLayout& layout);

    /// Opens the file and writes its head.
    /// @param firstNumber of a numbered sequence.
    void begin(int firstNumber = 1);

    const Target& target() const override { return m_target; }
    bool premultiplied() const override { return m_encoder->codec_id == AV_CODEC_ID_EXR; }
    void write(FramePtr frame) override;
    void writeSide(PacketPtr packet) override;
    void writeSound(const AVFrame& sound);
    void finish() override;

  private:
    struct Passage {
        AVStream* stream = nullptr;
        AVRational unit{1, 1};
        CodecPtr decoder;
        std::unique_ptr<AudioEncoder> encoder;
        std::unique_ptr<SubtitleEncoder> subtitles;
    };

    void drain();
    void put(PacketPtr packet, AVStream& stream, AVRational unit);
    void passSound(Passage& passage, const AVPacket* packet);
    AVStream* addStream();
    bool copyStream(const AVStream& from, Passage& passage);
    void attachCover(const AVStream& from);
    bool reencodeSound(const AVStream& from, Passage& passage);
    bool reencodeSubtitles(const AVStream& from, Passage& passage);
    void copyChapters(const Reader& from);
    [[noreturn]] void fail(int code) const;

    std::string m_path, m_name;
    const AVOutputFormat& m_container;
    AVFormatContext* m_format = nullptr;
    VideoFacts m_video;
    Target m_target;
    CodecPtr m_encoder;
    AVStream* m_stream = nullptr;
    std::map<int, Passage> m_passages; ///< by stream of the source
    Passage m_sound;
    std::map<std::int64_t, std::int64_t> m_durations; ///< of frames in the encoder, by time stamp, in its unit
    std::map<int, std::int64_t> m_lastStamps;         ///< decoding times of the last packets, by stream
    std::int64_t m_lastStamp = AV_NOPTS_VALUE;
    bool m_begun = false;
};

} // namespace larkmoor
