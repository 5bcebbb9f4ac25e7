// What holds for every effect of the module, found through its own listing: new effects are tested by being there.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "host/module.h"

namespace {

using namespace larkmoor;

const Module& module() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

/// A surface on memory with guard bytes behind each row and around the whole.
class GuardedPicture {
  public:
    GuardedPicture(PixelFormat format, int width, int height, unsigned seed)
        : m_row(static_cast<std::size_t>(width * bytesPerPixel(format))),
          m_memory(kMargin * 2 + (m_row + kGap) * static_cast<std::size_t>(height), kGuard) {
        std::minstd_rand random(seed + 1);
        for (int y = 0; y < height; ++y)
            for (std::size_t x = 0; x < m_row; ++x) Row(y)[x] = static_cast<std::uint8_t>(random());
        if (format == PixelFormat::Float128)
            for (int y = 0; y < height; ++y)
                for (std::size_t x = 0; x < m_row / 4; ++x) {
                    const float value = static_cast<float>(random() % 400) / 200.0f - 0.5f;
                    std::memcpy(Row(y) + x * 4, &value, 4);
                }
        m_surface = Surface::wrap(
            {reinterpret_cast<std::byte*>(Row(0)), width, height, static_cast<std::ptrdiff_t>(m_row + kGap), format});
        m_height = height;
    }

    std::uint8_t* Row(int y) { return m_memory.data() + kMargin + (m_row + kGap) * static_cast<std::size_t>(y); }
    const Surface& surface() const { return m_surface; }
    const std::vector<std::uint8_t>& bytes() const { return m_memory; }

    bool guardsStand() const {
        for (std::size_t i = 0; i < m_memory.size(); ++i) {
            const bool inside = i >= kMargin && i < m_memory.size() - kMargin && (i - kMargin) % (m_row + kGap) < m_row;
            if (!inside && m_memory[i] != kGuard) return false;
        }
        return true;
    }

  private:
    static constexpr std::size_t kMargin = 512, kGap = 16;
    static constexpr std::uint8_t kGuard = 0xA5;
    std::size_t m_row;
    std::vector<std::uint8_t> m_memory;
    Surface m_surface;
    int m_height = 0;
};

/// Records that no page would make. Fields with storage of their own are left alone.
std::vector<std::byte> wildRecord(const EffectInfo& info, unsigned kind, std::minstd_rand& random) {
    std::vector<std::byte> record = info.defaults;
    constexpr double kReals[] = {0.0,
                                 -1.0,
                                 2.0,
                                 -0.0001,
                                 1e300,
                                 -1e300,
                                 1e9,
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN(),
                                 0.999,
                                 1e-300,
                                 16384.0};
    constexpr std::int32_t kWholes[] = {0, -1, 1, 7, 99, INT32_MIN, INT32_MAX, 0x10000, 255};
    for (const tFieldInfo& field : info.fields) {
        if (field.type == KWTYPE_BYTES) continue;
        for (LONG i = 0; i < field.count; ++i) {
            const bool wild = kind < 16 || random() % 3 == 0;
            if (!wild) continue;
            const double real = kReals[kind < std::size(kReals) ? kind : random() % std::size(kReals)];
            const std::int32_t whole = kWholes[kind < std::size(kWholes) ? kind : random() % std::size(kWholes)];
            const float narrow = static_cast<float>(std::abs(real) > 3e38 ? std::copysign(INFINITY, real) : real);
            std::byte* const at = record.data() + field.offset;
            if (field.type == KWTYPE_DOUBLE) std::memcpy(at + i * 8, &real, 8);
            if (field.type == KWTYPE_FLOAT) std::memcpy(at + i * 4, &narrow, 4);
            if (field.type == KWTYPE_LONG) std::memcpy(at + i * 4, &whole, 4);
        }
    }
    return record;
}

class EveryEffect : public testing::TestWithParam<std::size_t> {
  protected:
    const EffectInfo& info() const { return module().effects()[GetParam()]; }
};

TEST_P(EveryEffect, TakesAnyRecordWithinItsMemory) {
    if (info().kind == EffectKind::Generator) GTEST_SKIP() << "has no inputs to guard";
    const struct { int width, height; } sizes[] = {{1, 1}, {1, 7}, {9, 1}, {13, 5}, {33, 17}};
    std::minstd_rand random(7);
    for (const PixelFormat format : {PixelFormat::PremultipliedArgb32, PixelFormat::Argb32, PixelFormat::Float128})
        for (const auto& size : sizes)
            for (unsigned kind = 0; kind < 28; ++kind) {
                Effect effect = module().create(info(), kind % 3 == 0 ? 4 : 1);
                effect.setRecord(wildRecord(info(), kind, random));
                effect.setProgress(static_cast<float>(random() % 101) / 100.0f);
                GuardedPicture first(format, size.width, size.height, kind),
                    second(format, size.width, size.height, 99);
                GuardedPicture output(format, size.width, size.height, kind + 5);
                const auto firstBefore = first.bytes(), secondBefore = second.bytes();
                const int inputs = kind % 5 == 4 ? info().minInputs : info().maxInputs;
                const Surface all[] = {first.surface(), second.surface()};
                const RECT clip{size.width / 3, size.height / 4, size.width, size.height - size.height / 5};
                const POINT place{0, size.height / 6};
                try {
                    effect.render(std::span(all, static_cast<std::size_t>(inputs)), output.surface(),
                                  kind % 2 ? &clip : nullptr, kind % 2 ? &place : nullptr);
                } catch (const StatusError&) {
                    // A refusal is an answer too.
                }
                ASSERT_TRUE(output.guardsStand()) << "kind " << kind << " at " << size.width << "x" << size.height;
                ASSERT_EQ(firstBefore, first.bytes()) << "the input changed";
                ASSERT_EQ(secondBefore, second.bytes()) << "the second input changed";
            }
}

TEST_P(EveryEffect, RendersTheSameTwice) {
    if (info().kind == EffectKind::Generator) GTEST_SKIP();
    for (const PresetInfo& preset : info().presets) {
        std::vector<std::uint8_t> pictures[2];
        for (auto& picture : pictures) {
            Effect effect = module().create(info());
            effect.setRecord(preset.record);
            effect.setProgress(0.4f);
            GuardedPicture first(PixelFormat::PremultipliedArgb32, 40, 30, 1),
                second(PixelFormat::PremultipliedArgb32, 40, 30, 2);
            GuardedPicture output(PixelFormat::PremultipliedArgb32, 40, 30, 3);
            for (const GuardedPicture* p : {&first, &second, &output}) {
                Surface surface = p->surface();
                surface.setInfo({1.0, 25.0, 400000});
            }
            const Surface all[] = {first.surface(), second.surface()};
            effect.render(std::span(all, static_cast<std::size_t>(info().maxInputs)), output.surface());
            picture = output.bytes();
        }
        EXPECT_EQ(pictures[0], pictures[1]) << preset.name;
    }
}

TEST_P(EveryEffect, ItsStateComesBackByteForByte) {
    if (info().defaults.empty()) GTEST_SKIP() << "has no record";
    std::minstd_rand random(3);
    Effect effect = module().create(info());
    EXPECT_EQ(info().defaults, effect.record());
    for (unsigned kind = 0; kind < 20; ++kind) {
        const auto record = wildRecord(info(), kind, random);
        effect.setRecord(record);
        const auto state = effect.saveState();
        Effect other = module().create(info());
        other.loadState(state);
        EXPECT_EQ(state, other.saveState());
        EXPECT_EQ(effect.record(), other.record());
    }
}

TEST_P(EveryEffect, ItsFieldsCoverTheRecordAndReadBack) {
    for (const PresetInfo& preset : info().presets) {
        ASSERT_EQ(info().defaults.size(), preset.record.size());
        Effect effect = module().create(info());
        effect.applyPreset(preset.name);
        EXPECT_EQ(preset.record, effect.record()) << preset.name;
    }
    for (const tFieldInfo& field : info().fields) {
        EXPECT_TRUE(field.name[0] && field.label[0] && field.help[0]) << field.name;
        EXPECT_LE(field.minimum, field.maximum) << field.name;
        EXPECT_EQ(&field, &info().field(field.name));
        if (field.type == KWTYPE_BYTES) continue;
        const LONG size = field.count * (field.type == KWTYPE_DOUBLE ? 8 : 4);
        EXPECT_LE(field.offset + size, static_cast<LONG>(info().defaults.size())) << field.name;
        auto record = info().defaults;
        setFieldText(field, record, fieldText(field, info().defaults));
        EXPECT_EQ(fieldText(field, info().defaults), fieldText(field, record)) << field.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Module, EveryEffect, testing::Range<std::size_t>(0, module().effects().size()),
                         [](const auto& tested) { return module().effects()[tested.param].className; });

} // namespace
