// Generators, the burned-in timecode and row conversion at 1920x1080. "copies" is the time in plain copies of a frame.
// Aims: Test Pattern 1 a frame, Text with four lines of thirty characters at 72 pixels 6, Timecode 3.
#include "frame/effect_class.h"
#include "generators/text.h"
#include "generators/time_code.h"
#include "host/services.h"
#include "host/surface.h"
#include "kernels/row_convert.h"
#include "platform/com_ptr.h"
#include "row.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;

CComPtr<IUnknown> Made(const char* className) {
    for (const tObjectMapRow& row : KwObjectMap())
        if (std::strcmp(row.className, className) == 0) return CComPtr<IUnknown>::Adopt(row.create(row, nullptr));
    return {};
}

template <class T>
CComPtr<T> DualOf(IUnknown* object) {
    tClassInfo told{};
    KwQuery<IKwParamInfo>(object)->GetClassInfo(&told, sizeof told);
    CComPtr<T> dual;
    object->QueryInterface(&told.iid, dual.ReceiveVoid());
    return dual;
}

/// A generator's frame, drawn and read row by row straight into a picture.
template <class Record>
void Generate(benchmark::State& state, const char* className, Record record) {
    const auto object = Made(className);
    const auto dual = DualOf<IKwGenerator>(object.Get());
    const auto surface = KwQuery<IDXSurface>(object.Get());
    DXBNDS bounds{};
    bounds.Axis[0] = {0, kBenchWidth};
    bounds.Axis[1] = {0, kBenchHeight};
    KwQuery<IDXSurfaceInit>(object.Get())->InitSurface(nullptr, nullptr, nullptr, &bounds, 0);
    dual->put_all(&record, sizeof record);
    RunBenchRow(state, 4, [&](CBenchPicture& picture, CBenchPicture&) {
        std::byte cache[256];
        dual->GetCacheInfo(cache);
        CComPtr<IDXARGBReadPtr> rows;
        surface->LockSurface(nullptr, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, rows.ReceiveVoid(), nullptr);
        for (LONG y = 0; y < kBenchHeight; ++y) {
            rows->MoveToRow(static_cast<ULONG>(y));
            rows->UnpackPremult(reinterpret_cast<DWORD*>(picture.Data()) + std::ptrdiff_t{y} * kBenchWidth, kBenchWidth,
                                FALSE);
        }
    });
}

void TestPattern(benchmark::State& state) {
    Generate(state, "DXSTestp", static_cast<ULONG>(state.range(0)));
}

void Text(benchmark::State& state) {
    static char16_t words[] = u"The quick brown fox jumps over\rthe lazy dog and then it sleeps\r"
                              u"Sphinx of black quartz, judges\rmy vow: 0123456789 and letters";
    tTEXTPROP record{};
    record.font = {.lfHeight = 72, .lfWeight = 400, .lfCharSet = 1, .lfOutPrecision = 7, .lfFaceName = "Arial"};
    record.vertical = record.horizontal = 1;
    for (float& c : record.fore) c = 1;
    record.tracking = 1.03f;
    record.leading = 1;
    record.textLength = static_cast<LONG>(std::size(words));
    record.text = words;
    Generate(state, "DXSText", record);
}

void TimeCode(benchmark::State& state) {
    const auto object = Made("DXTTimeCode");
    const auto dual = DualOf<IKwEffect>(object.Get());
    tTIMECODEPROP record{2, 2, 8, 1, 1, 1, 0, 0};
    dual->put_all(&record, sizeof record);
    const auto site = larkmoor::createTransformFactory(1);
    KwQuery<IObjectWithSite>(object.Get())->SetSite(site.Get());
    const auto transform = KwQuery<IDXTransform>(object.Get());
    const auto wrapped = [](CBenchPicture& picture) {
        return Surface::wrap({reinterpret_cast<std::byte*>(picture.Data()), kBenchWidth, kBenchHeight, kBenchWidth * 4,
                              PixelFormat::PremultipliedArgb32});
    };
    Surface from, to;
    std::int64_t frame = 0;
    RunBenchRow(state, 4, [&](CBenchPicture& picture, CBenchPicture& source) {
        if (!to) {
            from = wrapped(source);
            to = wrapped(picture);
            IUnknown *const in = from.get(), *const out = to.get();
            transform->Setup(&in, 1, &out, 1, 0);
        }
        to.setInfo({1.0, 29.97, frame += 333667});
        transform->Execute(nullptr, nullptr, nullptr);
    });
    transform->Setup(nullptr, 0, nullptr, 0, 0);
}

void RowConvert(benchmark::State& state) {
    const LONG extra[] = {static_cast<LONG>(state.range(2)), 0x8000};
    tRowPlan plan;
    KwMakeRowPlan(0, static_cast<LONG>(state.range(0)), static_cast<LONG>(state.range(1)), extra, plan);
    std::vector<std::byte> from(kBenchWidth * 16), to(kBenchWidth * 16);
    RunBenchRow(state, 4, [&](CBenchPicture&, CBenchPicture&) {
        for (LONG y = 0; y < kBenchHeight; ++y) KwConvertRow(plan, to.data(), from.data(), kBenchWidth);
    });
}

BENCHMARK(TestPattern)->DenseRange(0, 8)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(Text)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(TimeCode)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RowConvert)
    ->Args({kRowBgra32, kRowBgr24, kRowCopy})
    ->Args({kRow565, kRowBgra32, kRowCopy})
    ->Args({kRowBgra32, kRowBgra32, kRowSourceAlpha})
    ->Args({kRowBgra64, kRowBgra32, kRowBlend})
    ->Args({kRowBgraHalf, kRowBgra32, kRowCopy})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
