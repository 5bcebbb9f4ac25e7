#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "media/sink.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace larkmoor {

namespace {

class RawSink : public FrameSink {
  public:
    RawSink(const std::string& path, const std::string& name, const Target& target) : m_name(name), m_target(target) {
        m_file =
            path == "-" ? ::dup(STDOUT_FILENO) : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (m_file < 0) fail();
    }
    ~RawSink() override {
        if (m_file >= 0) ::close(m_file);
    }

    const Target& target() const override { return m_target; }

    void write(FramePtr frame) override {
        const auto format = static_cast<AVPixelFormat>(frame->format);
        const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(format);
        int widths[4];
        avCheck(av_image_fill_linesizes(widths, format, frame->width), "measure a frame");
        for (int plane = 0; plane < 4 && frame->data[plane] && widths[plane] > 0; ++plane) {
            const int shift = plane == 1 || plane == 2 ? d.log2_chroma_h : 0;
            const int rows = -((-frame->height) >> shift);
            const auto width = static_cast<std::size_t>(widths[plane]);
            if (frame->linesize[plane] == widths[plane]) {
                put(frame->data[plane], width * static_cast<std::size_t>(rows));
                continue;
            }
            m_packed.resize(width * static_cast<std::size_t>(rows));
            av_image_copy_plane(m_packed.data(), widths[plane], frame->data[plane], frame->linesize[plane],
                                widths[plane], rows);
            put(m_packed.data(), m_packed.size());
        }
    }

    void finish() override {
        const int file = m_file;
        m_file = -1;
        if (::close(file) != 0) fail();
    }

  private:
    [[noreturn]] void fail() const {
        throw Error(
            fmt::format("cannot write {}: {}", m_name == "-" ? "to standard output" : m_name, std::strerror(errno)));
    }

    void put(const std::uint8_t* bytes, std::size_t count) {
        while (count > 0) {
            const ssize_t written = ::write(m_file, bytes, count);
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) fail();
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
    }

    std::string m_name;
    Target m_target;
    int m_file = -1;
    std::vector<std::uint8_t> m_packed;
};

} // namespace

std::unique_ptr<FrameSink> createRawSink(const std::string& path, const std::string& name, const Target& target) {
    return std::make_unique<RawSink>(path, name, target);
}

} // namespace larkmoor
