// Iris, cutter, keyer and broadcast limits at 1920x1080, one thread.
#include <memory>

#include "kernels/broadcast.h"
#include "kernels/chroma_key.h"
#include "kernels/shape_mix.h"
#include "row.h"

namespace {

using V = const tView&;

template <class Work>
void Register(const char* name, LONG bytesPerPixel, Work work) {
    benchmark::RegisterBenchmark(name,
                                 [=](benchmark::State& state) {
                                     RunBenchRow(state, bytesPerPixel,
                                                 [=](CBenchPicture& d, CBenchPicture& s) { work(d.View(), s.View()); });
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

tIRISINFO Shape(LONG shape, float feather, float border) {
    tIRISINFO info;
    info.shape = shape;
    info.feather = feather;
    info.border = border;
    info.red = 1;
    return info;
}

void RegisterIris(const char* name, LONG bytesPerPixel, const tIRISINFO& info, bool over = false) {
    Register(name, bytesPerPixel, [=, second = std::make_shared<CBenchPicture>(bytesPerPixel, 3)](V d, V s) {
        tIRISINFO record = info;
        KwDibIris(d, s, second->View(), bytesPerPixel, &record, 0.5, over, 1.0);
    });
}

void RegisterBroadcast(const char* name, const tBROADCASTPROP& record) {
    Register(name, 4, [=](V d, V) {
        static tBroadcastTables tables;
        KwDibBroadcast(d, 4, KwBuildBroadcastTables(record, tables));
    });
}

const bool kRegistered = [] {
    RegisterIris("Iris/circle/4", 4, Shape(KW_SHAPE_CIRCLE, 0, 0));
    RegisterIris("Iris/diamond/4", 4, Shape(KW_SHAPE_DIAMOND, 0, 0));
    RegisterIris("Iris/border/4", 4, Shape(KW_SHAPE_CIRCLE, 0, 0.1f));
    RegisterIris("Iris/border over/4", 4, Shape(KW_SHAPE_CIRCLE, 0, 0.1f), true);
    RegisterIris("Iris/feather/4", 4, Shape(KW_SHAPE_CIRCLE, 0.1f, 0));
    RegisterIris("Iris/wide feather/4", 4, Shape(KW_SHAPE_DIAMOND, 0.5f, 0));
    RegisterIris("Iris/feather, border/4", 4, Shape(KW_SHAPE_OVAL, 0.5f, 0.1f));
    RegisterIris("Iris/circle/16", 16, Shape(KW_SHAPE_CIRCLE, 0, 0));
    RegisterIris("Iris/border/16", 16, Shape(KW_SHAPE_CIRCLE, 0, 0.1f));

    for (const float feather : {0.0f, 0.3f})
        for (const bool over : {false, true})
            Register(feather > 0 ? over ? "Cutter/feather over/4" : "Cutter/feather/4"
                     : over      ? "Cutter/over/4"
                                 : "Cutter/4",
                     4, [=](V d, V s) {
                         tCUTTERINFO info{Shape(KW_SHAPE_CIRCLE, feather, 0), 0.2f};
                         info.shape.direction = 1;
                         KwDibCutter(d, s, 4, &info, over, 1.0);
                     });

    for (const float blur : {0.0f, 0.1f})
        Register(blur > 0 ? "Chroma Key/blur/4" : "Chroma Key/4", 4, [=](V d, V s) {
            tCHROMAKEYPROP record;
            record.transparencyMask.blurAmount = blur;
            KwDibChromaKey(d, s, 4, record);
        });

    RegisterBroadcast("Broadcast/legal/4",
                      {.lumaMin = -8, .lumaMax = 110, .chromaMax = 148, .compositeMin = -47, .compositeMax = 148});
    RegisterBroadcast("Broadcast/some out/4", {});
    RegisterBroadcast("Broadcast/all out/4",
                      {.lumaMin = 30, .lumaMax = 31, .chromaMax = 2, .compositeMin = 29, .compositeMax = 32});
    return true;
}();

} // namespace
