#include "demonstration.h"

namespace larkmoor {

namespace {

ProjectEffect effect(const Module& module, const char* name,
                     std::initializer_list<std::pair<const char*, const char*>> fields) {
    ProjectEffect made = projectEffect(module.find(name));
    for (const auto& [field, text] : fields) setFieldText(made.info->field(field), made.record, text);
    return made;
}

void moveTo(ProjectEffect& effect, std::initializer_list<std::pair<const char*, const char*>> fields) {
    std::vector<std::byte> end = effect.record;
    for (const auto& [field, text] : fields) setFieldText(effect.info->field(field), end, text);
    effect.curves = rampCurves(*effect.info, effect.record, end, {});
}

} // namespace

Project demonstrationProject(const Module& module) {
    Project project;
    project.source = ProjectGenerator{effect(module, "Test Pattern", {{"type", "Gradient"}}), 1280, 720, {25, 1}, 8};
    ProjectEffect wave = effect(module, "Wave",
                                {{"verticalWaves", "3"},
                                 {"horizontalWaves", "5"},
                                 {"verticalAmplitude", "0.04"},
                                 {"horizontalAmplitude", "0.06"},
                                 {"verticalPhase", "0"},
                                 {"horizontalPhase", "0"}});
    moveTo(wave, {{"verticalPhase", "6.283"}, {"horizontalPhase", "6.283"}});
    ProjectEffect hue = effect(module, "HSL Adjust", {{"addHue", "0"}, {"saturation", "1.2"}});
    moveTo(hue, {{"addHue", "0.45"}});
    ProjectEffect title = effect(
        module, "Text",
        {{"text", "Larkmoor"}, {"font", "Liberation Sans Bold 220"}, {"back", "#00000000"}, {"fore", "#FFFFFFFF"}});
    title.over = true;
    const ProjectEffect time =
        effect(module, "Timecode",
               {{"format", "SMPTE EBU (25 fps, Video)"}, {"vertical", "Bottom"}, {"width", "0.5"}, {"height", "0.5"}});
    project.effects = {wave, hue, title, time};
    return project;
}

} // namespace larkmoor
