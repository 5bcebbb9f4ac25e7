// Numbers and times as text, and back.
#include <array>
#include <string>

#include "support/time_format.h"
#include "support/value_format.h"
#include "support/value_read.h"
#include "target.h"

using namespace larkmoor::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    std::vector<char> room(in.ConsumeIntegralInRange<std::size_t>(0, 300));
    const auto ended = [&](std::size_t written) {
        require(room.empty() ? written == 0 : written < room.size() && room[written] == 0);
    };
    const double real = number(in, -1000, 1000);
    const auto whole = in.ConsumeIntegral<std::int64_t>();
    const std::string text = in.ConsumeRandomLengthString(64), pattern = in.ConsumeRandomLengthString(64);
    ended(FormatValue(room, pattern.c_str(), real, whole, text.c_str(), real, whole));

    const tTIMEFORMAT format{in.ConsumeIntegralInRange<LONG>(-1, kTimeFormats),
                             in.ConsumeIntegral<ULONG>(),
                             number(in, 1, 120),
                             number(in, 1, 300),
                             in.ConsumeIntegral<std::int64_t>(),
                             in.ConsumeIntegral<WORD>(),
                             in.ConsumeIntegral<WORD>(),
                             in.ConsumeIntegral<LONG>()};
    ended(FormatTime(room, format, whole, in.ConsumeBool()));
    ended(FormatTimeEx(room, format, whole, pattern.c_str(), in.ConsumeIntegralInRange<ULONG>(0, 3)));

    const char* end = nullptr;
    const auto inside = [&] { require(end >= text.c_str() && end <= text.c_str() + std::strlen(text.c_str())); };
    ReadDouble(text.c_str(), &end);
    inside();
    ReadLong(text.c_str(), &end);
    inside();
    ReadInt64(text.c_str(), &end);
    inside();
    ReadHex(text.c_str(), &end);
    inside();
    return 0;
}
