// The pictures that a run begins with, in order, and what goes with them into the output.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "chain.h"
#include "media/container_sink.h"
#include "pipeline.h"
#include "requests.h"

namespace larkmoor {

class Film {
  public:
    virtual ~Film() = default;

    /// What the pictures are.
    virtual const VideoFacts& video() const = 0;
    /// What the pictures of the film's other clips are: of those that follow, in order, or of the one below.
    virtual std::vector<VideoFacts> others() const { return {}; }
    /// The clip whose metadata and codec count for the output; null for none.
    virtual const Reader* like() const { return nullptr; }
    /// Frames, as far as can be told beforehand.
    virtual std::optional<std::int64_t> total() const = 0;
    /// For people.
    virtual std::string name() const = 0;
    /// What is read, and so cannot be written.
    virtual std::vector<std::string> files() const { return {}; }

    /// Where the pictures are written as a numbered sequence, the number of the first one.
    virtual int firstNumber() const { return 1; }
    /// Time stamp of the first frame.
    virtual std::int64_t firstStamp() const { return 0; }

    /// Leaves the first frames out; the others stay what they are. Call before any is read.
    /// @param passed takes the time stamp of each.
    virtual void skip(std::int64_t frames, const std::function<void(std::int64_t stamp)>& passed);
    /// Adds what goes beside the pictures.
    virtual void addStreams(ContainerSink& container) = 0;
    /// Fills the next job; false at the end.
    virtual bool read(Job& job) = 0;
    /// Called after a job's frame was written, in order, perhaps while another is read.
    virtual void written(const Job&) {}
    /// What is wrong with the clips, as far as they were read: a sentence for each that is damaged.
    virtual std::vector<std::string> damage() const { return {}; }
    /// What is to be written after the last frame.
    virtual void end(FrameSink&) {}
};

/// Part of what a film has: frames counted from its start.
struct Range {
    std::int64_t in = 0;
    std::optional<std::int64_t> out; ///< the frame after the last
};

struct ClipRequest {
    std::string path;
    std::string over;               ///< a clip to lay the pictures over; empty for none
    std::optional<AVRational> rate; ///< of a numbered sequence
    double start = 0;               ///< seconds; only without `range.in`
    std::optional<double> end;      ///< seconds; only without `range`
    Range range;                    ///< from `start` on
};

/// A clip, a picture, a numbered sequence or bare frames, each frame with its own time stamp, and the clip's other
/// streams.
std::unique_ptr<Film> clipFilm(const ClipRequest& request, const OutputRequest& output);

/// Frames from the start of a range up to a time of the clip, in seconds, by reading through the clip once. Throws
/// UsageError where there are none, or where it can be read but once.
std::int64_t framesBefore(const std::string& path, const ReadOptions& options, double end);

/// A picture laid over a clip for as long as that lasts: size, rate, range, sound and all else are the clip's. Null
/// where the request asks for something else.
std::unique_ptr<Film> stillFilm(const ClipRequest& request, const OutputRequest& output);

/// Two or more clips, each of which overlaps the one before, at a steady rate, and their sound. Throws UsageError for
/// an overlap of no frames or too many, and for one that is longer than half of a clip between two others.
/// @param rate of the first, where that is a numbered sequence.
/// @param overlap in seconds.
std::unique_ptr<Film> joinFilm(const std::vector<std::string>& paths, std::optional<AVRational> rate, double overlap,
                               const Range& range, const OutputRequest& output);

/// What the pictures of two joined clips are.
VideoFacts joinFacts(const VideoFacts& first, bool firstIsPicture, const VideoFacts& second, bool secondIsPicture);
/// What a clip that has `frames` at its own rate adds to an output of another rate.
std::optional<std::int64_t> steadyFrames(std::optional<std::int64_t> frames, AVRational is, AVRational wanted);
/// Throws Error, which says how to bring them together, for two clips whose numbers mean different amounts of light.
void refuseMixedDynamics(const std::string& first, const VideoFacts& is, const std::string& second,
                         const VideoFacts& other);
/// Frames of an overlap in seconds. Throws UsageError for none or too many.
std::int64_t overlapFrames(double seconds, AVRational rate);
/// The nearest to `seconds` that makes a transition.
double fittingOverlap(double seconds, AVRational rate);
/// Progress of a transition at a frame of its overlap.
double joinProgress(std::int64_t step, std::int64_t overlap);

/// Pictures of a generator's: nothing but their size, rate and number.
std::unique_ptr<Film> generatorFilm(int width, int height, AVRational rate, double seconds, const Range& range);

/// What a generator's pictures are.
VideoFacts generatorFacts(int width, int height, AVRational rate);
/// Frames in `seconds`, at least one.
std::int64_t framesIn(double seconds, AVRational rate);

/// What a run tells and asks while it works, both on threads of its own.
struct Watch {
    std::function<void(std::int64_t done, std::optional<std::int64_t> total)> progress;
    std::function<bool()> cancelled;
    std::function<void(const std::string& sentence)> damage; ///< of an input; without it a warning
};

/// How a run ended.
enum class Ended {
    Whole,
    Damaged,   ///< done, though an input is damaged
    Cancelled, ///< with nothing written
};

class PictureSource;

/// Takes the packets of chunks that follow one another.
class ChunkTaker : public PictureTaker {
  public:
    /// Whether the chunk that begins at a frame, the one behind all that were wanted, is to be made as well. Asked on a
    /// thread of its own while those before it are still encoded.
    virtual bool wants(std::int64_t frame) = 0;
    /// A clip is damaged, at a frame that was read for what was wanted so far.
    virtual void damaged() = 0;
};

/// What takes the place of pictures on one side of a run. The output is encoded.
struct Packets {
    PictureSource* made = nullptr; ///< the film's, rendered before: all else is left to do
    /// Gets those of the part's first chunk, where the part begins, and of what it wants behind that; there is no file.
    ChunkTaker* taker = nullptr;
};

/// Renders a film, or the part of it that is wanted, through a recipe into the output. Damage of its clips is told at
/// the end.
Ended render(const Module& module, Film& film, Recipe recipe, OutputRequest output, const Watch& watch,
             const Packets& packets = {});

} // namespace larkmoor
