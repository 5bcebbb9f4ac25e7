// Where formatted text goes: a bounded buffer or a string that grows.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

class CTextSink {
  public:
    explicit CTextSink(std::span<char> dest) : m_dest(dest) {}
    explicit CTextSink(std::string& text) : m_text(&text) {}

    /// After the first text that doesn't fit nothing more is taken: the result is a beginning of the whole.
    void Put(std::string_view text) {
        if (m_text) {
            m_text->append(text);
            return;
        }
        const std::size_t count = std::min(text.size(), m_cut ? 0 : Room());
        std::copy_n(text.data(), count, m_dest.data() + m_length);
        m_length += count;
        m_cut = m_cut || count < text.size();
    }
    /// All of it or nothing.
    void PutWhole(std::string_view text) {
        if (!m_text && text.size() > Room()) m_cut = true;
        Put(m_cut ? std::string_view() : text);
    }
    bool IsCut() const { return m_cut; }

    /// Ends a buffer's text with a zero and returns its length.
    std::size_t Finish() {
        if (m_dest.empty()) return 0;
        if (m_cut) m_length = CutUtf8({m_dest.data(), m_length});
        m_dest[m_length] = '\0';
        return m_length;
    }

    /// Length of a beginning of a UTF-8 text without a sequence that lost its end.
    static std::size_t CutUtf8(std::string_view text) {
        std::size_t lead = text.size();
        while (lead > 0 && text.size() - lead < 4) {
            const auto byte = static_cast<unsigned char>(text[--lead]);
            if (byte < 0x80) return text.size();
            if (byte < 0xC0) continue;
            const std::size_t length = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
            return text.size() - lead < length ? lead : text.size();
        }
        return text.size();
    }

  private:
    std::size_t Room() const { return m_dest.empty() ? 0 : m_dest.size() - 1 - m_length; }

    std::span<char> m_dest;
    std::string* m_text = nullptr;
    std::size_t m_length = 0;
    bool m_cut = false;
};
