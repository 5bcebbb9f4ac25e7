// What an effect draws, wherever its pictures lie, however many processors, threads and frames there are.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <ctime>
#include <exception>
#include <limits>
#include <thread>

#include <malloc.h>

#include "host/object.h"
#include "validate/checks.h"

namespace larkmoor::validate {

namespace {

using Bytes = std::vector<std::byte>;

constexpr PixelFormat formats[] = {PixelFormat::PremultipliedArgb32, PixelFormat::Argb32, PixelFormat::Float128};
constexpr const char* formatNames[] = {"straight bytes", "premultiplied bytes", "floats"};

const char* nameOf(PixelFormat format) {
    return formatNames[static_cast<int>(format)];
}

/// Pictures of one frame: as many inputs as the effect takes, and what stands in the output before.
class Scene {
  public:
    Scene(const Subject& subject, PixelFormat format, int width, int height, const Layout& layout, std::uint32_t seed,
          bool wild = false)
        : m_output(format, width, height, layout) {
        m_output.fill(seed, wild);
        for (int i = 0; i < subject.maxInputs(); ++i) {
            m_inputs.emplace_back(format, width, height, layout);
            m_inputs.back().fill(seed + 1 + static_cast<std::uint32_t>(i), wild);
            m_inputs.back().protect();
        }
        for (const Picture& input : m_inputs) m_given.push_back(&input);
    }

    Picture& output() { return m_output; }
    const std::vector<Picture>& inputs() const { return m_inputs; }
    HRESULT draw(const Subject& subject, const DXBNDS* clip = nullptr, const DXVEC* place = nullptr) {
        return subject.draw(m_given, m_output, clip, place);
    }
    void leaveInputs(int count) { m_given.resize(static_cast<std::size_t>(count)); }

  private:
    Picture m_output;
    std::vector<Picture> m_inputs;
    std::vector<const Picture*> m_given;
};

/// What a fresh object draws of a preset (-1 for the default record), with the status.
std::pair<HRESULT, Bytes> drawn(const Context& context, LONG preset, PixelFormat format, int width, int height,
                                unsigned processors = 1, const Layout& layout = {}) {
    const Subject subject = context.make(processors);
    if (preset >= 0) subject.applyPreset(preset);
    subject.setProgress(0.4f);
    Scene scene(subject, format, width, height, layout, 5);
    const HRESULT status = scene.draw(subject);
    return {status, scene.output().pixels()};
}

void expectFrame(HRESULT status, PixelFormat format, std::string_view what) {
    const bool refusesFloats = status == E_NOTIMPL && format == PixelFormat::Float128;
    expect(status == S_OK || refusesFloats, "{} gave {}", what, told(status));
}

ULONG referencesOf(const Picture& picture) {
    picture.object()->AddRef();
    return picture.object()->Release();
}

double cpuSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

LONG wildPlace(Context& context) {
    constexpr LONG wild[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 1, INT32_MAX - 1, INT32_MAX};
    return context.below(3) ? context.below(60) - 20 : wild[context.below(std::size(wild))];
}

} // namespace

void checkFrames(Context& context) {
    const Subject subject = context.make();
    for (const PixelFormat format : formats)
        for (int inputs = subject.minInputs(); inputs <= subject.maxInputs(); ++inputs) {
            Scene scene(subject, format, 64, 48, {}, 5);
            scene.leaveInputs(inputs);
            const ULONG references = referencesOf(scene.output());
            expectFrame(scene.draw(subject), format, fmt::format("a frame of {} inputs in {}", inputs, nameOf(format)));
            expect(referencesOf(scene.output()) == references, "the output is held after Setup without surfaces");
            for (const Picture& input : scene.inputs())
                expect(referencesOf(input) == references, "an input is held after Setup without surfaces");
        }
    for (LONG preset = -1; preset < subject.presetCount(); ++preset)
        for (const PixelFormat format : formats)
            expectFrame(drawn(context, preset, format, 40, 30).first, format,
                        fmt::format("a frame of preset {} in {}", preset, nameOf(format)));
}

void checkLayouts(Context& context) {
    const LONG presets = context.make().presetCount();
    for (int i = 0; i < context.rounds; ++i)
        for (const PixelFormat format : formats) {
            const int width = 1 + context.below(90), height = 1 + context.below(70);
            const LONG preset = context.below(presets + 1) - 1;
            const auto plain = drawn(context, preset, format, width, height);
            const Layout layouts[] = {
                {.atEnd = false}, {.gap = 16}, {.gap = 48, .upsideDown = true}, {.upsideDown = true}};
            for (const Layout& layout : layouts)
                expect(plain == drawn(context, preset, format, width, height, 1, layout),
                       "preset {} in {}, {}x{}: {} bytes between rows, {}, make another picture", preset,
                       nameOf(format), width, height, layout.gap, layout.upsideDown ? "upside down" : "upright");
        }
}

void checkGuards(Context& context) {
    const Bytes defaults = context.make().record();
    for (int i = 0; i < context.rounds * 40; ++i) {
        const Subject subject = context.make(static_cast<unsigned>(1 + context.below(8)));
        if (context.below(3) && !subject.isGenerator()) subject.setRecord(wildRecord(context, defaults));
        subject.setProgress(context.below(4) ? static_cast<float>(context.below(101)) / 100.0f
                                             : std::numeric_limits<float>::quiet_NaN());
        const int width = context.below(3) ? 1 + context.below(40) : 1,
                  height = context.below(3) ? 1 + context.below(40) : 1;
        const Layout layout{context.below(2) == 0, 16 * context.below(3), context.below(2) == 0, context.below(50) - 25,
                            context.below(50) - 25};
        Scene scene(subject, formats[context.below(3)], width, height, layout, static_cast<std::uint32_t>(i),
                    context.below(2) == 0);
        if (context.below(4) == 0) scene.leaveInputs(subject.minInputs());
        DXBNDS clip{};
        DXVEC place{};
        for (int axis = 0; axis < 2; ++axis) {
            clip.Axis[axis] = {wildPlace(context), wildPlace(context)};
            place.Axis[axis] = wildPlace(context);
        }
        clip.Axis[2] = clip.Axis[3] = {0, 1};
        scene.draw(subject, context.below(2) ? &clip : nullptr, context.below(2) ? &place : nullptr);
        expect(scene.output().gapsStand(), "{}x{}: bytes between rows were written", width, height);
    }
}

void checkDeterminism(Context& context) {
    constexpr int width = 150, height = 120; // pixels for the most bands
    const LONG presets = context.make().presetCount();
    for (const PixelFormat format : formats) {
        if (format == PixelFormat::Argb32) continue;
        for (LONG preset = -1; preset < presets; ++preset) {
            if (context.below(40) >= context.rounds * 4) continue;
            const auto once = drawn(context, preset, format, width, height);
            for (unsigned processors = 1; processors <= 8; ++processors)
                expect(once == drawn(context, preset, format, width, height, processors),
                       "preset {} in {} makes another picture with {} processors", preset, nameOf(format), processors);
        }
    }
}

void checkThreads(Context& context) {
    constexpr int threads = 4;
    const LONG presets = context.make().presetCount();
    const auto together = [](auto&& work) {
        std::vector<std::jthread> all;
        for (int i = 0; i < threads; ++i) all.emplace_back(work, i);
    };
    for (int round = 0; round < context.rounds; ++round) {
        const LONG preset = context.below(presets + 1) - 1;
        const auto alone = drawn(context, preset, PixelFormat::PremultipliedArgb32, 70, 60);
        std::atomic<bool> same = true;
        together([&](int) {
            try {
                if (drawn(context, preset, PixelFormat::PremultipliedArgb32, 70, 60) != alone) same = false;
            } catch (const std::exception&) {
                same = false;
            }
        });
        expect(same, "preset {} makes another picture while other objects draw on other threads", preset);

        const Subject shared = context.make(2);
        const Bytes defaults = shared.record();
        Scene scene(shared, PixelFormat::PremultipliedArgb32, 70, 60, {}, 9);
        const std::uint32_t seed = context.random();
        std::atomic<bool> stood = true;
        together([&](int thread) {
            try {
                Context own{context.module, context.clsid, 1, std::mt19937(seed + static_cast<unsigned>(thread))};
                for (int i = 0; i < 30; ++i) {
                    switch (own.below(5)) {
                    case 0:
                        if (presets > 0) shared.applyPreset(own.below(presets));
                        break;
                    case 1:
                        if (!shared.isGenerator()) shared.setRecord(wildRecord(own, defaults));
                        break;
                    case 2:
                        shared.setProgress(static_cast<float>(i) / 30.0f);
                        break;
                    case 3:
                        if (shared.record().size() < 4 && !defaults.empty()) stood = false;
                        break;
                    default:
                        scene.draw(shared);
                    }
                }
            } catch (const std::exception&) {
                stood = false;
            }
        });
        expect(stood, "an object that four threads call refuses what it has to take");
    }
}

namespace {

/// What the surfaces refuse with: the Dissolve hands it on, the others have a status of their own for it.
constexpr HRESULT lockRefused = DXTERR_UNINITIALIZED;
constexpr CLSID dissolveId{0xA6C9EF42, 0x1467, 0x47BE, {0x8D, 0xFF, 0x0F, 0xC2, 0xFE, 0xC0, 0x75, 0x02}};

/// Lends another surface's face, and refuses the lock whose turn it is.
class RefusingSurface final : public ObjectOf<IDXSurface> {
  public:
    RefusingSurface(const Surface& surface, std::atomic<int>& left) : m_surface(surface), m_left(left) {}
    HRESULT GetGenerationId(ULONG* id) override { return m_surface.get()->GetGenerationId(id); }
    HRESULT IncrementGenerationId(BOOL on) override { return m_surface.get()->IncrementGenerationId(on); }
    HRESULT GetObjectSize(ULONG* bytes) override { return m_surface.get()->GetObjectSize(bytes); }
    HRESULT GetPixelFormat(GUID* format, DWORD* samples) override {
        return m_surface.get()->GetPixelFormat(format, samples);
    }
    HRESULT GetBounds(DXBNDS* bounds) override { return m_surface.get()->GetBounds(bounds); }
    HRESULT GetStatusFlags(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetStatusFlags(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override {
        if (--m_left < 0) {
            *out = this; // what stands there after a failure is no pointer to give back
            return lockRefused;
        }
        return m_surface.get()->LockSurface(bounds, timeout, flags, iid, out, generation);
    }
    HRESULT GetDirectDrawSurface(const IID*, void**) override { return E_NOTIMPL; }
    HRESULT GetColorKey(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetColorKey(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown**) override { return E_NOTIMPL; }
    HRESULT SetAppData(std::uintptr_t) override { return E_NOTIMPL; }
    HRESULT GetAppData(std::uintptr_t*) override { return E_NOTIMPL; }

  private:
    Surface m_surface;
    std::atomic<int>& m_left;
};

} // namespace

void checkRefusals(Context& context) {
    const Subject subject = context.make();
    if (subject.isGenerator()) return;
    const HRESULT wanted = context.clsid == dissolveId ? lockRefused : E_FAIL;
    for (int refused = 0; refused < 8; ++refused) {
        Scene scene(subject, PixelFormat::PremultipliedArgb32, 24, 20, {}, 5);
        const Bytes before = scene.output().pixels();
        std::atomic<int> left = refused;
        std::vector<CComPtr<RefusingSurface>> faces;
        std::vector<IUnknown*> bound;
        for (const Picture& input : scene.inputs()) {
            faces.push_back(makeObject<RefusingSurface>(input.surface(), left));
            bound.push_back(faces.back().Get());
        }
        faces.push_back(makeObject<RefusingSurface>(scene.output().surface(), left));
        const ULONG references = referencesOf(scene.output());
        expectDone(subject.bind(bound, faces.back().Get()), "Setup");
        const HRESULT status = subject.transform()->Execute(nullptr, nullptr, nullptr);
        if (left >= 0)
            expect(status == S_OK, "Execute gives {} though no lock was refused", told(status));
        else
            expect(status == wanted, "Execute gives {} in place of {} though lock {} was refused", told(status),
                   told(wanted), refused + 1);
        expect(left >= 0 || scene.output().pixels() == before, "a frame was drawn though lock {} was refused",
               refused + 1);
        expectDone(subject.transform()->Setup(nullptr, 0, nullptr, 0, 0), "Setup without surfaces");
        expect(referencesOf(scene.output()) == references, "a lock is held after a frame that failed");
        for (const auto& face : faces) expect(!face->isShared(), "a surface is held after a frame that failed");
        if (left >= 0) return; // all locks were given
    }
    throw Fault("a frame of one band takes more than eight locks");
}

void checkLeaks(Context& context) {
    const auto live = [&] {
        const Subject subject = context.make();
        const LONG presets = subject.presetCount();
        for (LONG preset = -1; preset < presets; preset += std::max<LONG>(1, presets / 4)) {
            if (preset >= 0) subject.applyPreset(preset);
            Scene scene(subject, PixelFormat::PremultipliedArgb32, 40, 30, {}, 5);
            scene.draw(subject);
            subject.setRecord(subject.record());
        }
    };
    const int times = 20 * context.rounds;
    // A thread's cache of freed memory counts as held until the thread ends.
    const auto heldAfterLives = [&] {
        std::exception_ptr fault;
        std::jthread([&] {
            try {
                for (int i = 0; i < times; ++i) live();
            } catch (...) {
                fault = std::current_exception();
            }
        }).join();
        if (fault) std::rethrow_exception(fault);
        return static_cast<std::int64_t>(::mallinfo2().uordblks + ::mallinfo2().hblkhd);
    };
    heldAfterLives(); // caches that stay are filled
    const std::int64_t before = heldAfterLives();
    const std::int64_t grown = heldAfterLives() - before;
    expect(grown < std::int64_t{16} * times, "{} lives of an object leave {} bytes", times, grown);
}

void checkOrder(Context& context) {
    constexpr DWORD usualFlags = 3;
    for (int round = 0; round < context.rounds; ++round) {
        Subject subject = context.make(static_cast<unsigned>(1 + context.below(4)));
        const Bytes defaults = subject.record();
        const LONG presets = subject.presetCount();
        const auto ramp = subject.face<IKwParamRamp>();
        const auto persist = subject.face<IPersistStreamInit>();
        const auto sited = subject.face<IObjectWithSite>();
        Scene scene(subject, formats[context.below(3)], 1 + context.below(60), 1 + context.below(40), {},
                    context.random());
        std::vector<IUnknown*> bound;
        for (const Picture& input : scene.inputs()) bound.push_back(input.object());
        const auto record = [&] { return subject.isGenerator() ? defaults : wildRecord(context, defaults); };
        for (int step = 0; step < 60; ++step) {
            IDXTransform* const transform = subject.transform();
            switch (context.below(14)) {
            case 0:
                if (transform) subject.bind(std::span(bound).first(bound.empty() ? 0 : 1), scene.output().object());
                break;
            case 1:
                if (transform) transform->Setup(nullptr, 0, nullptr, 0, 0);
                break;
            case 2:
            case 3:
                if (transform) transform->Execute(nullptr, nullptr, nullptr);
                break;
            case 4:
                scene.draw(subject);
                break;
            case 5:
                subject.setRecord(record());
                break;
            case 6:
                if (presets > 0) subject.applyPreset(context.below(presets));
                break;
            case 7:
                if (ramp) ramp->SetRampOn(context.below(2));
                break;
            case 8:
                if (ramp) ramp->SetRampPos(context.below(7) - 3.0);
                break;
            case 9:
                if (ramp) ramp->SetRampRecords(createMemoryStream(record()).Get(), createMemoryStream(record()).Get());
                break;
            case 10:
                if (persist) persist->InitNew();
                break;
            case 11:
                sited->SetSite(context.below(3) ? createTransformFactory(2).Get() : nullptr);
                break;
            case 12:
                if (transform) transform->SetMiscFlags(context.random() % 4);
                break;
            default:
                if (transform) transform->IncrementGenerationId(context.below(2));
            }
        }
        // Whatever came before, the object draws like a new one once it is set up like one.
        expectDone(sited->SetSite(createTransformFactory().Get()), "SetSite after calls in any order");
        if (ramp) ramp->SetRampOn(FALSE);
        if (subject.transform()) subject.transform()->SetMiscFlags(usualFlags);
        expectDone(subject.setRecord(defaults), "LoadParams after calls in any order");
        const auto again = [&](const Subject& object) {
            object.setProgress(0.4f);
            Scene own(object, PixelFormat::PremultipliedArgb32, 30, 20, {}, 5);
            const HRESULT status = own.draw(object);
            return std::pair(status, own.output().pixels());
        };
        expect(again(subject) == again(context.make()), "after calls in any order the object makes another picture");
    }
}

void checkTiming(Context& context) {
    constexpr double mostSeconds = 2; // of a processor, for a small picture whatever the record says
    const Bytes defaults = context.make().record();
    const auto timed = [&](const Subject& subject, int width, int height, const std::string& what) {
        Scene scene(subject, formats[context.below(2) * 2], width, height, {}, 5);
        const double start = cpuSeconds();
        scene.draw(subject);
        const double seconds = cpuSeconds() - start;
        expect(seconds < mostSeconds, "a frame of {}x{} with {} took {:.1f} s", width, height, what, seconds);
    };
    const LONG presets = context.make().presetCount();
    for (LONG preset = -1; preset < presets; ++preset) {
        const Subject subject = context.make();
        if (preset >= 0) subject.applyPreset(preset);
        subject.setProgress(0.4f);
        timed(subject, 320, 180, fmt::format("preset {}", preset));
    }
    const Subject subject = context.make();
    for (int i = 0; i < context.rounds * 6 && !subject.isGenerator(); ++i) {
        subject.setRecord(wildRecord(context, defaults));
        subject.setProgress(static_cast<float>(context.below(100)) / 100.0f);
        timed(subject, 120, 90, "a wild record");
    }
}

} // namespace larkmoor::validate
