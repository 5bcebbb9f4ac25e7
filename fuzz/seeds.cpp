// Writes what the fuzzing of texts and of jobs starts from, from the module's tables:
// `larkmoor_fuzz_seeds TEXTS DICTIONARY JOBS`, two folders and a file.
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "farm/chunk_run.h"
#include "folder.h"
#include "output_file.h"

using namespace larkmoor;

namespace {

std::string quoted(const std::string& word) {
    std::string escaped;
    for (const char c : word)
        escaped += c >= ' ' && c < 127 && c != '"' && c != '\\'
                       ? std::string(1, c)
                       : fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
    return '"' + escaped + "\"\n";
}

/// A job for each kind of source, whose first chunk is rendered. The first byte is the kind of file (jobs.cpp).
void writeJobs(const Module& module, const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const fuzz::Folder own;
    int number = 0;
    const auto add = [&](JobRequest request) {
        const auto job = own.path() / std::to_string(number);
        request.output.path = "film.mkv";
        request.output.chunkFrames = 2;
        request.output.encode.codec = "ffv1";
        createJob(module, request, job);
        fuzz::write(folder / fmt::format("job-{}", number), std::string(1, '\0') + readText(job / "job.json"));
        const ChunkJob loaded = loadJob(module, job);
        ChunkQueue queue(loaded, 60);
        ChunkRun(loaded, queue, queue.take(), true).render(module, 1, {});
        fuzz::write(folder / fmt::format("chunk-{}", number), std::string(1, '\1') + readText(loaded.chunkFile(0)));
        ++number;
    };
    Project project;
    ProjectGenerator made{projectEffect(module.find("Test Pattern")), 16, 16, {25, 1}, 0.2};
    project.source = made;
    project.effects.push_back(projectEffect(module.find("Invert")));
    add({project, {}, {}});
    Project clip;
    const std::string file = own.path() / "a.y4m";
    fuzz::write(file, "YUV4MPEG2 W2 H2 F25:1 C444\nFRAME\n............FRAME\n............FRAME\n............");
    clip.source = ProjectClip{file};
    clip.effects = project.effects;
    add({clip, ClipRequest{.path = file, .over = {}, .start = 0.04, .end = 0.1}, {}});
    fuzz::write(folder / "claim", std::string(1, '\2') + R"({"host": "here", "process": 1, "machine": "it"})");
    fuzz::write(folder / "failure", std::string(1, '\3') + R"({"host": "here", "sentence": "it is so"})");
}

} // namespace

int main(int count, char** arguments) {
    if (count != 4) return 2;
    const std::filesystem::path folder = arguments[1];
    std::filesystem::create_directories(folder);
    std::ofstream dictionary(arguments[2]);
    const Module module = Module::load(LARKMOOR_MODULE_FILE);
    int number = 0;
    const auto seed = [&](char kind, int effect, const std::string& text) {
        std::ofstream(folder / fmt::format("seed-{:03}", number++), std::ios::binary)
            << kind << static_cast<char>(effect) << text;
    };
    for (const char* word : {"larkmoor project",
                             "larkmoor preset",
                             "source",
                             "kind",
                             "clip",
                             "generator",
                             "path",
                             "rate",
                             "size",
                             "duration",
                             "second",
                             "transition",
                             "in",
                             "out",
                             "effects",
                             "effect",
                             "fields",
                             "record",
                             "ramp",
                             "from",
                             "to",
                             "on",
                             "over",
                             "keys",
                             "true",
                             "false",
                             "null",
                             "1e999"})
        dictionary << quoted(word) << quoted(fmt::format("\"{}\":", word));
    for (const char* text :
         {"1:02:03.5", "12", "-1", "nan", "30000/1001", "29.97", "1920x1080", "4M", "800k", "640x360:bgra:25"})
        for (char kind = 5; kind < 10; ++kind) seed(kind, 0, text);
    int index = 0;
    for (const EffectInfo& info : module.effects()) {
        dictionary << quoted(info.name) << quoted(info.className);
        std::string fields;
        for (const tFieldInfo& field : info.fields) {
            dictionary << quoted(field.name);
            for (LONG i = 0; i < field.choiceCount; ++i) dictionary << quoted(field.choices[i].text);
            const std::string text = fieldText(field, info.defaults);
            seed(0, index, fmt::format("{}={}", field.name, text));
        }
        for (const PresetInfo& preset : info.presets) dictionary << quoted(preset.name);
        Project project;
        if (info.kind == EffectKind::Generator) {
            project.source = ProjectGenerator{projectEffect(info)};
        } else {
            project.source = ProjectClip{"/nowhere/a.mp4"};
            if (info.kind == EffectKind::Transition)
                project.second = ProjectSecond{"/nowhere/b.mp4", projectEffect(info)};
            else
                project.effects.push_back(projectEffect(info));
        }
        seed(1, index, projectText(project, "/nowhere"));
        seed(3, index, fmt::format("{{\"larkmoor preset\": 1, \"effect\": \"{}\", \"fields\": {{}}}}", info.className));
        const std::string state(reinterpret_cast<const char*>(info.defaults.data()), info.defaults.size());
        seed(4, index, state);
        ++index;
    }
    writeJobs(module, arguments[3]);
    return 0;
}
