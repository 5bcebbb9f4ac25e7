#include "effect_words.h"

#include <QCoreApplication>
#include <algorithm>
#include <string_view>

namespace larkmoor {

namespace {

constexpr const char* kContext = "larkmoor::EffectWords";
constexpr const char *kColor = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Color"),
                     *kBlur = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Blur and sharpen"),
                     *kKey = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Key and mask"),
                     *kStyle = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Style"),
                     *kBroadcast = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Broadcast"),
                     *kTitle = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Titles and patterns"),
                     *kTransition = QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Transitions");

struct Row {
    std::string_view className;
    const char *group, *words;
};

// Other kinds of transitions and generators go by their kind.
constexpr Row kRows[] = {
    {"DXTBrightnessContrast", kColor, ""},
    {"DXTDesaturate", kColor, "grayscale greyscale black white gray grey saturation"},
    {"DXTHSLAdjust", kColor, "hue saturation"},
    {"DXTInvert", kColor, "negative"},
    {"DXTLevels", kColor, "gamma"},
    {"DXTSepia", kColor, "tint"},
    {"DXTThreshold", kColor, ""},
    {"DXTBlackRestore", kColor, ""},
    {"DXTBlur", kBlur, "soften defocus"},
    {"DXTGaussianBlur", kBlur, "soften defocus"},
    {"DXTSharpen", kBlur, "unsharp"},
    {"DXTFloatMedian", kBlur, "denoise"},
    {"DXTChromaKeyFilter", kKey, "greenscreen green screen bluescreen blue screen chromakey keying"},
    {"DXTKwMask", kKey, "luma key"},
    {"DXTKwCCutter", kKey, "crop vignette shape"},
    {"DXTMax", kStyle, "erode dilate"},
    {"DXTNoise", kStyle, "grain"},
    {"DXTPixelate", kStyle, "mosaic censor"},
    {"DXTWave", kStyle, "ripple distort"},
    {"DXTBroadcastColors", kBroadcast, "legalize legalise legal safe limiter gamut ire"},
    {"DXTGamut", kBroadcast, "legalize legalise legal safe limiter gamut"},
    {"DXTTimeCode", kTitle, "burn in counter"},
    {"DXSText", kTitle, "title caption credits"},
    {"DXSTestp", kTitle, "color bars colour bars smpte"},
    {"Dissolve", kTransition, "crossfade cross fade mix"},
    {"DXTAdditiveDissolve", kTransition, "crossfade cross fade mix"}};

} // namespace

EffectWords effectWords(const EffectInfo& info) {
    const auto* const row = std::ranges::find(kRows, std::string_view(info.className), &Row::className);
    const bool known = row != std::end(kRows);
    const char* const usual = info.kind == EffectKind::Transition  ? kTransition
                              : info.kind == EffectKind::Generator ? kTitle
                                                                   : kStyle;
    return {QCoreApplication::translate(kContext, known ? row->group : usual),
            known ? QString::fromLatin1(row->words) : QString()};
}

} // namespace larkmoor
