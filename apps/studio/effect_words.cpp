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
    const char *group, *words, *about;
};

constexpr Row kRows[] = {
    {"DXTBrightnessContrast", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "light dark exposure"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Makes the picture brighter or darker, and its differences greater or smaller.")},
    {"DXTDesaturate", kColor,
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "grayscale greyscale black white gray grey saturation"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Takes the colors away, wholly or in part.")},
    {"DXTHSLAdjust", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "hue saturation"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Shifts the hue, and changes how strong and how light the colors are.")},
    {"DXTInvert", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "negative"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Shows the negative.")},
    {"DXTLevels", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "gamma"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Sets black, white and the middle tones of what comes in and of what goes out.")},
    {"DXTSepia", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "tint"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Tints the picture with one color, as old photographs have it.")},
    {"DXTThreshold", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "black white posterize"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Makes each color channel nothing below a level, and all from there on.")},
    {"DXTBlackRestore", kColor, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "crush blacks"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Makes what is nearly black altogether black.")},
    {"DXTBlur", kBlur, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "soften defocus"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Softens the picture a little, fast.")},
    {"DXTGaussianBlur", kBlur, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "soften defocus"),
     QT_TRANSLATE_NOOP(
         "larkmoor::EffectWords",
         "Softens the picture as a lens out of focus does, as far as it is wanted, each channel by itself.")},
    {"DXTSharpen", kBlur, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "unsharp"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Makes edges clearer.")},
    {"DXTFloatMedian", kBlur, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "denoise"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Puts in each place the middle value of those around it: specks go, edges stay.")},
    {"DXTChromaKeyFilter", kKey,
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "greenscreen green screen bluescreen blue screen chromakey keying"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Makes what has the key color transparent, as a screen behind an actor.")},
    {"DXTKwMask", kKey, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "luma key"),
     QT_TRANSLATE_NOOP(
         "larkmoor::EffectWords",
         "Shows the luminance or one channel of the picture in gray, between the levels that are wanted: a mask.")},
    {"DXTKwCCutter", kKey, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "crop vignette shape"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Cuts the picture out along a shape, or a grid of them.")},
    {"DXTMax", kStyle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "erode dilate"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Lets the lightest or the darkest of the neighbors spread.")},
    {"DXTNoise", kStyle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "grain"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Adds noise, still or moving.")},
    {"DXTPixelate", kStyle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "mosaic censor"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Shows the picture in blocks of one color each.")},
    {"DXTWave", kStyle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "ripple distort"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Bends the picture in waves, across and down.")},
    {"DXTBroadcastColors", kBroadcast,
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "legalize legalise legal safe limiter gamut ire"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "Keeps luma, chroma and the composite signal within what broadcasters accept.")},
    {"DXTGamut", kBroadcast, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "legalize legalise legal safe limiter gamut"),
     QT_TRANSLATE_NOOP(
         "larkmoor::EffectWords",
         "Keeps the picture within broadcast limits as older projects did; for new ones take Broadcast Colors.")},
    {"DXTTimeCode", kTitle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "burn in counter"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Writes the time of the frame into the picture.")},
    {"DXSText", kTitle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "title caption credits"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Writes text: titles, captions, credits.")},
    {"DXSTestp", kTitle, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "color bars colour bars smpte"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Makes test pictures: bars, ramps, grids and plain colors.")},
    {"Dissolve", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "crossfade cross fade mix"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Lets one clip pass into the next, in one of ten ways.")},
    {"DXTAdditiveDissolve", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "crossfade cross fade mix"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Lets one clip fade out while the next fades in.")},
    {"DXTKwClock", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "radial wipe"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "A hand turns about the middle and uncovers the next clip.")},
    {"DXTKwIris", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "circle wipe"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "A shape, or a grid of them, opens or closes over the next clip.")},
    {"DXTKwPush", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "slide"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "The next clip pushes the one before it out, or moves over it.")},
    {"DXTKwSqueeze", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "stretch"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "The next clip grows while the one before it is squeezed away.")},
    {"DXTKwWipe", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "wipe"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "An edge runs over the picture in any direction.")},
    {"DXTKwBarn", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "door gate"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords", "Two doors close or open between the clips.")},
    {"DXTKwZoom", kTransition, QT_TRANSLATE_NOOP("larkmoor::EffectWords", "grow shrink"),
     QT_TRANSLATE_NOOP("larkmoor::EffectWords",
                       "The next clip grows from a point, or the one before it shrinks to it.")}};

} // namespace

EffectWords effectWords(const EffectInfo& info) {
    const auto* const row = std::ranges::find(kRows, std::string_view(info.className), &Row::className);
    const bool known = row != std::end(kRows);
    const char* const usual = info.kind == EffectKind::Transition  ? kTransition
                              : info.kind == EffectKind::Generator ? kTitle
                                                                   : kStyle;
    // People know the English ones, too.
    const QString words =
        known ? QString::fromLatin1(row->words) + ' ' + QCoreApplication::translate(kContext, row->words) : QString();
    return {QCoreApplication::translate(kContext, known ? row->group : usual), words,
            known ? QCoreApplication::translate(kContext, row->about) : QString()};
}

} // namespace larkmoor
