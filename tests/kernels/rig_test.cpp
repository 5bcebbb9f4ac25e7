// Every body of every kernel beside the plain one: all small sizes, odd addresses, padded and negative strides, clips,
// in place, random and wild parameters, with guards around each row that nobody may read or write. What the plain
// bodies give stands as digests in tests/data/kernels.txt.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <thread>
#include <vector>

#include "base/level.h"
#include "digest.h"
#include "kernels/ranges.h"
#include "kernels/table.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

namespace {

constexpr std::size_t kMargin = 192;
constexpr std::uint8_t kGuard = 0xA5;

/// What a picture holds, row by row without gaps.
using tContent = std::vector<std::uint8_t>;

struct tSize {
    LONG width, height, bytesPerPixel;
    std::size_t Row() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel); }
};

/// Runs of clear, opaque and half clear pixels, premultiplied or with colours above alpha.
tContent Fill(const tSize& size, CKwDraw& draw) {
    tContent content(size.Row() * static_cast<std::size_t>(size.height));
    const bool wild = draw.Within(0, 3) == 0, opaque = draw.Within(0, 3) == 0;
    const float finer = size.width % 2 ? 0.9983f : 1.0f; // floats between the steps of bytes
    LONG kind = 0, left = 0;
    for (std::size_t at = 0; at < content.size(); at += static_cast<std::size_t>(size.bytesPerPixel)) {
        if (left-- == 0) kind = draw.Within(0, 3), left = draw.Within(0, 40);
        const LONG a = opaque || kind == 0 ? 255 : kind == 1 ? 0 : draw.Within(0, 255);
        std::uint8_t pixel[4] = {0, 0, 0, static_cast<std::uint8_t>(a)};
        for (int c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>(draw.Within(0, wild ? 255 : a));
        if (size.bytesPerPixel == 4) {
            std::memcpy(&content[at], pixel, 4);
        } else {
            float floats[4];
            for (int c = 0; c < 4; ++c) floats[c] = static_cast<float>(pixel[c]) * finer / 255.0f;
            if (wild && draw.Within(0, 30) == 0) {
                constexpr float kWild[] = {NAN, INFINITY, -INFINITY, -0.0f, 3e38f, -2.5f, 1e-40f, 65536.0f};
                floats[draw.Within(0, 3)] = kWild[draw.Within(0, 7)];
            }
            std::memcpy(&content[at], floats, 16);
        }
    }
    return content;
}

/// A picture in memory that ends where its rows end: what lies between and around them holds guard bytes, which
/// AddressSanitizer lets nobody touch.
class CGuarded {
  public:
    CGuarded(const tSize& size, const tContent& content, CKwDraw& draw)
        : m_size(size), m_frame{0, 0, size.width, size.height} {
        const LONG shift = draw.Within(0, 2) ? 4 * draw.Within(0, 15) : draw.Within(0, 63);
        const LONG padding = draw.Within(0, 2) ? 4 * draw.Within(0, 9) : draw.Within(0, 40);
        m_stride = static_cast<LONG>(size.Row()) + padding;
        m_memory.assign(2 * kMargin + 64 + static_cast<std::size_t>(m_stride * size.height), kGuard);
        m_first = m_memory.data() + kMargin + shift;
        if (draw.Flag(false) && size.height > 0) { // bottom up
            m_first += static_cast<std::ptrdiff_t>(m_stride) * (size.height - 1);
            m_stride = -m_stride;
        }
        for (LONG y = 0; y < size.height; ++y)
            std::memcpy(Row(y), content.data() + static_cast<std::size_t>(y) * size.Row(), size.Row());
#if defined(__SANITIZE_ADDRESS__)
        ASAN_POISON_MEMORY_REGION(m_memory.data(), m_memory.size());
        for (LONG y = 0; y < size.height; ++y) ASAN_UNPOISON_MEMORY_REGION(Row(y), size.Row());
#endif
    }
    CGuarded(const CGuarded&) = delete;
    CGuarded& operator=(const CGuarded&) = delete;
    ~CGuarded() {
        Open();
    }

    tView View(const RECT* clip) const {
        return {m_first, &m_frame, m_stride, clip};
    }

    /// The rows; fails where a guard byte was written.
    tContent Content() {
        Open();
        tContent content;
        for (LONG y = 0; y < m_size.height; ++y) {
            content.insert(content.end(), Row(y), Row(y) + m_size.Row());
            std::memset(Row(y), kGuard, m_size.Row());
        }
        for (const std::uint8_t byte : m_memory)
            if (byte != kGuard) {
                ADD_FAILURE() << "guard byte written";
                break;
            }
        return content;
    }

  private:
    std::uint8_t* Row(LONG y) {
        return m_first + static_cast<std::ptrdiff_t>(m_stride) * y;
    }
    void Open() {
#if defined(__SANITIZE_ADDRESS__)
        ASAN_UNPOISON_MEMORY_REGION(m_memory.data(), m_memory.size());
#endif
    }

    tSize m_size;
    RECT m_frame;
    LONG m_stride = 0;
    std::vector<std::uint8_t> m_memory;
    std::uint8_t* m_first = nullptr;
};

/// One call: sizes, clips, contents and the seed of its parameters.
struct tScene {
    tSize sizes[3]; ///< the output, then the inputs
    RECT clips[3];
    bool clipped, inPlace;
    tContent contents[3];
    std::uint64_t parameters;
};

RECT Clip(const tSize& within, LONG width, LONG height, CKwDraw& draw) {
    const LONG left = draw.Within(0, within.width - width), top = draw.Within(0, within.height - height);
    return {left, top, left + width, top + height};
}

tScene MakeScene(const tKernel& kernel, LONG bytesPerPixel, CKwDraw& draw) {
    tScene scene{};
    const LONG width = draw.Within(0, 9) ? draw.Within(1, 70) : draw.Within(71, 700), height = draw.Within(1, 24);
    scene.clipped = draw.Flag(false);
    scene.inPlace = kernel.takes & kInPlace && draw.Flag(false);
    const bool ownSizes = kernel.takes & kOwnSizes && draw.Flag(false);
    for (int i = 0; i <= kernel.inputs; ++i) {
        tSize& size = scene.sizes[i];
        size = {width, height, bytesPerPixel};
        if (scene.clipped) size.width += draw.Within(0, 9), size.height += draw.Within(0, 5);
        if (ownSizes && i > 0) size.width = draw.Within(1, 70), size.height = draw.Within(1, 24);
        scene.clips[i] = Clip(size, std::min(width, size.width), std::min(height, size.height), draw);
        scene.contents[i] = Fill(size, draw);
    }
    scene.parameters = draw.Bits();
    return scene;
}

struct tResult {
    HRESULT status;
    tContent contents[3];
};

/// Runs a scene in memory of its own shape.
tResult RunIn(const tKernel& kernel, const tScene& scene, CKwDraw& layout) {
    std::optional<CGuarded> pictures[3];
    tKernelCall call{
        .out = {}, .in = {}, .bytesPerPixel = scene.sizes[0].bytesPerPixel, .draw = CKwDraw(scene.parameters)};
    for (int i = 0; i <= kernel.inputs; ++i) {
        if (i == 1 && scene.inPlace) {
            call.in[0] = call.out;
            continue;
        }
        pictures[i].emplace(scene.sizes[i], scene.contents[i], layout);
        (i == 0 ? call.out : call.in[i - 1]) = pictures[i]->View(scene.clipped ? &scene.clips[i] : nullptr);
    }
    tResult result{};
    result.status = kernel.run(call);
    for (int i = 0; i <= kernel.inputs; ++i)
        if (pictures[i]) result.contents[i] = pictures[i]->Content();
    return result;
}

/// Floats that are no numbers count as one.
void AddTo(Digest& digest, const tResult& result, LONG bytesPerPixel) {
    digest.add(static_cast<std::uint32_t>(result.status));
    for (const tContent& content : result.contents)
        for (std::size_t at = 0; at < content.size(); at += 4) {
            std::uint32_t word;
            std::memcpy(&word, &content[at], 4);
            digest.add(bytesPerPixel == 16 && (word & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : word);
        }
}

/// The first place where two pictures differ; floats that are no numbers count as one.
std::string Difference(const tSize& size, const tContent& a, const tContent& b) {
    const std::size_t step = size.bytesPerPixel == 4 ? 1 : 4;
    for (std::size_t at = 0; at < a.size(); at += step) {
        if (std::memcmp(&a[at], &b[at], step) == 0) continue;
        float x = a[at], y = b[at];
        if (step == 4) {
            std::memcpy(&x, &a[at], 4);
            std::memcpy(&y, &b[at], 4);
            if (std::isnan(x) && std::isnan(y)) continue;
        }
        const std::size_t inRow = at % size.Row(), pixel = static_cast<std::size_t>(size.bytesPerPixel);
        return "x " + std::to_string(inRow / pixel) + " y " + std::to_string(at / size.Row()) + " channel " +
               std::to_string(inRow % pixel / step) + ": " + std::to_string(x) + " against " + std::to_string(y);
    }
    return {};
}

/// The content of the output with the clip taken from `inside`.
tContent WithClip(const tSize& size, const RECT& clip, tContent content, const tContent& inside) {
    const std::size_t pixel = static_cast<std::size_t>(size.bytesPerPixel);
    for (LONG y = clip.top; y < clip.bottom; ++y) {
        const std::size_t at = static_cast<std::size_t>(y) * size.Row() + static_cast<std::size_t>(clip.left) * pixel;
        std::memcpy(&content[at], &inside[at], static_cast<std::size_t>(clip.right - clip.left) * pixel);
    }
    return content;
}

/// Three helpers at once.
const tKwWorkers kHelpers{3, nullptr, [](void*, auto piece, void* data, std::uint32_t count) {
                              std::vector<std::jthread> helpers;
                              for (std::uint32_t i = 0; i < count; ++i) helpers.emplace_back(piece, data, i);
                              return true;
                          }};

class EveryKernel : public testing::TestWithParam<tKernel> {
  protected:
    void TearDown() override { KwLimitLevel(m_before); }
    eKwLevel m_before = KwLevel();
};

TEST_P(EveryKernel, GivesThePlainBytesAtEveryLevelAndLayout) {
    const tKernel& kernel = GetParam();
    constexpr std::uint64_t kScenes = 150;
    Digest digest;
    for (const LONG bytesPerPixel : {4, 16}) {
        if (!(kernel.takes & (bytesPerPixel == 4 ? kTakes8 : kTakesFloat))) continue;
        for (std::uint64_t seed = 0; seed < kScenes; ++seed) {
            CKwDraw draw(seed * 2 + (bytesPerPixel == 4));
            const tScene scene = MakeScene(kernel, bytesPerPixel, draw);
            KwLimitLevel(eKwLevel::Plain);
            const tResult plain = RunIn(kernel, scene, draw);
            AddTo(digest, plain, bytesPerPixel);
            for (int i = 1; i <= kernel.inputs && !scene.inPlace; ++i)
                ASSERT_EQ(scene.contents[i], plain.contents[i]) << "input " << i << " written, seed " << seed;
            if (scene.clipped && !(kernel.takes & kWritesFrame)) {
                ASSERT_EQ("", Difference(scene.sizes[0],
                                         WithClip(scene.sizes[0], scene.clips[0], scene.contents[0], plain.contents[0]),
                                         plain.contents[0]))
                    << "written outside the clip, seed " << seed;
            }
            tScene around = scene; // what lies outside the clips of inputs has no part
            for (int i = scene.inPlace ? 2 : 1; i <= kernel.inputs && !(kernel.takes & kReadsFrame); ++i)
                if (scene.clipped)
                    around.contents[i] =
                        WithClip(scene.sizes[i], scene.clips[i], Fill(scene.sizes[i], draw), scene.contents[i]);
            for (const eKwLevel level : KwLevels()) {
                KwLimitLevel(level);
                const CKwLent lent(level == KwLevels().back() && seed % 4 == 0 ? &kHelpers : nullptr);
                const tResult other = RunIn(kernel, around, draw);
                ASSERT_EQ(plain.status, other.status) << KwLevelName(level) << " seed " << seed;
                for (int i = 0; i <= kernel.inputs; ++i) {
                    const tContent& expected =
                        i == 0 || (i == 1 && scene.inPlace) ? plain.contents[i] : around.contents[i];
                    ASSERT_EQ("", Difference(scene.sizes[i], expected, other.contents[i]))
                        << KwLevelName(level) << ", seed " << seed << ", " << bytesPerPixel << " bytes, picture " << i
                        << ", " << scene.sizes[0].width << "x" << scene.sizes[0].height
                        << (scene.inPlace ? " in place" : "");
                }
            }
        }
    }
    expectRow("kernels.txt", kernel.name, digest.text());
}

/// Views that bear no drawing: an empty clip, one beyond the frame, one of another size, no bits, no frame.
TEST_P(EveryKernel, AnswersViewsThatBearNoDrawing) {
    const tKernel& kernel = GetParam();
    const tSize size{5, 4, 16};
    CKwDraw draw(7);
    const tContent content = Fill(size, draw);
    CGuarded pictures[] = {{size, content, draw}, {size, content, draw}, {size, content, draw}};
    std::string answers;
    for (const LONG bytesPerPixel : {4, 16}) {
        if (!(kernel.takes & (bytesPerPixel == 4 ? kTakes8 : kTakesFloat))) continue;
        const RECT nothing{2, 2, 2, 4}, beyond{5, 5, 10, 9}, other{0, 0, 3, 2};
        const RECT* const clips[] = {&nothing, &beyond, &other, nullptr, nullptr};
        for (int which = 0; which <= kernel.inputs; ++which)
            for (int kind = 0; kind < 5; ++kind) {
                tView views[3];
                for (int i = 0; i < 3; ++i) views[i] = pictures[i].View(i == which ? clips[kind] : nullptr);
                if (kind == 3) views[which].bits = nullptr;
                if (kind == 4) views[which].frame = nullptr;
                if (kind == 2 && kernel.inputs == 0) continue; // which is drawn
                tKernelCall call{views[0], {views[1], views[2]}, bytesPerPixel, {}};
                answers += fmt::format(" {:x}", static_cast<std::uint32_t>(kernel.run(call)));
            }
    }
    Digest digest;
    for (CGuarded& picture : pictures) {
        const tContent left = picture.Content();
        digest.add(std::as_bytes(std::span(left)));
    }
    expectRow("kernels.txt", std::string(kernel.name) + ", no drawing", digest.text() + answers);
}

std::string TestName(const testing::TestParamInfo<tKernel>& info) {
    std::string name = info.param.name;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
}
INSTANTIATE_TEST_SUITE_P(Table, EveryKernel, testing::ValuesIn(KwKernels()), TestName);

} // namespace
