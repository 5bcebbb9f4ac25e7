#include "generators/text.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "frame/generator.h"
#include "generators/text_layout.h"

namespace {

constexpr LONG kMostText = 1 << 24; ///< characters; a longer text counts as one that memory is short for
constexpr ULONG kOldHeadBytes = 112;

WCHAR g_DefaultText[] = {'T', 'e', 'x', 't', 0};

// The text of the default is nobody's to free.
const tTEXTPROP kDefault{
    .font = {.lfHeight = 100, .lfWeight = 400, .lfCharSet = 1, .lfOutPrecision = 7, .lfFaceName = "Arial"},
    .vertical = 1,
    .horizontal = 1,
    .back = {0, 0, 0, 0},
    .fore = {1, 1, 1, 1},
    .tracking = 1,
    .leading = 1,
    .signature = {kTextSignature[0], kTextSignature[1], kTextSignature[2], kTextSignature[3]},
    .textLength = 5,
    .text = g_DefaultText,
};

constexpr tFieldChoice kVertical[] = {{"Top", 0}, {"Center", 1}, {"Bottom", 2}};
constexpr tFieldChoice kHorizontal[] = {{"Left", 0}, {"Center", 1}, {"Right", 2}};

constexpr tFieldInfo KwOwnField(const tMember& member, tFieldKind kind, LONG bytes, const char* label,
                                const char* help) {
    tFieldInfo field = KwField(member, kind, {label, help, 0, 0, 0}, KWRAMP_START);
    field.type = KWTYPE_BYTES;
    field.count = bytes;
    return field;
}

constexpr tFieldInfo kFields[] = {
    KwOwnField(KWMEMBER(tTEXTPROP, font), KWFIELD_FONT, sizeof(tLOGFONT),
               "&Font:", "Family, style and height in pixels of the letters."),
    KwChoice(KWMEMBER(tTEXTPROP, vertical), "&Vertical alignment:", "Where the block of lines stands in the frame.",
             kVertical),
    KwChoice(KWMEMBER(tTEXTPROP, horizontal), "Hori&zontal alignment:", "Where each line stands in the frame.",
             kHorizontal),
    KwColor(KWMEMBER(tTEXTPROP, back), KWTYPE_FLOAT, "bgra", "Background", "Color behind the letters."),
    KwColor(KWMEMBER(tTEXTPROP, fore), KWTYPE_FLOAT, "bgra", "Foreground", "Color of the letters."),
    KwNumber(KWMEMBER(tTEXTPROP, tracking),
             {"&Tracking:", "Scales the distance of letters up to 1 and evens it out from there to 2.", 0, 2, 0.001,
              "$.3f"}),
    KwNumber(KWMEMBER(tTEXTPROP, leading), {"&Leading:", "Scales the distance of lines.", 0, 2, 0.001, "$.3f"}),
    KwOwnField({"text", LONG{kTextFixedBytes}, KWTYPE_BYTES}, KWFIELD_TEXT, sizeof(tTEXTPROP) - kTextFixedBytes,
               "&Text:", "What is written; lines break where it says so."),
};

const tPreset<tTEXTPROP> kPresets[] = {{"(Default)", kDefault}};

const tEffectClass kClass{
    .iid = {0x506F081A, 0x6D38, 0x47E7, {0x80, 0xEE, 0xF3, 0xCA, 0xE8, 0xA0, 0xD3, 0x36}},
    .kind = 0,
    .family = "Titles",
    .minInputs = 0,
    .maxInputs = 0,
    .infoFlags = 0,
    .defaults = &kDefault,
    .recordSize = sizeof(tTEXTPROP),
    .fields = kFields,
    .presets = kPresets,
};

void Drop(tTEXTPROP& record) noexcept {
    if (record.text != g_DefaultText) std::free(record.text);
    record.text = nullptr;
    record.textLength = 0;
}

/// Puts a text of the record's own in place of the old one: the characters of `text`, then zeros up to `length` and
/// one more. An empty one of length 0 needs no memory. Throws std::bad_alloc where that is short or the length beyond
/// sense, and leaves the record as it is.
void SetText(tTEXTPROP& record, std::u16string_view text, LONG length) {
    WCHAR* copy = nullptr;
    if (length > 0) {
        if (length <= kMostText)
            copy = static_cast<WCHAR*>(std::calloc(static_cast<std::size_t>(length) + 1, sizeof(WCHAR)));
        if (!copy) throw std::bad_alloc();
        text.copy(copy, static_cast<std::size_t>(length));
    }
    Drop(record);
    record.text = copy;
    record.textLength = length > 0 ? length : 0;
}

std::u16string_view TextOf(const tTEXTPROP& record) {
    return {record.text, record.textLength > 0 ? static_cast<std::size_t>(record.textLength) : 0};
}

/// Up to `count` elements of a stream. Memory grows with what the stream gives, not with what it promises.
template <class T>
HRESULT ReadSome(IStream* stream, std::size_t count, std::vector<T>& elements) {
    constexpr std::size_t kPiece = 4096;
    for (std::size_t held = elements.size(); held < count;) {
        const std::size_t wanted = std::min(count - held, std::max(kPiece, held));
        elements.resize(held + wanted);
        ULONG got = 0;
        const HRESULT status = stream->Read(elements.data() + held, static_cast<ULONG>(wanted * sizeof(T)), &got);
        if (FAILED(status)) return status;
        held += std::min(wanted, got / sizeof(T));
        elements.resize(held);
        if (got < wanted * sizeof(T)) return status;
    }
    return S_OK;
}

struct tOwned {
    tTEXTPROP record{};
    ~tOwned() { Drop(record); }
};

/// Windows code page 1252, in which texts were stored before.
WCHAR FromAnsi(std::uint8_t byte) {
    static constexpr WCHAR kUpper[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                         0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};
    return byte >= 0x80 && byte < 0xA0 ? kUpper[byte - 0x80] : WCHAR{byte};
}

/// A 32-bit picture whose rows stand from the bottom up. A reader keeps it from being drawn on.
class CTextImage {
  public:
    CTextImage(LONG width, LONG height) : m_width(width), m_height(height) {
        const std::int64_t pixels = std::int64_t{width} * height;
        if (pixels <= INT32_MAX / 4)
            m_pixels.reset(static_cast<std::byte*>(std::calloc(4, static_cast<std::size_t>(pixels))));
    }

    bool Exists() const { return m_pixels != nullptr; }
    std::byte* FirstMemoryRow() const { return m_pixels.get(); }
    LONG Stride() const { return m_width * 4; }
    tRows FromTop() const {
        const std::ptrdiff_t stride = Stride();
        return {m_pixels.get() + stride * (m_height - 1), -stride, m_width, m_height};
    }

    std::atomic<LONG> readers{0};

  private:
    struct tFreeBytes {
        void operator()(std::byte* memory) const { std::free(memory); }
    };
    LONG m_width, m_height;
    std::unique_ptr<std::byte, tFreeBytes> m_pixels;
};

class CTextReader final : public CGeneratorRows {
  public:
    explicit CTextReader(std::shared_ptr<CTextImage> image)
        : CGeneratorRows(image->FromTop().width, image->FromTop().height), m_image(std::move(image)),
          m_rows(m_image->FromTop()) {
        ++m_image->readers;
    }
    ~CTextReader() override { --m_image->readers; }

    void Read(ULONG x, ULONG y, DWORD* samples, ULONG count) noexcept override {
        const ULONG held = std::min(count, static_cast<ULONG>(m_rows.width) - x);
        std::memcpy(samples, m_rows.Row<DWORD>(static_cast<LONG>(y)) + x, std::size_t{held} * sizeof(DWORD));
    }
    std::byte* FirstByte() const override { return m_rows.first; }
    LONG Pitch() const override { return static_cast<LONG>(m_rows.stride); }

  private:
    std::shared_ptr<CTextImage> m_image;
    tRows m_rows;
};

/// What `GetCacheInfo` tells: the picture as a bitmap, rows from the bottom up.
struct tTextCache {
    HANDLE deviceContext, bitmap; ///< null: no drawing objects here
    DWORD size;
    LONG width, height;
    WORD planes, bitCount;
    DWORD compression, imageSize;
    LONG xPelsPerMeter, yPelsPerMeter;
    DWORD colorsUsed, colorsImportant;
    LONG spare1;
    void* pixels;
    LONG spare2;
};

} // namespace

class DXSText final : public CWithRecord<CGenerator, tTEXTPROP> {
  public:
    DXSText(const tObjectMapRow& row, IUnknown* outer)
        : CWithRecord(row, outer, kClass, tFormat{DDPF_PMARGB32, DXSAMPLE_TRANSLUCENT}) {}
    ~DXSText() override {
        for (tTEXTPROP* const record : {&m_Params, &m_Work, &m_RampFrom, &m_RampTo, &m_Given}) Drop(*record);
    }

    /// Draws the picture that readers opened from now on get, and tells where it is. The pixels stay until the next
    /// call or change of size.
    HRESULT GetCacheInfo(void* cache) override {
        if (!cache) return E_POINTER;
        return KwGuarded([&] {
            tOwned shown;
            UpdateWork(&shown.record);
            const CHeld guard(m_SurfaceLock);
            const HRESULT status = Render(shown.record);
            tTextCache told{.size = 40, .width = m_Width, .height = m_Height, .planes = 1, .bitCount = 32};
            if (SUCCEEDED(status)) {
                told.imageSize = static_cast<DWORD>(m_Image->Stride()) * static_cast<DWORD>(m_Height);
                told.pixels = m_Image->FirstMemoryRow();
            }
            std::memcpy(cache, &told, sizeof told);
            return status;
        });
    }

  protected:
    std::unique_ptr<CGeneratorRows> OpenRows() override {
        const CHeld guard(m_SurfaceLock);
        if (!m_Image || !m_Image->Exists()) m_Image = std::make_shared<CTextImage>(m_Width, m_Height);
        return m_Image->Exists() ? std::make_unique<CTextReader>(m_Image) : nullptr;
    }

    void SizeChanged() override { m_Image.reset(); }

    void CopyRecord(std::byte* to, const std::byte* from) override {
        tTEXTPROP& target = Record(to);
        const tTEXTPROP& source = Record(from);
        if (&target == &source) return;
        if (source.text == g_DefaultText) {
            Drop(target);
            target = source;
        } else {
            SetText(target, TextOf(source), source.textLength);
            std::memcpy(&target, &source, kTextFixedBytes);
        }
    }

    void DropRecord(std::byte* record) noexcept override { Drop(Record(record)); }

    // A whole block brings its text; without a text that can be had the record becomes the default. The front of one
    // leaves the text as it is.
    void TakeBlock(const void* block, ULONG size) override {
        if (size < sizeof(tTEXTPROP)) {
            std::memcpy(&m_Params, block, std::min<std::size_t>(size, kTextFixedBytes));
            return;
        }
        tTEXTPROP given;
        std::memcpy(&given, block, sizeof given);
        ToDefault(Bytes(m_Params));
        if (given.textLength < 1 || !given.text) return;
        SetText(m_Params, TextOf(given), given.textLength);
        std::memcpy(&m_Params, &given, kTextFixedBytes);
    }

    // The text that goes out stays the object's, and stays as it is until the next call.
    void GiveBlock(void* block, ULONG size) override {
        if (size == sizeof(tTEXTPROP)) CopyRecord(Bytes(m_Given), Bytes(m_Params));
        std::memcpy(block, size == sizeof(tTEXTPROP) ? &m_Given : &m_Params, size);
    }

    HRESULT ReadRecord(IStream* stream, std::byte* bytes, ULONG* got) override {
        tTEXTPROP& record = Record(bytes);
        Drop(record);
        *got = 0;
        const HRESULT status = stream->Read(&record, kTextFixedBytes, got);
        return FAILED(status) ? status : ReadText(stream, record);
    }

    HRESULT LoadRecord(IStream* stream, std::byte* bytes) override {
        tTEXTPROP& record = Record(bytes);
        Drop(record);
        ULONG got = 0;
        const HRESULT status = stream->Read(&record, kTextFixedBytes, &got);
        if (FAILED(status)) return status;
        if (got == kTextFixedBytes && std::memcmp(record.signature, kTextSignature, sizeof kTextSignature) == 0)
            return ReadText(stream, record);
        const HRESULT read = ReadOldText(stream, record, got);
        std::memcpy(record.signature, kTextSignature, sizeof kTextSignature);
        return FAILED(read) ? read : status;
    }

    /// The mark goes out as a host gave it with the record, which is never tested: without it the state reads as the
    /// older form.
    HRESULT WriteRecord(IStream* stream, const std::byte* bytes) override {
        const tTEXTPROP& record = Record(bytes);
        ULONG put = 0;
        HRESULT status = stream->Write(&record, kTextFixedBytes, &put);
        if (SUCCEEDED(status)) status = stream->Write(&record.textLength, sizeof record.textLength, &put);
        if (SUCCEEDED(status) && record.textLength > 0)
            status = stream->Write(record.text, static_cast<ULONG>(record.textLength) * ULONG{sizeof(WCHAR)}, &put);
        return status;
    }

    std::uint64_t StreamSize() override {
        const CHeld guard(m_ParamLock);
        return 132 + 2 * static_cast<std::uint64_t>(m_Params.textLength);
    }

    // In doubles, unlike other records of single floats.
    void RampRecord(const std::byte* from, const std::byte* to, double position, std::byte* out) override {
        CopyRecord(out, from);
        tTEXTPROP& result = Record(out);
        const tTEXTPROP& end = Record(to);
        const auto move = [position](float& value, float target) {
            value = static_cast<float>(value + (double{target} - value) * position);
        };
        for (int i = 0; i < 4; ++i) {
            move(result.back[i], end.back[i]);
            move(result.fore[i], end.fore[i]);
        }
        move(result.tracking, end.tracking);
        move(result.leading, end.leading);
    }

  private:
    static tTEXTPROP& Record(std::byte* bytes) { return *reinterpret_cast<tTEXTPROP*>(bytes); }
    static const tTEXTPROP& Record(const std::byte* bytes) { return *reinterpret_cast<const tTEXTPROP*>(bytes); }

    /// Reads the count and the characters behind the fixed part; `record` has no text yet.
    static HRESULT ReadText(IStream* stream, tTEXTPROP& record) {
        LONG length = 0;
        ULONG got = 0;
        HRESULT status = stream->Read(&length, sizeof length, &got);
        if (FAILED(status) || got != sizeof length || length <= 0) return status;
        std::vector<WCHAR> text;
        status = length > kMostText ? E_OUTOFMEMORY : ReadSome(stream, static_cast<std::size_t>(length), text);
        if (FAILED(status)) return status;
        SetText(record, {text.data(), text.size()}, std::min(length, static_cast<LONG>(text.size()) + 1));
        return status;
    }

    /// The older form: a length in bytes where the mark stands now, and that much text. `got` bytes of it are read.
    static HRESULT ReadOldText(IStream* stream, tTEXTPROP& record, ULONG got) {
        ULONG length = 0;
        std::memcpy(&length, record.signature, sizeof length);
        if (got <= kOldHeadBytes || length == 0) return S_OK;
        if (length > static_cast<ULONG>(kMostText)) return E_OUTOFMEMORY;
        const auto* const head = reinterpret_cast<const std::uint8_t*>(&record) + kOldHeadBytes;
        std::vector<std::uint8_t> ansi(head, head + std::min(length, got - kOldHeadBytes));
        if (const HRESULT status = ReadSome(stream, length, ansi); FAILED(status)) return status;
        std::u16string text;
        std::transform(ansi.begin(), std::find(ansi.begin(), ansi.end(), 0), std::back_inserter(text), FromAnsi);
        SetText(record, text, static_cast<LONG>(text.size()) + 1);
        return S_OK;
    }

    HRESULT Render(const tTEXTPROP& record) {
        // What a reader holds stays as it is.
        if (!m_Image || !m_Image->Exists() || m_Image->readers.load() != 0)
            m_Image = std::make_shared<CTextImage>(m_Width, m_Height);
        if (!m_Image->Exists()) return E_OUTOFMEMORY;
        if (!m_Font || !m_Font->Exists() || std::memcmp(&m_Font->Description(), &record.font, sizeof record.font) != 0)
            m_Font = std::make_unique<CTextFont>(record.font);
        RenderText(m_Image->FromTop(), record, TextOf(record), *m_Font);
        return S_OK;
    }

    tTEXTPROP m_Given{}; ///< what `get_all` gave out last
    std::shared_ptr<CTextImage> m_Image;
    std::unique_ptr<CTextFont> m_Font;
};

template IUnknown* KwCreate<DXSText>(const tObjectMapRow&, IUnknown*);
