#include "media/av.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <set>

#include <fmt/format.h>

#include "media/complaints.h"
#include "standard_files.h"

namespace larkmoor {

namespace {

std::mutex lastLock;
std::string lastComplaint;
std::set<const void*> endedEarly;
std::function<void(std::string_view)> warningTaker;
std::atomic<bool> verboseLog = false;

/// Whether a reader of transport streams tells that the last packet of a stream is not whole.
bool endsTorn(void* object, const char* format) {
    if (!std::strstr(format, "PES packet size mismatch")) return false;
    const AVIOContext* file = static_cast<AVFormatContext*>(object)->pb;
    return file && file->eof_reached;
}

void keepLog(void* object, int level, const char* format, va_list arguments) {
    if (endsTorn(object, format)) {
        const std::lock_guard guard(lastLock);
        endedEarly.insert(object);
    }
    if (level <= AV_LOG_ERROR || Complaints::tells(format)) {
        va_list copy;
        va_copy(copy, arguments);
        char line[512];
        std::vsnprintf(line, sizeof(line), format, copy);
        va_end(copy);
        line[std::strcspn(line, "\n")] = 0;
        Complaints::log(object, level, line);
        if (level <= AV_LOG_ERROR) {
            const std::lock_guard guard(lastLock);
            if (std::strstr(line, "ended prematurely")) endedEarly.insert(object);
            lastComplaint = line;
        }
    }
}

/// Called in the middle of FFmpeg, through which no exception may go.
void takeLog(void* object, int level, const char* format, va_list arguments) {
    try {
        keepLog(object, level, format, arguments);
    } catch (const std::bad_alloc&) {
        // A complaint that cannot be kept is dropped.
    }
    if (verboseLog) av_log_default_callback(object, level, format, arguments);
}

} // namespace

void quietLog(bool verbose) {
    verboseLog = verbose;
    // An encoder with a log of its own: errors only.
    if (!verbose) ::setenv("SVT_LOG", "1", 0);
    av_log_set_level(verbose ? AV_LOG_INFO : AV_LOG_ERROR);
    av_log_set_callback(takeLog);
}

void forgetEnd(const AVFormatContext& container) {
    const std::lock_guard guard(lastLock);
    endedEarly.erase(&container);
}

bool prematureEnd(const AVFormatContext& container) {
    const std::lock_guard guard(lastLock);
    return endedEarly.contains(&container);
}

FramePtr newFrame() {
    FramePtr frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    return frame;
}

PacketPtr newPacket() {
    PacketPtr packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    return packet;
}

FramePtr shareFrame(const AVFrame& frame) {
    FramePtr copy(av_frame_clone(&frame));
    if (!copy) throw std::bad_alloc();
    return copy;
}

std::string avReason(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof(text));
    const bool vague = code == AVERROR_INVALIDDATA || code == AVERROR_EXTERNAL || code == AVERROR(EINVAL);
    const std::lock_guard guard(lastLock);
    return vague && !lastComplaint.empty() ? fmt::format("{} ({})", text, lastComplaint) : std::string(text);
}

int avMemory(int code) {
    if (code == AVERROR(ENOMEM)) throw std::bad_alloc();
    return code;
}

int avCheck(int code, std::string_view what) {
    if (avMemory(code) < 0) throw Error(fmt::format("cannot {}: {}", what, avReason(code)));
    return code;
}

void takeWarnings(std::function<void(std::string_view)> taker) {
    const std::lock_guard guard(lastLock);
    warningTaker = std::move(taker);
}

void warn(std::string_view sentence) {
    {
        const std::lock_guard guard(lastLock);
        if (warningTaker) return warningTaker(sentence);
    }
    try {
        tell(fmt::format("larkmoor: {}\n", sentence));
    } catch (const std::bad_alloc&) {
        for (const std::string_view piece : {std::string_view("larkmoor: "), sentence, std::string_view("\n")})
            tell(piece);
    }
}

} // namespace larkmoor
