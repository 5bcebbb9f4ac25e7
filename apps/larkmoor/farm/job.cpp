#include "farm/job.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <dlfcn.h>

#include <fmt/format.h>

extern "C" {
#include <libavutil/sha.h>
}

#include "assembly.h"
#include "folder.h"
#include "json_node.h"
#include "media/container.h"
#include "media/packet_file.h"
#include "media/sequence.h"
#include "output_file.h"
#include "render_project.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr int version = 1;
constexpr const char* versionKey = "larkmoor job";
constexpr const char* fileName = "job.json";
constexpr std::int64_t mostChunks = 1'000'000;

std::string digestOf(const std::string& bytes) {
    std::unique_ptr<AVSHA, decltype(&av_free)> sha(av_sha_alloc(), &av_free);
    if (!sha) throw std::bad_alloc();
    std::array<std::uint8_t, 32> sum{};
    av_sha_init(sha.get(), 256);
    av_sha_update(sha.get(), reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    av_sha_final(sha.get(), sum.data());
    return hexText(std::as_bytes(std::span(sum)));
}

/// Files that are read, with their sizes; the first and the last of a sequence stand for it.
Json sourcesOf(const std::vector<std::string>& paths) {
    Json out = Json::array();
    const auto add = [&](const std::string& path) {
        std::error_code error;
        const auto size = fs::file_size(path, error);
        if (error) throw UsageError(fmt::format("{} is no file, and a job needs those", path));
        out.push_back({{"path", path}, {"bytes", size}});
    };
    for (const std::string& path : paths) {
        const std::vector<int> numbers = isSequence(path) ? sequenceNumbers(path) : std::vector<int>();
        if (numbers.empty()) {
            add(path);
            continue;
        }
        add(sequenceName(path, numbers.front()));
        if (numbers.size() > 1) add(sequenceName(path, numbers.back()));
    }
    return out;
}

std::unique_ptr<Film> filmOf(const JobRequest& request, const OutputRequest& output) {
    return request.clip ? clipFilm(*request.clip, output) : larkmoor::filmOf(request.project, output);
}

std::string whole(const std::string& path) {
    return path.empty() ? path : fs::absolute(path).lexically_normal().string();
}

Json outputJson(const OutputRequest& output) {
    const EncodeOptions& e = output.encode;
    Json out = Json::object();
    if (!e.codec.empty()) out["codec"] = e.codec;
    if (e.quality) out["quality"] = *e.quality;
    if (e.bitRate > 0) out["bitrate"] = e.bitRate;
    if (e.pixelFormat != AV_PIX_FMT_NONE) out["pixel format"] = av_get_pix_fmt_name(e.pixelFormat);
    for (const auto& [key, value] : e.settings) out["encoder options"].push_back(key + "=" + value);
    if (e.sound.none) out["no sound"] = true;
    if (e.sound.stream > 0) out["audio stream"] = e.sound.stream;
    if (!e.sound.codec.empty()) out["audio codec"] = e.sound.codec;
    if (output.reading.strict) out["strict"] = true;
    if (!output.reading.turn) out["no autorotate"] = true;
    return out;
}

void takeOutput(const Node& node, OutputRequest& output) {
    node.object({"codec", "quality", "bitrate", "pixel format", "encoder options", "no sound", "audio stream",
                 "audio codec", "strict", "no autorotate"});
    EncodeOptions& e = output.encode;
    if (const auto codec = node.find("codec")) e.codec = codec->text();
    if (const auto quality = node.find("quality")) {
        if (!quality->json().is_number()) quality->fail("has to be a number");
        e.quality = quality->json().get<double>();
    }
    if (const auto rate = node.find("bitrate")) e.bitRate = rate->frame();
    if (const auto format = node.find("pixel format"))
        e.pixelFormat = format->parsed([](const std::string& name) { return parsePixelFormat(name); });
    if (const auto settings = node.find("encoder options"))
        settings->elements([&](const Node& setting) {
            const std::string text = setting.text();
            const std::size_t equals = text.find('=');
            if (equals == std::string::npos) setting.fail("has to be KEY=VALUE");
            e.settings.emplace_back(text.substr(0, equals), text.substr(equals + 1));
        });
    if (const auto none = node.find("no sound")) e.sound.none = none->flag();
    if (const auto stream = node.find("audio stream")) {
        constexpr std::int64_t mostStreams = 1000;
        if (stream->frame() > mostStreams) stream->fail("has to be the number of a stream, counted from 1");
        e.sound.stream = static_cast<int>(stream->frame());
    }
    if (const auto codec = node.find("audio codec")) e.sound.codec = codec->text();
    if (const auto strict = node.find("strict")) output.reading.strict = strict->flag();
    if (const auto stored = node.find("no autorotate")) output.reading.turn = !stored->flag();
}

Json clipJson(const ClipRequest& clip) {
    Json out{{"start", clip.start}};
    if (clip.end) out["end"] = *clip.end;
    if (clip.range.out) out["frames"] = *clip.range.out;
    if (!clip.over.empty()) out["over"] = clip.over;
    return out;
}

/// What a project does not say of a clip.
ClipRequest takeClip(const Node& node, const Project& project) {
    node.object({"start", "end", "frames", "over"});
    const auto* const source = std::get_if<ProjectClip>(&project.source);
    if (!source) node.fail("does not go with a generator");
    ClipRequest clip{.path = source->path, .over = {}, .rate = source->rate};
    const auto number = [](const Node& time) {
        if (!time.json().is_number()) time.fail("has to be a number of seconds");
        return time.json().get<double>();
    };
    if (const auto start = node.find("start")) clip.start = number(*start);
    if (const auto end = node.find("end")) clip.end = number(*end);
    if (const auto frames = node.find("frames")) clip.range.out = frames->frame();
    if (const auto over = node.find("over")) clip.over = over->text();
    return clip;
}

std::string chunkText(const Part& part) {
    return part.end ? fmt::format("{}:{}", part.first, *part.end) : fmt::format("{}:", part.first);
}

std::vector<Part> chunksOf(std::int64_t total, std::int64_t frames) {
    std::vector<Part> chunks;
    for (std::int64_t first = 0; first < total; first += frames)
        chunks.push_back({.first = first, .end = first + frames, .share = {}});
    // What is told of the length may be too little.
    chunks.back().end.reset();
    return chunks;
}

} // namespace

Build buildOf(const Module& module) {
    Dl_info place{};
    void* const entry = module.symbol("DllGetClassObject");
    if (!entry || ::dladdr(entry, &place) == 0) throw Error("cannot tell the module's file");
    return {LARKMOOR_VERSION, digestOf(readText(place.dli_fname)), av_version_info()};
}

fs::path ChunkJob::chunkFile(std::int64_t number) const {
    return folder / "chunks" / fmt::format("{:06}", number);
}

fs::path ChunkJob::claimFile(std::int64_t number) const {
    return folder / "claims" / fmt::format("{:06}", number);
}

fs::path ChunkJob::failureFile(std::int64_t number) const {
    return folder / "failed" / fmt::format("{:06}", number);
}

std::string ChunkJob::chunkHead(std::int64_t number) const {
    return Json{{"job", digest}, {"chunk", number}}.dump();
}

std::vector<std::int64_t> numbersIn(const fs::path& folder) {
    std::vector<std::int64_t> numbers;
    std::error_code error;
    for (const fs::path& path : entriesOf(folder, error)) {
        const std::string name = path.filename();
        std::int64_t number = 0;
        const auto [last, status] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (status == std::errc() && last == name.data() + name.size() && number >= 0) numbers.push_back(number);
    }
    if (error) throw Error(fmt::format("cannot read the folder {}: {}", folder.string(), error.message()));
    std::ranges::sort(numbers);
    return numbers;
}

void createJob(const Module& module, JobRequest request, const fs::path& folder) {
    OutputRequest& output = request.output;
    if (isRawPath(output.path))
        throw UsageError("a job makes files that are encoded; --frames-of renders parts of bare frames");
    if (auto* const clip = std::get_if<ProjectClip>(&request.project.source)) clip->path = whole(clip->path);
    if (request.project.second) request.project.second->path = whole(request.project.second->path);
    if (request.clip) {
        request.clip->path = whole(request.clip->path);
        request.clip->over = whole(request.clip->over);
    }
    const auto film = filmOf(request, output);
    const std::optional<std::int64_t> total = film->total();
    if (!total) throw UsageError(fmt::format("nothing tells how many frames {} has; --frames does", film->name()));
    if (*total / output.chunkFrames >= mostChunks)
        throw UsageError(
            fmt::format("{} frames in chunks of {} are more than {} chunks", *total, output.chunkFrames, mostChunks));
    // Times and ends become frames once, for all workers.
    Recipe recipe = recipeOf(request.project);
    settleKeys(recipe, total, film->video().rate, film->name());
    request.project.effects.clear();
    for (const Step& step : recipe.effects) request.project.effects.push_back(effectOf(step));
    if (auto* const made = std::get_if<ProjectGenerator>(&request.project.source))
        made->generator = effectOf(*recipe.head);
    else if (request.project.second)
        request.project.second->transition = effectOf(*recipe.head);

    const Build build = buildOf(module);
    Json chunks = Json::array();
    for (const Part& part : chunksOf(std::max<std::int64_t>(1, *total), output.chunkFrames))
        chunks.push_back(chunkText(part));
    Json json{{versionKey, version},
              {"program", build.program},
              {"module", build.module},
              {"codecs", build.codecs},
              {"film", fs::path(output.path).filename().string()},
              {"project", parseJson(projectText(request.project, folder))}};
    if (request.clip) json["clip"] = clipJson(*request.clip);
    json["sources"] = sourcesOf(film->files());
    json["output"] = outputJson(output);
    json["chunk frames"] = output.chunkFrames;
    json["chunks"] = std::move(chunks);
    // Encoder and container are tried before there is a folder.
    const VideoFacts& video = film->video();
    const AVOutputFormat& container = containerFor(output.path);
    // SVT-AV1 waits for ever where it is closed without having had a frame, as here and in `mergeJob`.
    if (std::string_view(encoderFor(output.encode, container, output.path, video, film->like()).name) == "libsvtav1")
        throw UsageError("libsvtav1 does not work in the chunks of a job; --codec libaom-av1 does");
    ContainerSink(output.path, output.path, video, output.encode, film->like()).setChunks(output.chunkFrames);

    std::error_code error;
    const fs::path target = fs::absolute(folder / ".").parent_path();
    if (fs::exists(target / fileName, error)) throw Error(fmt::format("{} holds a job already", folder.string()));
    if (fs::exists(target, error) && !fs::is_empty(target, error))
        throw Error(fmt::format("{} is there already, and not empty", folder.string()));
    for (const char* name : {"chunks", "claims", "failed"}) {
        fs::create_directories(target / name, error);
        if (error) throw Error(fmt::format("cannot make the folder {}: {}", folder.string(), error.message()));
    }
    writeWhole(target / fileName, json.dump(2) + "\n", false);
}

ChunkJob loadJob(const Module& module, const fs::path& folder) {
    ChunkJob job;
    job.folder = fs::absolute(folder / ".").lexically_normal().parent_path();
    const fs::path file = folder / fileName;
    const std::string text = readText(file);
    job.digest = digestOf(text);
    withPlace(file.string(), [&] {
        const Json json = parseJson(text);
        const Node top(json, "");
        top.object({versionKey, "program", "module", "codecs", "film", "project", "clip", "sources", "output",
                    "chunk frames", "chunks"});
        if (top.at(versionKey).json() != version)
            top.at(versionKey).fail(fmt::format("has to be {}; another version wrote this", version));
        job.build = {top.at("program").text(), top.at("module").text(), top.at("codecs").text()};
        OutputRequest& output = job.request.output;
        output.path = job.folder / top.at("film").text();
        output.chunkFrames = top.at("chunk frames").frame();
        takeOutput(top.at("output"), output);
        // Values were looked at when the job was made.
        job.request.project = parseProject(module, top.at("project").json().dump(), job.folder, Values::Unchecked);
        if (const auto clip = top.find("clip")) job.request.clip = takeClip(*clip, job.request.project);
        const Node chunks = top.at("chunks");
        if (output.chunkFrames == 0 || !chunks.json().is_array() || chunks.json().empty() ||
            chunks.json().size() > static_cast<std::size_t>(mostChunks))
            chunks.fail("has to be a list of frames, A:B each");
        job.chunks = chunksOf(static_cast<std::int64_t>(chunks.json().size()) * output.chunkFrames, output.chunkFrames);
        for (std::size_t i = 0; i < job.chunks.size(); ++i)
            if (chunks.element(i).text() != chunkText(job.chunks[i]))
                chunks.element(i).fail(fmt::format("has to be \"{}\"", chunkText(job.chunks[i])));
        return 0;
    });
    return job;
}

void checkJob(const ChunkJob& job, const Module& module) {
    const Build here = buildOf(module);
    if (here != job.build)
        throw Error(fmt::format("{} was made by larkmoor {} with FFmpeg {}, and this is {} with {}{}; only the same "
                                "build makes the same bytes",
                                job.folder.string(), job.build.program, job.build.codecs, here.program, here.codecs,
                                here.module == job.build.module ? "" : " and another module"));
    const Json json = parseJson(readText(job.folder / fileName));
    const Node top(json, "");
    top.at("sources").elements([&](const Node& source) {
        const std::string path = source.at("path").text();
        std::error_code error;
        const auto size = fs::file_size(path, error);
        if (error) throw Error(fmt::format("cannot read {}: {}", path, error.message()));
        if (source.at("bytes").json() != size)
            throw Error(fmt::format("{} is not the file that {} was made of", path, job.folder.string()));
    });
}

Ended renderChunks(const Module& module, const ChunkJob& job, std::int64_t first, int threads, ChunkTaker& taker,
                   const Watch& watch) {
    OutputRequest output = job.request.output;
    output.threads = threads;
    output.part = Part{.first = job.chunks.at(static_cast<std::size_t>(first)).first, .end = {}, .share = {}};
    const auto film = filmOf(job.request, output);
    return render(module, *film, recipeOf(job.request.project), output, watch, {.made = nullptr, .taker = &taker});
}

namespace {

/// The chunks' packets, one file after the other.
class JobPictures final : public PictureSource {
  public:
    /// @param whole clips may have been damaged.
    JobPictures(const ChunkJob& job, bool whole) : m_job(job), m_whole(whole) {}

    PacketPtr next() override {
        while (!m_reader || m_reader->ended()) {
            if (m_reader && m_reader->damaged() && !m_whole) throw Misfit("a clip is damaged");
            if (m_number == m_job.count()) return {};
            m_reader.emplace(m_job.chunkFile(m_number).string());
            if (m_reader->head() != m_job.chunkHead(m_number))
                throw Error(fmt::format("{} belongs to another job; remove it, and `larkmoor work` makes it anew",
                                        m_job.chunkFile(m_number).string()));
            ++m_number;
        }
        return m_reader->next();
    }
    std::int64_t endChunk() override { return m_reader ? m_reader->endChunk() : 0; }
    std::int64_t chunkFrames() const override { return m_job.request.output.chunkFrames; }

  private:
    const ChunkJob& m_job;
    bool m_whole;
    std::optional<PacketReader> m_reader;
    std::int64_t m_number = 0; ///< of the chunk that is opened next
};

std::string endingOf(const std::string& path) {
    std::string ending = fs::path(path).extension();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return ending;
}

} // namespace

Ended mergeJob(const Module& module, const ChunkJob& job, OutputRequest output, const Watch& watch) {
    const std::string& made = job.request.output.path;
    if (endingOf(output.path) != endingOf(made) || isSequence(output.path) != isSequence(made))
        throw UsageError(fmt::format("the job's chunks are for a file such as {}, and {} is another kind",
                                     fs::path(made).filename().string(), output.path));
    std::vector<std::int64_t> missing;
    const std::vector<std::int64_t> there = numbersIn(job.folder / "chunks");
    for (std::int64_t i = 0; i < job.count(); ++i)
        if (!std::ranges::binary_search(there, i)) missing.push_back(i);
    if (!missing.empty())
        throw Error(fmt::format("{} of {} chunks are missing, the first is {}; `larkmoor work {}` makes them",
                                missing.size(), job.count(), missing.front(), job.folder.string()));
    const OutputRequest& wanted = job.request.output;
    output.encode = wanted.encode;
    output.reading = wanted.reading;
    output.chunkFrames = wanted.chunkFrames;
    const auto join = [&](bool decode) {
        output.reading.timesOnly = !decode;
        const auto film = filmOf(job.request, output);
        JobPictures pictures(job, decode);
        return render(module, *film, recipeOf(job.request.project), output, watch,
                      {.made = &pictures, .taker = nullptr});
    };
    // What packets tell of the frames' times is right but for damaged clips and some codecs, and then the work begins
    // anew. What goes into a pipe cannot.
    const bool file = !fs::exists(output.path) || fs::is_regular_file(output.path);
    try {
        return join(!file);
    } catch (const Misfit&) {
        if (!file) throw;
    }
    return join(true);
}

} // namespace larkmoor
