// Uses every symbol that the module exports, by the installed headers alone; the check beside it compares the list.
#include <cstdio>
#include <cstring>

#include "frame/surface.h"
#include "kernels/curve.h"
#include "kernels/exports.h"
#include "platform/exports.h"

namespace {

UINT Answer(void*, const tMESSAGE& message, bool*) {
    return static_cast<UINT>(message.defaultButton);
}

} // namespace

int main() {
    CKwSurface surface, copy;
    const DXBNDS bounds{};
    copy = surface;
    bool good = copy.GetPixelAspect() == 0.0 && !surface.Lock(nullptr, &DDPF_ARGB32, FALSE) &&
                !surface.Lock(nullptr, &DDPF_ARGB32, FALSE, &bounds);
    surface.Unlock();

    const double from[] = {0}, to[] = {2}, slope[] = {2};
    double out[] = {0};
    const tCurveKey first{from, slope, out, 1}, second{to, slope, nullptr, 1};
    CKwLinearEval linear, line;
    line = linear;
    line.evaluate(first, to, 1, 0.5);
    good = good && out[0] == 1.0;
    CKwHermiteCubicEval cubic, curve;
    curve = cubic;
    curve.evaluate(first, second, 1, 0.5);
    good = good && out[0] == 1.0;
    curve.derivative(first, second, 1, 0.5);
    good = good && out[0] == 2.0 && curve.hermite(0, 2, 2, 2, 0.5, 0, 1) == 1.0 &&
           curve.hermiteDerivative(0, 2, 2, 2, 0.5, 0, 1) == 2.0;

    KwSetMessageCallback(&Answer, nullptr);
    KwSetMessageCallback(nullptr, nullptr);
    ULONG word = 0;
    KwSetMemoryDWords(&word, 7, 1);
    KwWndCenter(nullptr);
    good = good && word == 7 && DllCanUnloadNow() == S_OK && DllRegisterServer() == E_NOTIMPL &&
           DllUnregisterServer() == S_OK && Internet_BrowseWebPage(nullptr) == FALSE;
    CLSID clsid{};
    good = good && DllEnumObjects2(0, nullptr, &clsid, nullptr, 0, nullptr, nullptr, nullptr) == S_OK;
    void* factory = nullptr;
    good = good && DllGetClassObject(&clsid, &IClassFactory::iid, &factory) == S_OK && factory;
    const char* const written = "00:00:01:00";
    char text[32];
    const tTIMEFORMAT format{.format = kTimeSmpteEbu};
    good = good && KwFormatTime(text, sizeof text, &format, 10'000'000, FALSE) == std::strlen(written) &&
           !std::strcmp(text, written);
    // Pictures without memory are refused.
    const HRESULT refusals[] = {
        KwDibBrightness(nullptr, nullptr, 0, nullptr, 4, 0),
        KwDibChannelMin(nullptr, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 1, 4),
        KwDibClock(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, 4, nullptr, 0),
        KwDibMask(nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr, nullptr, 4, nullptr),
        KwDibPush(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, 4, nullptr,
                  0),
        KwDibBarn(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, 4, nullptr,
                  0),
        KwDibSqueeze(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, 4,
                     tSQUEEZEPROP{}, 0),
        KwDibZoom(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, nullptr, 4,
                  tZOOMPROP{}, 0),
        KwDibWipe(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr, 4, 0, 0, 0, 0),
        KwDibCreateDifferenceAlpha(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 4),
        KwDibApplyChromaCorrection(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 4),
        CreateMaskBorder(nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr, 0, 4, 1, 0, 0, nullptr),
    };
    for (const HRESULT refusal : refusals) good = good && (refusal == E_POINTER || refusal == E_INVALIDARG);
    good = good && KwTwin_mix(nullptr, nullptr, 0, nullptr, nullptr, nullptr, 0, 0, nullptr, nullptr, 4) == S_OK;
    std::puts(good ? "all there" : "something is wrong");
    return good ? 0 : 1;
}
