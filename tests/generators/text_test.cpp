#include "generators/text.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "digest.h"
#include "generators/generator.h"
#include "generators/text_layout.h"
#include "kernels/glyph_blend.h"

namespace {

using larkmoor::createMemoryStream;
using larkmoor::streamContent;
using tBytes = std::vector<std::byte>;

/// A record with a text that stands beside it.
struct tRecord : tTEXTPROP {
    explicit tRecord(std::u16string_view words = u"Text") : tTEXTPROP{}, m_words(words) {
        font = {.lfHeight = 40, .lfWeight = 400, .lfCharSet = 1, .lfOutPrecision = 7, .lfFaceName = "Liberation Sans"};
        vertical = horizontal = 1;
        for (float& c : fore) c = 1;
        tracking = leading = 1;
        std::memcpy(signature, kTextSignature, sizeof signature);
        textLength = static_cast<LONG>(m_words.size()) + 1;
        text = m_words.data();
    }
    tRecord(const tRecord&) = delete;

  private:
    std::u16string m_words;
};

void Append(tBytes& bytes, const void* from, std::size_t size) {
    const auto* const first = static_cast<const std::byte*>(from);
    bytes.insert(bytes.end(), first, first + size);
}

tBytes StreamOf(const tTEXTPROP& record) {
    tBytes bytes;
    Append(bytes, &record, kTextFixedBytes);
    Append(bytes, &record.textLength, 4);
    Append(bytes, record.text, static_cast<std::size_t>(record.textLength) * 2);
    return bytes;
}

struct tTextObject : tGenerator {
    tTextObject() : tGenerator("DXSText") {}
    HRESULT Put(const tTEXTPROP& record, LONG size = sizeof(tTEXTPROP)) {
        return dual->put_all(const_cast<tTEXTPROP*>(&record), size);
    }
    tTEXTPROP Get() {
        tTEXTPROP record{};
        EXPECT_EQ(S_OK, dual->get_all(&record, sizeof record));
        return record;
    }
    std::u16string Words() {
        const tTEXTPROP record = Get();
        return {record.text, static_cast<std::size_t>(record.textLength)};
    }
    tBytes Saved() {
        const auto stream = createMemoryStream();
        EXPECT_EQ(S_OK, persist->Save(stream.Get(), FALSE));
        return streamContent(stream.Get());
    }
    HRESULT Load(const tBytes& bytes) { return persist->Load(createMemoryStream(bytes).Get()); }
    HRESULT LoadParams(const tBytes& bytes) { return ramp->LoadParams(createMemoryStream(bytes).Get()); }
};

TEST(TextRecord, ABlockBringsItsTextAndNobodyElsesMemory) {
    tTextObject text;
    EXPECT_EQ(sizeof(tTEXTPROP), static_cast<std::size_t>(text.recordSize));
    EXPECT_EQ(std::u16string_view(u"Text\0", 5), text.Words());
    {
        tRecord record(u"gone soon");
        ASSERT_EQ(S_OK, text.Put(record));
        record.text[0] = u'X';
    }
    EXPECT_EQ(std::u16string_view(u"gone soon\0", 10), text.Words());
    const tTEXTPROP given = text.Get();
    text.Put(tRecord(u"other"));
    EXPECT_EQ(u'g', given.text[0]) << "stays until the next call";

    tTEXTPROP front = text.Get();
    front.tracking = 1.25f;
    front.textLength = 1000000;
    front.text = nullptr;
    for (const LONG size : {104, 124, 128, 132, 135}) ASSERT_EQ(S_OK, text.Put(front, size)) << size;
    EXPECT_EQ(std::u16string_view(u"other\0", 6), text.Words());
    EXPECT_EQ(1.25f, text.Get().tracking);
    tTEXTPROP whole{};
    ASSERT_EQ(S_OK, text.dual->get_all(&whole, -1));
    EXPECT_EQ(6, whole.textLength);
}

TEST(TextRecord, WithoutATextItBecomesTheDefault) {
    const std::pair<LONG, bool> rows[] = {{0, true}, {-1, true}, {INT32_MIN, true}, {5, false}, {INT32_MAX, true}};
    for (const auto& [length, hasText] : rows) {
        tTextObject text;
        tRecord record(u"new");
        record.textLength = length;
        if (!hasText) record.text = nullptr;
        ASSERT_EQ(hasText && length > 0 ? E_OUTOFMEMORY : S_OK, text.Put(record));
        EXPECT_EQ(std::u16string_view(u"Text\0", 5), text.Words()) << length;
        EXPECT_EQ(100, text.Get().font.lfHeight);
    }
    tTextObject text;
    text.Put(tRecord(u""));
    EXPECT_EQ(std::u16string_view(u"\0", 1), text.Words());
}

TEST(TextRecord, StreamsHoldTheText) {
    tTextObject text;
    const tRecord record(u"Gr\u00FC\u00DFe \xD834\xDD1E");
    text.Put(record);
    const tBytes saved = text.Saved();
    EXPECT_EQ(StreamOf(record), saved);
    std::uint64_t size = 0;
    ASSERT_EQ(S_OK, text.persist->GetSizeMax(&size));
    EXPECT_EQ(132u + 2 * 9, size);
    tTextObject other;
    ASSERT_EQ(S_OK, other.Load(saved));
    EXPECT_EQ(saved, other.Saved());
    ASSERT_EQ(S_OK, other.persist->InitNew());
    EXPECT_EQ(std::u16string_view(u"Text\0", 5), other.Words());

    tBytes empty(saved.begin(), saved.begin() + 124);
    empty.resize(128);
    ASSERT_EQ(S_OK, other.Load(empty));
    EXPECT_EQ(empty, other.Saved()) << "a count of 0 comes back as one";
    other.Size(8, 8);
    for (const DWORD sample : other.Picture(8, 8)) ASSERT_EQ(0u, sample);
}

/// The form before the mark: a length in bytes at 108, then that much text.
tBytes OldStream(std::string_view text, ULONG length) {
    const tRecord record;
    tBytes bytes;
    Append(bytes, &record, 108);
    Append(bytes, &length, 4);
    Append(bytes, text.data(), text.size());
    return bytes;
}

TEST(TextRecord, OlderStreamsAreTaken) {
    const struct {
        std::string_view text;
        ULONG length;
        std::u16string_view words;
    } rows[] = {
        {"An old title", 12, {u"An old title\0", 13}},
        {"Short", 5, {u"Short\0", 6}},
        {{"Cut\0here and on", 15}, 15, {u"Cut\0", 4}},
        {"\x80 \x9C\xE4", 4, {u"\u20AC \u0153\u00E4\0", 5}},
        {"", 0, {}},
        {"", 7, {}},
        {"Promised more", 40, {u"Promised more\0", 14}},
        {"Only the beginning counts", 4, {u"Only\0", 5}},
    };
    for (const auto& row : rows) {
        tTextObject text;
        ASSERT_TRUE(SUCCEEDED(text.Load(OldStream(row.text, row.length)))) << row.text;
        EXPECT_EQ(row.words, text.Words()) << row.text;
        EXPECT_EQ(0, std::memcmp(text.Get().signature, kTextSignature, 16));
        EXPECT_EQ(40, text.Get().font.lfHeight);
    }
}

TEST(TextRecord, DamagedStreams) {
    const tBytes good = StreamOf(tRecord(u"A longer text for cutting"));
    for (std::size_t size = 0; size <= good.size(); ++size) {
        tTextObject text;
        text.Load({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)});
        text.Size(16, 12);
        text.Picture(16, 12);
        text.LoadParams({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)});
        text.Picture(16, 12);
        text.Saved();
    }
    for (const std::uint32_t count : {0x7FFFFFFFu, 0x01000001u, 0x80000000u, 0xFFFFFFFFu}) {
        tTextObject text;
        tBytes bytes = good;
        std::memcpy(bytes.data() + 124, &count, 4);
        EXPECT_EQ(static_cast<LONG>(count) > 0 ? E_OUTOFMEMORY : S_OK, text.Load(bytes));
        EXPECT_EQ(0, text.Get().textLength);
        EXPECT_EQ(E_OUTOFMEMORY, text.Load(OldStream("A text that goes past", 0xFFFFFFF0)));
    }
    // Only a load looks at the mark.
    tTextObject text;
    tBytes unmarked = good;
    unmarked[108] = std::byte{0};
    ASSERT_EQ(S_OK, text.LoadParams(unmarked));
    EXPECT_EQ(unmarked, text.Saved());
}

TEST(TextRecord, RampsMoveColoursTrackingAndLeadingInDoubles) {
    tRecord from(u"from"), to(u"to something longer");
    from.tracking = 0.1f;
    to.tracking = 1.7f;
    from.leading = 1e30f;
    to.leading = -1e30f;
    to.horizontal = 2;
    for (int i = 0; i < 4; ++i) {
        from.back[i] = 0.1f * static_cast<float>(i);
        to.fore[i] = 0.3f;
    }
    tTextObject text;
    const auto out = createMemoryStream();
    ASSERT_EQ(S_OK, text.ramp->Interpolate(out.Get(), createMemoryStream(StreamOf(from)).Get(),
                                           createMemoryStream(StreamOf(to)).Get(), 0.37));
    const tBytes result = streamContent(out.Get());
    const auto mix = [](float a, float b) { return static_cast<float>(double{a} + (double{b} - double{a}) * 0.37); };
    tRecord expected(u"from");
    expected.tracking = mix(from.tracking, to.tracking);
    expected.leading = mix(from.leading, to.leading);
    for (int i = 0; i < 4; ++i) {
        expected.back[i] = mix(from.back[i], to.back[i]);
        expected.fore[i] = mix(from.fore[i], to.fore[i]);
    }
    EXPECT_EQ(StreamOf(expected), result);
    EXPECT_EQ(std::u16string_view(u"Text\0", 5), text.Words()) << "the object's own stays";

    // A failing stream leaves both ends at the default.
    EXPECT_TRUE(FAILED(text.ramp->SetRampRecords(nullptr, nullptr)));
    ASSERT_EQ(S_OK, text.ramp->SetRampRecords(createMemoryStream(StreamOf(from)).Get(),
                                              createMemoryStream(StreamOf(to)).Get()));
    text.ramp->SetRampOn(TRUE);
    text.ramp->SetRampPos(0.5);
    text.Size(20, 10);
    text.Picture(20, 10);
}

tPixel8 PixelOf(DWORD sample) {
    tPixel8 pixel;
    std::memcpy(&pixel, &sample, 4);
    return pixel;
}

/// Coverage with the empty border that can be read around it.
struct tBox {
    LONG width, height;
    tBytes bytes = tBytes(static_cast<std::size_t>((width + 2) * (height + 2)));

    void Set(LONG i, LONG j, unsigned coverage) {
        bytes[static_cast<std::size_t>((j + 1) * (width + 2) + i + 1)] = std::byte(coverage);
    }
    tGlyphBox Glyph() const {
        return {reinterpret_cast<const std::uint8_t*>(bytes.data()) + width + 3, width + 2, width, height};
    }
};

TEST(GlyphBlend, SpreadsCoverageOverThePixelsBetween) {
    tBox box{2, 1};
    box.Set(0, 0, 64);
    box.Set(1, 0, 32);
    const struct {
        float x;
        DWORD row[4];
    } rows[] = {{0.0f, {0xFF, 0x80, 0, 0}}, {1.5f, {0, 130, 194, 64}}, {-1.0f, {0x80, 0, 0, 0}}, {9.0f, {}}};
    for (const auto& row : rows) {
        DWORD drawn[4]{};
        const tGlyphColors colors(PixelOf(0), PixelOf(0xFF));
        KwDrawGlyph({reinterpret_cast<std::byte*>(drawn), 16, 4, 1}, box.Glyph(), row.x, 0.0f, colors);
        EXPECT_TRUE(std::ranges::equal(row.row, drawn)) << row.x << ": " << drawn[1] << " " << drawn[2];
    }
}

TEST(GlyphBlend, GivesTheSameBytesAtEveryFraction) {
    constexpr LONG kWidth = 23, kHeight = 17;
    std::minstd_rand random(5);
    const DWORD grounds[] = {0, 0xFF203040, 0x80808080}, inks[] = {0xFFFFFFFF, 0x40102040, 0xFF208010};
    Digest digest;
    for (int round = 0; round < 400; ++round) {
        tBox box{round == 0 ? 300 : 1 + static_cast<LONG>(random() % 9), 1 + static_cast<LONG>(random() % 7)};
        for (LONG j = 0; j < box.height; ++j)
            for (LONG i = 0; i < box.width; ++i)
                box.Set(i, j, static_cast<unsigned>(random() % 4 == 0 ? 64 : random() % 65));
        const DWORD ground = grounds[random() % 3], ink = inks[random() % 3];
        std::vector<DWORD> drawn(kWidth * kHeight, ground);
        const tRows rows{reinterpret_cast<std::byte*>(drawn.data()), kWidth * 4, kWidth, kHeight};
        const tGlyphColors colors(PixelOf(ground), PixelOf(ink));
        for (int k = 0; k < 3; ++k) {
            const auto place = [&](LONG size) {
                const float whole = static_cast<float>(static_cast<int>(random() % (size + 20)) - 10);
                return round % 3 == 0 ? whole : whole + static_cast<float>(random() % 1000) / 1000.0f;
            };
            const float x = place(kWidth), y = round % 5 == 0 ? std::floor(place(kHeight)) : place(kHeight);
            KwDrawGlyph(rows, box.Glyph(), x, y, colors);
        }
        digest.add(std::as_bytes(std::span(drawn)));
    }
    expectRow("kernels.txt", "KwDrawGlyph", digest.text());
}

TEST(TextLayout, PlacesLinesTheSameEverywhere) {
    tTextObject text;
    text.Size(301, 200);
    for (const float tracking : {0.0f, 0.5f, 1.0f, 1.3f, 2.0f, 2.5f}) {
        std::string digests;
        for (LONG at = 0; at < 9; ++at) {
            tRecord record(u"Wig\r\nMA\rx");
            record.tracking = tracking;
            record.leading = 1.1f;
            record.horizontal = at % 3;
            record.vertical = at / 3;
            text.Put(record);
            Digest digest;
            const auto picture = text.Picture(301, 200);
            digest.add(std::as_bytes(std::span(picture)));
            digests += (at ? " " : "") + digest.text();
        }
        expectRow("records.txt", fmt::format("Text, lines at tracking {}", tracking), digests);
    }
}

LONG InkRight(const std::vector<DWORD>& picture, LONG width) {
    LONG right = -1;
    for (std::size_t i = 0; i < picture.size(); ++i)
        if (picture[i]) right = std::max(right, static_cast<LONG>(i % static_cast<std::size_t>(width)));
    return right;
}

TEST(TextLayout, TabsBreaksAndWhatTheFontLacks) {
    constexpr LONG kWidth = 900, kHeight = 60;
    tTextObject text;
    text.Size(kWidth, kHeight);
    const auto right = [&](std::u16string_view words) {
        tRecord record(words);
        record.horizontal = record.vertical = 0;
        text.Put(record);
        return InkRight(text.Picture(kWidth, kHeight), kWidth);
    };
    CTextFont font(tRecord().font);
    const LONG space = font.GlyphOf(u' ')->cellIncrementX, bar = right(u"|");
    EXPECT_EQ(bar + 8 * space, right(u"\t|"));
    EXPECT_EQ(bar + 3 * space, right(u"   |"));
    EXPECT_EQ(bar + space, right(u"\n|")) << "a line feed alone breaks nothing";
    EXPECT_EQ(bar + space, right(u"\uE123|")) << "no such character";
    EXPECT_EQ(bar + space, right(u"\xD83D\xDE00|")) << "a pair is one character";
    EXPECT_EQ(bar + space, right(u"\xD83D|")) << "half of one";
    EXPECT_EQ(bar, right(std::u16string_view(u"|\0|||", 5))) << "ends at its zero";
    EXPECT_EQ(-1, right(u""));
}

TEST(TextLayout, ColoursArePremultipliedAndTruncated) {
    tTextObject text;
    text.Size(40, 30);
    tRecord record(u"");
    for (int n = 0; n < 256; ++n) {
        record.back[0] = static_cast<float>(n / 255.0);
        record.back[1] = 0.5f;
        record.back[2] = 2.0f;
        record.back[3] = n % 2 ? 1.0f : 0.5f;
        text.Put(record);
        const DWORD pixel = text.Picture(40, 30)[600];
        EXPECT_EQ(n % 2 ? 255u : 127u, pixel >> 24);
        EXPECT_EQ(n % 2 ? static_cast<DWORD>(n) : static_cast<DWORD>(n / 2), pixel & 255) << n;
        EXPECT_EQ(n % 2 ? 127u : 63u, pixel >> 8 & 255);
        EXPECT_EQ(255u, pixel >> 16 & 255);
    }
}

TEST(TextSurface, TellsWhereItsPixelsAre) {
    tTextObject text;
    tRecord record(u"Ag");
    record.back[3] = 0.5f;
    record.back[0] = 1.0f;
    text.Put(record);
    ASSERT_EQ(S_OK, text.Size(50, 40));
    struct {
        void* handles[2];
        DWORD size;
        LONG width, height;
        WORD planes, bits;
        DWORD compression, imageSize;
        LONG rest[5];
        const DWORD* pixels;
        LONG spare;
    } cache{};
    static_assert(sizeof cache == 80);
    ASSERT_EQ(S_OK, text.dual->GetCacheInfo(&cache));
    EXPECT_EQ(50, cache.width);
    EXPECT_EQ(40, cache.height);
    EXPECT_EQ(32, cache.bits);
    EXPECT_EQ(50u * 40 * 4, cache.imageSize);
    const auto rows = text.Lock();
    DXNATIVETYPEINFO native{};
    rows->GetNativeType(&native);
    EXPECT_EQ(-200, native.lPitch);
    EXPECT_EQ(cache.pixels + 50 * 39, native.pFirstByte);
    std::vector<DWORD> row(51, 0xDEAD), straight(50);
    for (ULONG y = 0; y < 40; ++y) {
        rows->MoveToRow(y);
        rows->UnpackPremult(row.data(), 50, FALSE);
        ASSERT_EQ(0, std::memcmp(row.data(), cache.pixels + 50 * (39 - y), 200));
        rows->Unpack(straight.data(), 50, TRUE);
    }
    EXPECT_EQ(0xDEADu, row.back());
    EXPECT_EQ(0x7F00007Fu, row[0]);
    EXPECT_EQ(0x7F0000FFu, straight[0]);

    ASSERT_EQ(S_OK, text.Size(INT32_MAX, INT32_MAX)) << "the picture itself cannot be had";
    EXPECT_EQ(E_OUTOFMEMORY, text.dual->GetCacheInfo(&cache));
    EXPECT_EQ(nullptr, cache.pixels);
    EXPECT_FALSE(text.Lock());
}

TEST(TextField, SettingsByNameComeBack) {
    using namespace larkmoor;
    const Module module = Module::load(LARKMOOR_MODULE_FILE);
    const EffectInfo& info = module.find("Text");
    Effect effect = module.create(info);
    const struct {
        const char *field, *given, *read;
    } rows[] = {
        {"text", "One\\n\\ttwo \\\\ Gr\u00FC\u00DFe \U0001D11E", "One\\n\\ttwo \\\\ Gr\u00FC\u00DFe \U0001D11E"},
        {"text", "a\r\nb\nc", "a\\nb\\nc"},
        {"text", "\xFF\xC3 \\q", "\uFFFD\uFFFD \\\\q"},
        {"text", "", ""},
        {"font", "Liberation Sans Bold 72", "Liberation Sans Bold 72"},
        {"font", "  Source Sans 3 Bold Italic ", "Source Sans 3 Bold Italic 72"},
        {"font", "DejaVu Sans Mono 24", "DejaVu Sans Mono 24"},
        {"fore", "#FF804020", "1,0.5019608,0.2509804,0.1254902"},
        {"horizontal", "right", "Right"},
    };
    for (const auto& row : rows) {
        effect.set(row.field, row.given);
        EXPECT_EQ(row.read, effect.get(row.field)) << row.given;
    }
    for (const char* const wrong : {"", "72", "A family with a name of far more than thirty letters", "Sans 5000"})
        EXPECT_THROW(effect.set("font", wrong), Error) << wrong;

    effect.set("text", "kept beyond its object");
    const auto record = effect.record();
    effect = module.create(info);
    effect.setRecord(record);
    EXPECT_EQ("kept beyond its object", effect.get("text"));
    EXPECT_EQ(record, effect.saveState());
    effect.setRecord(std::span(record).first(60));
    EXPECT_EQ(record, effect.record());
    EXPECT_THROW(effect.setRecord(std::span(record).first(130)), Error);
    EXPECT_THROW(effect.setRamp(record, std::span(record).first(record.size() - 2)), Error);
    effect.setRamp(record, info.defaults);
    effect.setRampPosition(0.5);
    const Surface output = Surface::create(PixelFormat::Argb32, 64, 48);
    effect.generate(output);
    effect.clearRamp();
    EXPECT_EQ(record, effect.record());
}

} // namespace
