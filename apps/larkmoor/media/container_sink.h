// An encoded clip, picture or numbered sequence with its sound, subtitles, chapters and metadata.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "media/audio_encoder.h"
#include "media/encoder.h"
#include "media/picture_encoder.h"
#include "media/sink.h"
#include "media/subtitle_encoder.h"

namespace larkmoor {

class ContainerSink : public FrameSink, PictureTaker {
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

    /// Carries the subtitles of clips that follow one another, stream by stream. Packets come to `writeSide` with
    /// `nextClip` added to their stream's number once for each clip before theirs. Call before `begin`.
    /// @param frames after which the output ends, where that cuts something off.
    void passSubtitles(std::span<const std::unique_ptr<Reader>> clips, std::optional<std::int64_t> frames);
    static constexpr int nextClip = 1 << 16;

    /// Whether the user wants a clip's sound, by its number from 1 on.
    bool wantsSound(int number) const;
    /// Throws UsageError where the number that the user wants is more than there are.
    void checkSoundNumber(const std::string& name, int there) const;

    /// Sound that comes as samples through `writeSound`. Call before `begin`.
    /// @return its number for that; none when the container takes no sound.
    std::optional<std::size_t> addSound(const SoundFacts& sound, const AVDictionary* metadata, int disposition);

    /// Carries the chapters of a clip. Call before `begin`.
    void copyChapters(const Reader& from);

    /// A new encoder begins after every `frames` frames, counted from `pass` or `write` on. Throws UsageError for
    /// codecs whose frames are not taken from several encoders.
    void setChunks(std::int64_t frames);
    /// Pictures go to `taker` instead of the file.
    void setTaker(PictureTaker& taker) { m_encoder->setTaker(taker); }
    /// What is written begins at this stamp, that of the first frame of all.
    void startAt(std::int64_t stamp);

    /// Opens the file and writes its head. Without it pictures alone are encoded, for a taker.
    /// @param firstNumber of a numbered sequence.
    void begin(int firstNumber);

    /// Counts a frame as written that comes as a packet, or belongs to another part. @return its stamp in packets.
    std::int64_t pass(std::int64_t stamp, std::int64_t duration);
    /// Writes a packet of the pictures.
    void writePicture(PacketPtr packet);
    /// Ends the encoder; no frame follows.
    void endPictures();

    const Target& target() const override { return m_target; }
    bool premultiplied() const override { return m_premultiplied; }
    void write(FramePtr frame) override;
    void writeSide(PacketPtr packet) override;
    void writeSound(std::size_t number, const AVFrame& sound);
    void finish() override;

  private:
    struct Passage {
        AVStream* stream = nullptr;
        AVRational unit{1, 1};
        std::int64_t last = AV_NOPTS_VALUE, step = 0; ///< stamp of the last packet that was copied, and the way to it
        CodecPtr decoder;
        std::unique_ptr<AudioEncoder> encoder;
        std::unique_ptr<SubtitleEncoder> subtitles;
    };

    const AVCodecContext& context() const { return m_encoder->context(); }
    void take(PacketPtr packet) override { writePicture(std::move(packet)); }
    void endChunk(std::int64_t) override {}
    void put(PacketPtr packet, AVStream& stream, AVRational unit);
    std::int64_t inEncoder(std::int64_t time) const;
    void pass(Passage& passage, PacketPtr packet);
    void passSound(Passage& passage, const AVPacket* packet);
    AVStream* addStream();
    bool copyStream(const AVStream& from, Passage& passage);
    void attachCover(const AVStream& from);
    bool mayCopySound(const AVStream& from) const;
    bool reencodeSound(const AVStream& from, Passage& passage);
    AVStream* addSoundStream(const AudioEncoder& encoder);
    PacketTaker takerFor(Passage& passage);
    bool reencodeSubtitles(const AVStream& from, Passage& passage);
    void passSubtitleRow(std::span<const AVStream* const> streams);
    [[noreturn]] void fail(int code) const;

    std::string m_path, m_name;
    const AVOutputFormat& m_container;
    AVFormatContext* m_format = nullptr;
    SoundOptions m_soundOptions;
    VideoFacts m_video;
    Target m_target;
    bool m_premultiplied = false;
    std::optional<PictureEncoder> m_encoder;
    std::int64_t m_chunkFrames = 0; ///< 0 for all in one
    std::int64_t m_frames = 0;      ///< passed or written
    std::int64_t m_written = 0;
    bool m_open = false; ///< there is a file
    AVStream* m_stream = nullptr;
    std::map<int, Passage> m_passages;        ///< by stream of the source
    std::vector<Passage> m_sounds;            ///< that come as samples
    std::map<int, std::int64_t> m_lastStamps; ///< decoding times of the last packets, by stream
    std::int64_t m_lastStamp = AV_NOPTS_VALUE;
    std::vector<PacketPtr> m_late;     ///< that wait for the end of a cut
    std::optional<std::int64_t> m_cut; ///< ns: the earliest end of what is cut
    std::int64_t m_shift = 0;          ///< ns: from the clip's stamps to those of the file
    std::int64_t m_end = 0;            ///< ns: of the pictures so far
};

} // namespace larkmoor
