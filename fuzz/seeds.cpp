// Writes what the fuzzing of texts starts from: `larkmoor_fuzz_seeds FOLDER DICTIONARY`, both from the module's tables.
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "project.h"

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

} // namespace

int main(int count, char** arguments) {
    if (count != 3) return 2;
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
    return 0;
}
