// Texts that people and files hand in: values of fields, times, sizes, rates, projects, states and presets.
// The first byte says what the rest is, the second which effect is meant.
#include <cstdlib>
#include <cstring>

#include "folder.h"
#include "json_node.h"
#include "preset_store.h"
#include "project.h"
#include "record.h"
#include "requests.h"

using namespace larkmoor;
namespace fs = std::filesystem;

namespace {

const Module& module() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

void require(bool holds) {
    if (!holds) __builtin_trap();
}

/// What is written into a field is read back as text that gives the same record.
void value(const EffectInfo& info, const std::string& text) {
    const std::size_t sign = text.find('=');
    const tFieldInfo& field = info.field(text.substr(0, sign));
    std::vector<std::byte> record = info.defaults;
    setFieldText(field, record, sign == std::string::npos ? "" : text.substr(sign + 1));
    std::vector<std::byte> again = info.defaults;
    setFieldText(field, again, fieldText(field, record));
    require(fieldText(field, again) == fieldText(field, record));
    fieldFault(field, record);
}

void project(const std::string& text) {
    const fs::path folder = "/nowhere";
    const Project read = parseProject(module(), text, folder, Values::Unchecked);
    const std::string written = projectText(read, folder);
    require(projectText(parseProject(module(), written, folder, Values::Unchecked), folder) == written);
}

void preset(const EffectInfo& info, const std::string& text, bool asState) {
    static const fuzz::Folder own;
    static const PresetStore store(own.path());
    const fs::path file = own.path() / info.className / (asState ? "it.state" : "it.json");
    fs::create_directories(file.parent_path());
    fuzz::write(file, text);
    struct Remove {
        const fs::path& file;
        ~Remove() { fs::remove(file); }
    } const remove{file};
    const auto record = store.load(module(), info, "it", Values::Unchecked);
    require(info.textField() || record.size() == info.defaults.size());
}

void take(int kind, const EffectInfo& info, const std::string& text) {
    switch (kind) {
    case 0:
        return value(info, text);
    case 1:
        return project(text);
    case 2:
        recordOfState(module(), info, std::as_bytes(std::span(text)));
        return;
    case 3:
    case 4:
        return preset(info, text, kind == 4);
    case 5:
        parseTime(text);
        return;
    case 6:
        parseRate(text);
        return;
    case 7:
        parseSize(text);
        return;
    case 8:
        parseBitRate(text);
        return;
    case 9:
        parseRaw(text);
        return;
    case 10:
        presetRecord(module(), info, text, Values::Checked);
        return;
    default:
        module().find(text);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    ::setenv("XDG_DATA_HOME", "/nowhere", 1); // no presets of the user's own
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto effects = module().effects();
    try {
        take(data[0] % 12, effects[data[1] % effects.size()],
             std::string(reinterpret_cast<const char*>(data) + 2, size - 2));
    } catch (const Error& error) {
        require(*error.what() != 0); // a sentence
    }
    return 0;
}
