#include "film.h"

#include <algorithm>
#include <atomic>

#include <fmt/format.h>

#include "assembly.h"
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

void Film::skip(std::int64_t frames, const std::function<void(std::int64_t)>& passed) {
    for (Job job; job.index < frames && read(job); job = {.index = job.index + 1})
        passed(job.first ? job.first->pts : job.index);
}

Ended render(const Module& module, Film& film, Recipe recipe, OutputRequest request, const Watch& watch,
             const Packets& packets) {
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
    if (request.part) request.part = settlePart(*request.part, total, film.name());
    const Part part = request.part.value_or(Part());
    Output output(request, video, film.like(), film.firstNumber(), packets.taker);
    FrameSink& sink = output.sink();
    ContainerSink* const container = output.container();
    if (container) {
        container->startAt(film.firstStamp());
        if (!request.part) {
            if (film.like()) container->copyChapters(*film.like());
            film.addStreams(*container);
        }
        if (!packets.taker) container->begin(film.firstNumber() + static_cast<int>(part.first));
    }
    std::optional<Assembly> assembly;
    if (container && request.chunkFrames > 0 && !request.part && !packets.made)
        container->setTaker(assembly.emplace(film, *container, request.chunkFrames));
    film.skip(part.first, [&](std::int64_t stamp) {
        if (container) container->pass(stamp, 0);
    });

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
    std::optional<std::int64_t> wanted = total;
    if (packets.taker)
        wanted.reset();
    else if (total && request.part)
        wanted = std::max<std::int64_t>(1, std::min(*total, part.end.value_or(*total)) - part.first);
    const auto tell = [&] {
        ++count;
        if (watch.progress) watch.progress(count, wanted);
    };
    const auto tellDamage = [&] {
        if (!film.damage().empty()) packets.taker->damaged();
    };
    const auto read = [&](Job& job) {
        job.index += part.first;
        if (part.end && job.index >= *part.end) return false;
        if (packets.taker && job.index > part.first && job.index % request.chunkFrames == 0) {
            tellDamage();
            if (!packets.taker->wants(job.index)) return false;
        }
        return !isCancelled() && film.read(job);
    };
    const auto work = [&](Job& job) { workers.with([&](Worker& worker) { worker.run(job); }); };
    const auto write = [&](Job& job) {
        if (request.part) {
            sink.write(std::move(job.output));
        } else if (assembly) {
            sink.write(std::move(job.output));
            assembly->add(std::move(job));
        } else {
            for (PacketPtr& packet : job.side) sink.writeSide(std::move(packet));
            if (job.output) sink.write(std::move(job.output));
            film.written(job);
        }
        tell();
    };
    if (packets.made)
        assemble(film, *container, *packets.made, [&] {
            tell();
            return !isCancelled();
        });
    else
        runPipeline(request.threads, {.read = read, .work = work, .write = write});
    if (isCancelled()) return Ended::Cancelled;
    if (packets.taker) tellDamage();
    if (count == 0 && request.part && !packets.taker)
        throw Error(fmt::format("{} has no frame {}", film.name(), part.first));
    if (assembly) container->endPictures();
    if (!request.part) film.end(sink);
    const std::vector<std::string> damage = film.damage();
    output.finish();
    for (const std::string& sentence : damage)
        if (watch.damage)
            watch.damage(sentence);
        else
            warn(sentence);
    return damage.empty() ? Ended::Whole : Ended::Damaged;
}

} // namespace larkmoor
