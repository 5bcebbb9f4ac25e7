#include "film.h"

#include <algorithm>
#include <atomic>

#include <fmt/format.h>

#include "levels.h"
#include "output.h"
#include "worker.h"

namespace larkmoor {

namespace {

/// Whether the effects make pictures that something shows through: by the first picture of a generator, which tells of
/// the others, and by name for what keys a colour out.
bool makesClear(const Module& module, const Film& film, const Recipe& recipe) {
    if (recipe.generates()) {
        Chain chain(module, recipe);
        Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, film.video().width, film.video().height);
        const ImageView view = picture.view();
        chain.run({}, {}, picture, {});
        for (int y = 0; y < view.height; ++y)
            for (int x = 0; x < view.width; ++x)
                if (view.data[y * view.stride + 4 * x + 3] != std::byte{255}) return true;
        return false;
    }
    const bool covered = !film.others().empty() && !recipe.joins();
    return !covered && std::ranges::any_of(recipe.effects, [](const Step& step) {
        return step.info->className == "DXTChromaKeyFilter";
    });
}

} // namespace

Ended render(const Module& module, Film& film, Recipe recipe, const OutputRequest& request, const Watch& watch) {
    const std::optional<std::int64_t> total = film.total();
    settleKeys(recipe, total, film.video().rate, film.name());
    settleLevels(recipe);
    refuseInputs(request.path, film.files());
    const auto check = [&](const Step& step) {
        checkSaves(step, request.overwrite);
        for (const std::string& path : step.saveTo) refuseInputs(path, film.files());
    };
    if (recipe.head) check(*recipe.head);
    for (const Step& step : recipe.effects) check(step);
    VideoFacts video = film.video();
    video.alpha = video.alpha || makesClear(module, film, recipe);
    Output output(request, video, film.like());
    FrameSink& sink = output.sink();
    if (ContainerSink* container = output.container()) film.begin(*container);

    const FramePool frames(sink.target().format, film.video().width, film.video().height);
    const WorkPlan plan{module, recipe, film.video(), film.others(), sink, frames};
    const std::vector<std::string> narrow = effectsInBytes(recipe);
    if (!narrow.empty() && formFor(recipe, plan.video, plan.others) == PixelFormat::Float128)
        warn(narrow.size() == 1 ? fmt::format("{} works at 8 bits; what it leaves as it is keeps its depth", narrow[0])
                                : fmt::format("{} work at 8 bits; what they leave as it is keeps its depth",
                                              fmt::join(narrow, " and ")));
    for (const std::string& note : levelNotes(recipe)) warn(note);
    Pool<Worker> workers([&] { return std::make_unique<Worker>(plan); });
    std::atomic<bool> cancelled = false;
    const auto isCancelled = [&] {
        if (watch.cancelled && watch.cancelled()) cancelled = true;
        return cancelled.load();
    };
    std::int64_t count = 0;
    runPipeline(request.threads, {.read = [&](Job& job) { return !isCancelled() && film.read(job); },
                                  .work = [&](Job& job) { workers.with([&](Worker& worker) { worker.run(job); }); },
                                  .write =
                                      [&](Job& job) {
                                          for (PacketPtr& packet : job.side) sink.writeSide(std::move(packet));
                                          if (job.output) sink.write(std::move(job.output));
                                          film.written(job);
                                          ++count;
                                          if (watch.progress) watch.progress(count, total);
                                      }});
    if (isCancelled()) return Ended::Cancelled;
    film.end(sink);
    output.finish();
    const std::vector<std::string> damage = film.damage();
    for (const std::string& sentence : damage)
        if (watch.damage)
            watch.damage(sentence);
        else
            warn(sentence);
    return damage.empty() ? Ended::Whole : Ended::Damaged;
}

} // namespace larkmoor
