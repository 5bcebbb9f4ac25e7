#include "preview.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "host/alpha.h"
#include "host/depth.h"
#include "levels.h"
#include "media/conform.h"
#include "media/convert.h"
#include "platform/font.h"
#include "render_project.h"

namespace larkmoor {

namespace {

/// Frames kept of both clips together.
constexpr std::size_t cacheBytes = std::size_t{384} << 20;

/// Surfaces whose memory is used again once the last user has let go of them, on whatever thread.
class SurfacePool {
  public:
    Surface take(PixelFormat format, int width, int height) {
        Surface memory;
        {
            const std::lock_guard guard(m_state->lock);
            std::erase_if(m_state->free, [&](const Surface& surface) {
                const ImageView is = surface.view();
                return is.width != width || is.height != height || is.format != format;
            });
            if (!m_state->free.empty()) {
                memory = std::move(m_state->free.back());
                m_state->free.pop_back();
            }
        }
        if (!memory) memory = Surface::create(format, width, height);
        const ImageView view = memory.view();
        const std::weak_ptr<State> home = m_state;
        std::shared_ptr<void> owner(nullptr, [home, memory = std::move(memory)](std::nullptr_t) mutable {
            if (const auto state = home.lock()) {
                const std::lock_guard guard(state->lock);
                if (state->free.size() < mostFree) state->free.push_back(std::move(memory));
            }
        });
        return Surface::wrap(view, 0, 0, std::move(owner));
    }

  private:
    static constexpr std::size_t mostFree = 4;
    struct State {
        std::mutex lock;
        std::vector<Surface> free;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// Fonts tell their height in pixels; all else in records goes by the size of the picture.
std::vector<std::byte> scaledRecord(const EffectInfo& info, std::span<const std::byte> record, double scale) {
    std::vector<std::byte> scaled(record.begin(), record.end());
    for (const tFieldInfo& field : info.fields) {
        const auto place = static_cast<std::size_t>(field.offset);
        tLOGFONT font;
        if (field.kind != KWFIELD_FONT || place + sizeof font > scaled.size()) continue;
        std::memcpy(&font, scaled.data() + place, sizeof font);
        if (font.lfHeight == 0) continue;
        const auto height = static_cast<LONG>(std::lround(font.lfHeight * scale));
        font.lfHeight = height != 0 ? height : font.lfHeight > 0 ? 1 : -1;
        std::memcpy(scaled.data() + place, &font, sizeof font);
    }
    return scaled;
}

void scaleStep(Step& step, double scale) {
    step.record = scaledRecord(*step.info, step.record, scale);
    for (Curve& curve : step.curves) {
        if (curve.field->kind != KWFIELD_FONT) continue;
        std::vector<std::byte> record = step.record;
        for (Key& key : curve.keys) {
            putFieldBytes(*curve.field, record, key.value);
            key.value = fieldBytes(*curve.field, scaledRecord(*step.info, record, scale));
        }
    }
}

bool sameRate(const std::optional<AVRational>& a, const std::optional<AVRational>& b) {
    return a.has_value() == b.has_value() && (!a || av_cmp_q(*a, *b) == 0);
}

} // namespace

class PreviewFilm {
  public:
    explicit PreviewFilm(const Project& project) {
        if (const auto* made = std::get_if<ProjectGenerator>(&project.source)) {
            m_made = *made;
            m_video = generatorFacts(made->width, made->height, made->rate);
            return;
        }
        m_clip = std::get<ProjectClip>(project.source);
        m_a = std::make_shared<PreviewSource>(m_clip.path, m_clip.rate, cacheBytes / 2);
        m_video = m_a->video();
        if (project.second) addSecond(*project.second);
    }

    /// The film for a project: this one, or one that shares what it has opened.
    static std::shared_ptr<PreviewFilm> forProject(const std::shared_ptr<PreviewFilm>& last, const Project& project) {
        if (last && last->fits(project)) return last;
        auto film = std::shared_ptr<PreviewFilm>(new PreviewFilm);
        const auto* clip = std::get_if<ProjectClip>(&project.source);
        const bool sameClip =
            last && clip && last->m_a && last->m_clip.path == clip->path && sameRate(last->m_clip.rate, clip->rate);
        if (!sameClip) return std::make_shared<PreviewFilm>(project);
        film->m_clip = *clip;
        film->m_a = last->m_a;
        film->m_video = film->m_a->video();
        if (project.second) {
            if (last->m_b && last->m_secondPath == project.second->path) film->m_b = last->m_b;
            film->addSecond(*project.second);
        }
        return film;
    }

    const VideoFacts& video() const { return m_video; }
    const VideoFacts& second() const { return m_b->video(); }
    bool generates() const { return m_made.has_value(); }
    bool joins() const { return static_cast<bool>(m_b); }

    PictureFacts facts(const GoesOn& goesOn) {
        PictureFacts facts{.width = m_video.width,
                           .height = m_video.height,
                           .aspect = m_video.aspect,
                           .rate = m_video.rate,
                           .format = m_video.format,
                           .colour = m_video.colour,
                           .alpha = m_video.alpha};
        if (m_made) {
            facts.frames = framesIn(m_made->duration, m_made->rate);
        } else if (m_b) {
            const Plan& plan = this->plan(goesOn);
            facts.frames = plan.total();
            facts.overlapStart = plan.lengthA - plan.overlap;
            facts.overlapFrames = plan.overlap;
            facts.duration = fittingOverlap(m_duration, m_video.rate);
            facts.wantedOverlap = m_overlap;
        } else {
            facts.frames = m_a->count(goesOn);
            if (std::vector<double> times = m_a->unsteadyTimes(goesOn); !times.empty())
                facts.times = std::make_shared<const std::vector<double>>(std::move(times));
        }
        return facts;
    }

    /// How many frames a run over a range expects: what keys at its ends go by.
    std::optional<std::int64_t> total(std::int64_t in, std::optional<std::int64_t> out) {
        std::optional<std::int64_t> all;
        if (m_made)
            all = framesIn(m_made->duration, m_made->rate);
        else if (m_b)
            all = joinTotal(*m_a, *m_b);
        else
            all = in > 0 ? m_a->exactCount() : m_a->expectedFrames();
        if (out) all = std::min(all.value_or(*out), *out);
        return all ? std::optional(std::max<std::int64_t>(1, *all - in)) : std::nullopt;
    }

    struct Picture {
        FramePtr first, second;
        bool fromSecond = false;
        double progress = 0;
        std::int64_t time100ns = 0;
    };

    Picture picture(std::int64_t frame) {
        Picture picture;
        if (frame < 0) throw Error(fmt::format("there is no frame {}", frame));
        if (m_made || m_b) picture.time100ns = av_rescale_q(frame, m_video.timeBase, {1, 10000000});
        if (m_made) return picture;
        if (!m_b) {
            const DecodedFrame decoded = m_a->frame(frame);
            picture.first = shareFrame(*decoded.frame);
            picture.time100ns = decoded.time100ns;
            return picture;
        }
        const Plan& plan = this->plan();
        const std::int64_t start = plan.lengthA - plan.overlap;
        if (frame >= plan.total())
            throw Error(fmt::format("the clips make {} frames; there is no frame {}", plan.total(), frame));
        if (frame < plan.lengthA) picture.first = shareFrame(*m_a->frame(plan.numberA(frame)).frame);
        if (frame >= plan.lengthA) {
            picture.first = fromSecond(plan.numberB(frame - start));
            picture.fromSecond = true;
        } else if (frame >= start) {
            picture.second = fromSecond(plan.numberB(frame - start));
            picture.progress = joinProgress(frame - start, plan.overlap);
        }
        return picture;
    }

  private:
    PreviewFilm() = default;

    /// The order of frames that `joinFilm` makes, known beforehand.
    struct Plan {
        std::vector<std::int64_t> a, b; ///< frames of the clips at the steady rate
        std::int64_t lengthA = 0, lengthB = 0, overlap = 0;
        std::int64_t total() const { return lengthA + lengthB - overlap; }
        static std::int64_t number(const std::vector<std::int64_t>& frames, std::int64_t i) {
            return frames[static_cast<std::size_t>(std::min<std::int64_t>(i, std::ssize(frames) - 1))];
        }
        std::int64_t numberA(std::int64_t i) const { return number(a, i); }
        std::int64_t numberB(std::int64_t i) const { return number(b, i); }
    };

    void addSecond(const ProjectSecond& second) {
        m_secondPath = second.path;
        m_duration = second.duration;
        if (!m_b) m_b = std::make_shared<PreviewSource>(second.path, std::nullopt, cacheBytes / 2);
        m_video = joinFacts(m_a->video(), m_a->isPicture(), m_b->video(), m_b->isPicture());
        m_overlap = overlapFrames(fittingOverlap(m_duration, m_video.rate), m_video.rate);
        std::string ignored;
        const std::string filters = fittingFilters(m_b->video(), m_video, ignored);
        if (!filters.empty()) m_fitting.emplace(m_b->video(), filters, "resample " + second.path);
    }

    bool fits(const Project& project) const {
        if (const auto* made = std::get_if<ProjectGenerator>(&project.source))
            return m_made && m_made->width == made->width && m_made->height == made->height &&
                   av_cmp_q(m_made->rate, made->rate) == 0 && m_made->duration == made->duration;
        const auto& clip = std::get<ProjectClip>(project.source);
        return m_a && m_clip.path == clip.path && sameRate(m_clip.rate, clip.rate) &&
               project.second.has_value() == static_cast<bool>(m_b) &&
               (!project.second || (project.second->path == m_secondPath && project.second->duration == m_duration));
    }

    const Plan& plan(const GoesOn& goesOn = {}) {
        const std::lock_guard guard(m_lock);
        if (m_plan) return *m_plan;
        Plan plan{m_a->steady(m_video.rate, goesOn), m_b->steady(m_video.rate, goesOn)};
        if (plan.a.empty() || plan.b.empty()) throw Error("a clip is too short to be seen at the rate of the other");
        // A picture lasts as long as the transition.
        const auto length = [&](const std::vector<std::int64_t>& frames, bool picture) {
            return picture ? std::max<std::int64_t>(m_overlap, std::ssize(frames)) : std::ssize(frames);
        };
        plan.lengthA = length(plan.a, m_a->isPicture());
        plan.lengthB = length(plan.b, m_b->isPicture());
        plan.overlap = std::min({m_overlap, plan.lengthA, plan.lengthB});
        m_plan = std::move(plan);
        return *m_plan;
    }

    FramePtr fromSecond(std::int64_t number) {
        const DecodedFrame decoded = m_b->frame(number);
        FramePtr frame = shareFrame(*decoded.frame);
        if (!m_fitting) return frame;
        m_fitting->put(*frame);
        if (FramePtr fitted = m_fitting->take()) return fitted;
        throw Error(fmt::format("cannot resample {}", m_secondPath));
    }

    std::optional<std::int64_t> joinTotal(const PreviewSource& a, const PreviewSource& b) const {
        const auto frames = [&](const PreviewSource& clip) -> std::optional<std::int64_t> {
            return clip.isPicture() ? m_overlap : steadyFrames(clip.expectedFrames(), clip.video().rate, m_video.rate);
        };
        const auto first = frames(a), second = frames(b);
        return first && second ? std::optional(*first + *second - m_overlap) : std::nullopt;
    }

    std::mutex m_lock;
    std::optional<ProjectGenerator> m_made;
    ProjectClip m_clip;
    std::string m_secondPath;
    double m_duration = 0;
    std::int64_t m_overlap = 0;
    std::shared_ptr<PreviewSource> m_a, m_b;
    VideoFacts m_video;
    std::optional<FilterGraph> m_fitting; ///< used by the renderer's thread alone
    std::optional<Plan> m_plan;
};

/// What the renderer's thread keeps from one frame to the next.
class PreviewRenderer::Kitchen {
  public:
    explicit Kitchen(const Module& module)
        : m_module(module), m_head(module, {}, processors()), m_effects(module, {}, processors()) {}

    void render(const std::shared_ptr<PreviewFilm>& film, const Wish& wish, PreviewResult& result) {
        const Project& project = *wish.project;
        Recipe recipe = recipeOf(project);
        settleKeys(recipe, needsTotal(recipe) ? film->total(project.in, project.out) : std::nullopt, film->video().rate,
                   "the project");
        settleLevels(recipe);
        if (wish.options.half) {
            if (recipe.head) scaleStep(*recipe.head, 0.5);
            for (Step& step : recipe.effects) scaleStep(step, 0.5);
        }
        Recipe effects{.head = {}, .effects = std::move(recipe.effects)};
        recipe.effects.clear();

        prepareBase(film, wish, recipe);
        Surface after = m_base;
        if (!effects.effects.empty()) {
            after = take();
            after.setInfo(m_base.info());
            m_effects.update(m_module, effects);
            if (!m_effects.run(m_base, {}, after, {wish.frame - project.in, 0})) after = m_base;
        }
        if (wish.options.wantBefore) result.before = bytes(m_base);
        result.after = after.get() == m_base.get() && result.before ? result.before : bytes(after);
    }

  private:
    /// What the picture before the effects depends on.
    struct Key {
        std::shared_ptr<PreviewFilm> film;
        std::int64_t frame = 0, index = 0;
        bool half = false;
        const EffectInfo* head = nullptr;
        std::vector<std::byte> record;
        Curves curves;
        friend bool operator==(const Key&, const Key&) = default;
    };

    static unsigned processors() { return std::max(1u, std::thread::hardware_concurrency()); }

    Surface take() { return m_pool.take(m_form, m_width, m_height); }

    void prepareBase(const std::shared_ptr<PreviewFilm>& film, const Wish& wish, const Recipe& recipe) {
        Key key{film, wish.frame, 0, wish.options.half, nullptr, {}, {}};
        if (recipe.head) {
            key.head = recipe.head->info;
            key.record = recipe.head->record;
            key.curves = recipe.head->curves;
            if (!key.curves.empty()) key.index = wish.frame - wish.project->in;
        }
        if (m_base && key == m_key) return;
        m_base = {};

        const VideoFacts& video = film->video();
        const auto side = [&](int length) { return wish.options.half ? (length + 1) / 2 : length; };
        m_width = side(video.width);
        m_height = side(video.height);
        const bool deep = needsFloat(video.format) || (film->joins() && needsFloat(film->second().format));
        m_form = deep ? PixelFormat::Float128 : PixelFormat::PremultipliedArgb32;
        const PreviewFilm::Picture picture = film->picture(wish.frame);
        const tSurfaceInfo info{av_q2d(video.aspect), av_q2d(video.rate), picture.time100ns};
        const auto imported = [&](const FramePtr& frame, const VideoFacts& facts) {
            if (!frame) return Surface();
            Surface surface = take();
            surface.setInfo(info);
            (wish.options.half ? m_draftImporter : m_importer).run(*frame, surface.view(), facts.premultiplied);
            surface.touch();
            return surface;
        };
        Surface base = imported(picture.first, picture.fromSecond ? film->second() : video);
        if (film->generates() || picture.second) {
            const Surface second = picture.second ? imported(picture.second, film->second()) : Surface();
            const Surface output = take();
            Surface(output).setInfo(info);
            m_head.update(m_module, recipe);
            m_head.run(base, second, output, {wish.frame - wish.project->in, picture.progress});
            base = output;
        }
        m_base = base;
        m_key = std::move(key);
    }

    /// The picture in 8 bits.
    Surface bytes(const Surface& picture) {
        const ImageView is = picture.view();
        if (is.format != PixelFormat::Float128) return picture;
        Surface narrow = m_bytePool.take(PixelFormat::PremultipliedArgb32, is.width, is.height);
        narrowPicture(is, narrow.view());
        return narrow;
    }

    const Module& m_module;
    Chain m_head, m_effects;
    Importer m_importer, m_draftImporter{true};
    SurfacePool m_pool, m_bytePool;
    PixelFormat m_form{};
    int m_width = 0, m_height = 0;
    Key m_key;
    Surface m_base; ///< the picture before the effects
};

PreviewRenderer::PreviewRenderer(Module module, std::function<void(const PreviewResult&)> deliver)
    : m_module(std::move(module)), m_deliver(std::move(deliver)), m_thread([this] { work(); }) {}

PreviewRenderer::~PreviewRenderer() {
    {
        const std::lock_guard guard(m_lock);
        m_ending = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

std::uint64_t PreviewRenderer::request(std::shared_ptr<const Project> project, std::int64_t frame,
                                       const PreviewOptions& options) {
    const std::lock_guard guard(m_lock);
    m_wish = Wish{++m_last, std::move(project), frame, options};
    m_wake.notify_all();
    return m_last;
}

std::shared_ptr<PreviewFilm> PreviewRenderer::film(const Project& project) {
    const std::lock_guard guard(m_filmLock);
    m_film = PreviewFilm::forProject(m_film, project);
    return m_film;
}

double PictureFacts::secondsOf(std::int64_t frame) const {
    if (!times || frame < 0) return static_cast<double>(frame) / av_q2d(rate);
    const std::int64_t last = std::ssize(*times) - 1, known = std::min(frame, last);
    return (*times)[static_cast<std::size_t>(known)] + static_cast<double>(frame - known) / av_q2d(rate);
}

std::int64_t PictureFacts::frameAt(double seconds, bool backwards) const {
    constexpr double slack = 1e-6; // seconds; far less than a frame, far more than what sums of them are off by
    const std::int64_t from = times && seconds > 0 ? std::ssize(*times) - 1 : 0; // the rate goes on outside
    const double since = seconds - secondsOf(from);
    if (!times || seconds <= 0 || since >= 0)
        return from + std::llround(backwards ? std::ceil((since - slack) * av_q2d(rate))
                                             : std::floor((since + slack) * av_q2d(rate)));
    if (backwards) return std::ranges::lower_bound(*times, seconds - slack) - times->begin();
    return std::ranges::upper_bound(*times, seconds + slack) - times->begin() - 1;
}

PictureFacts PreviewRenderer::facts(const Project& project, const GoesOn& goesOn) {
    return film(project)->facts(goesOn);
}

void PreviewRenderer::reopen() {
    const std::lock_guard guard(m_filmLock);
    m_film.reset();
}

void PreviewRenderer::work() {
    using Clock = std::chrono::steady_clock;
    Kitchen kitchen(m_module);
    while (true) {
        Wish wish;
        {
            std::unique_lock guard(m_lock);
            m_wake.wait(guard, [&] { return m_ending || m_wish; });
            if (m_ending) return;
            wish = std::move(*m_wish);
            m_wish.reset();
        }
        const auto start = Clock::now();
        PreviewResult result{.request = wish.number, .frame = wish.frame, .half = wish.options.half};
        try {
            kitchen.render(film(*wish.project), wish, result);
        } catch (const std::bad_alloc&) {
            result.error = "memory is short";
        } catch (const std::exception& error) {
            result.error = error.what();
        }
        if (!result.error.empty()) result.before = result.after = {};
        result.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        m_deliver(result);
    }
}

Surface thumbnail(const Module& module, const EffectInfo& info, std::span<const std::byte> record,
                  const Surface& picture, double scale, const Surface& second) {
    const ImageView shape = picture.view();
    Step step{.info = &info, .record = scaledRecord(info, record, scale)};
    step.over = info.kind == EffectKind::Generator;
    Recipe recipe;
    if (info.kind == EffectKind::Transition)
        recipe.head = std::move(step);
    else
        recipe.effects.push_back(std::move(step));
    Surface output = Surface::create(shape.format, shape.width, shape.height);
    output.setInfo(picture.info());
    const Surface other = second ? second : Surface::create(shape.format, shape.width, shape.height);
    Chain(module, recipe).run(picture, recipe.joins() ? other : Surface(), output, {0, 0.5});
    return output;
}

} // namespace larkmoor
