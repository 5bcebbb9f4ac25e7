// Frames of a project while it is worked on: any of them, in the background, the newest wish first.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "chain.h"
#include "preview_source.h"
#include "project.h"

namespace larkmoor {

/// What the pictures of a project are before any cut.
struct PictureFacts {
    int width = 0, height = 0;
    AVRational aspect{1, 1}; ///< width of a pixel over its height
    AVRational rate{25, 1};
    std::int64_t frames = 0;
    std::int64_t overlapStart = 0, overlapFrames = 0; ///< of a transition
    double duration = 0;            ///< of a transition in seconds: the nearest to the project's that can be made
    std::int64_t wantedOverlap = 0; ///< frames of that; fewer are used where a clip is shorter
    AVPixelFormat format = AV_PIX_FMT_NONE;
    Colour colour;
    bool alpha = false;
    /// Seconds of each frame from the first one on; null where the frames come at the rate.
    std::shared_ptr<const std::vector<double>> times;

    double secondsOf(std::int64_t frame) const;
    /// The frame that is seen then: the last one that has begun, `frames` and more behind the film. Where the film runs
    /// backwards, the first one that has not.
    std::int64_t frameAt(double seconds, bool backwards = false) const;
};

/// The pictures of a project's source, any of them, without its effects. Safe to share between threads.
class PreviewFilm;

struct PreviewOptions {
    bool half = false;       ///< half the width and height; fonts become smaller alike
    bool wantBefore = false; ///< the picture without effects, too
};

struct PreviewResult {
    std::uint64_t request = 0;
    std::int64_t frame = 0;
    bool half = false;
    Surface after, before;   ///< premultiplied 8-bit pictures, only to be read; empty with an error or where not wanted
    double milliseconds = 0; ///< from the start of the work to its end
    std::string error;       ///< a sentence; empty when all went well
};

/// Renders frames on a thread of its own. Pictures are as `renderProject` makes them, before they are encoded.
class PreviewRenderer {
  public:
    /// @param deliver is called on the renderer's thread, in the order of the requests.
    PreviewRenderer(Module module, std::function<void(const PreviewResult&)> deliver);
    /// Waits for the frame in work, which is still delivered.
    ~PreviewRenderer();
    PreviewRenderer(const PreviewRenderer&) = delete;
    PreviewRenderer& operator=(const PreviewRenderer&) = delete;

    /// Asks for a frame, counted in the source's pictures before any cut, as `in` and `out` are. Takes the place of a
    /// request that has not been begun. Returns the request's number; they ascend from 1.
    std::uint64_t request(std::shared_ptr<const Project> project, std::int64_t frame,
                          const PreviewOptions& options = {});

    /// What a project's pictures are. May wait for a frame to be decoded, and may read clips through to count their
    /// frames. Throws Error where they cannot be read, Stopped where that is to end. Any thread may ask.
    PictureFacts facts(const Project& project, const GoesOn& goesOn = {});
    /// Opens the clips anew at the next request: their files have changed.
    void reopen();

  private:
    struct Wish {
        std::uint64_t number = 0;
        std::shared_ptr<const Project> project;
        std::int64_t frame = 0;
        PreviewOptions options;
    };
    class Kitchen;

    void work();
    std::shared_ptr<PreviewFilm> film(const Project& project);

    Module m_module;
    std::function<void(const PreviewResult&)> m_deliver;
    std::mutex m_lock, m_filmLock;
    std::condition_variable m_wake;
    std::optional<Wish> m_wish;
    std::uint64_t m_last = 0;
    bool m_ending = false;
    std::shared_ptr<PreviewFilm> m_film; ///< of the project asked for last
    std::thread m_thread;
};

/// What an effect with a record makes of a small picture: a filter renders it, a transition stands half way from it to
/// `second` (or to nothing), a generator is laid over it. For any thread.
/// @param picture premultiplied 8-bit.
/// @param scale of the picture to the frame it was made from, for fonts.
Surface thumbnail(const Module& module, const EffectInfo& info, std::span<const std::byte> record,
                  const Surface& picture, double scale = 1, const Surface& second = {});

} // namespace larkmoor
