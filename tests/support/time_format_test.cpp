#include "support/time_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "locales.h"

namespace {

constexpr std::int64_t kSecond = 10000000;

tTIMEFORMAT Record(LONG format, double rate = 30.0) {
    return {format, 48000, rate, 120.0, 0, 4, 4, 960};
}

std::string Text(const tTIMEFORMAT& format, std::int64_t time, bool full = false,
                 const tLOCALEBLOCK& locale = PlainBlock()) {
    char text[128];
    const std::size_t size = FormatTime(text, format, time, full, locale);
    EXPECT_EQ(size, std::string_view(text).size());
    return text;
}

/// The first time that a count of frames at 30000/1001 a second stands at.
std::int64_t NtscTime(std::int64_t frames) {
    return (frames * 1001 * kSecond + 29999) / 30000;
}

TEST(TimeFormat, EveryFormat) {
    const struct {
        LONG format;
        std::int64_t time;
        const char *brief, *full;
    } rows[] = {
        {kTimeSamples, 3 * kSecond / 2, "72,000", "72,000"},
        {kTimeClock, 3723 * kSecond + 45678, "01:02:03.005", "01:02:03"},
        {kTimeClock, 24 * 3600 * kSecond, "00:00:00.000", "00:00:00"},
        {kTimeClock, 59 * kSecond + 9995000, "00:01:00.000", "00:01:00"},
        {kTimeSeconds, 12345 * kSecond + 6789000, "12,345.679", "12,345"},
        {kTimeClockFrames, 61 * kSecond + kSecond / 2, "00:01:01.15", "00:01:01"},
        {kTimeFrames, 100 * kSecond, "3,000.000", "3,000"},
        {kTimeMusic, 61 * kSecond, "31.3.000", "31.3"},
        {kTimeMusic, 10250000, "1.3.048", "1.3"},
        {kTimeSmpteNonDrop, NtscTime(1800), "00:01:00:00", "00:01:00:00"},
        {kTimeSmpte30, 60 * kSecond, "00:01:00:00", "00:01:00:00"},
        {kTimeSmpte30, 86400 * kSecond, "00:00:00:00", "00:00:00:00"},
        {kTimeSmpteDrop, NtscTime(1799), "00:00:59;29", "00:00:59;29"},
        {kTimeSmpteDrop, NtscTime(1800), "00:01:00;02", "00:01:00;02"},
        {kTimeSmpteDrop, NtscTime(17982), "00:10:00;00", "00:10:00;00"},
        {kTimeSmpteDrop, 3600 * kSecond, "01:00:00;00", "01:00:00;00"},
        {kTimeSmpteEbu, 3600 * kSecond - 400000, "00:59:59:24", "00:59:59:24"},
        {kTimeSmpteFilm, 3600 * kSecond - 10, "00:59:59:23", "00:59:59:23"},
        {kTimeRaw, 123456789, "123,456,789", "123,456,789"},
        {kTimeMicroseconds, 12345, "1,235", "1,235"},
        {kTimeMusicFromZero, 61 * kSecond, "30.2.000", "30.2"},
        {kTimeBeats, 6025 * kSecond / 100, "120.500", "120"},
        {kTimeFeet16, 10 * kSecond, "7+20", "7+20"},
        {kTimeFeet35, 10 * kSecond, "18+12", "18+12"},
        {kTimeCd, kSecond + kSecond / 3, "00:00:01:25", "00:00:01"},
        {18, 1234567, "1,234,567", "1,234,567"},
        {-1, 1234567, "1,234,567", "1,234,567"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(Text(Record(row.format), row.time), row.brief);
        EXPECT_EQ(Text(Record(row.format), row.time, true), row.full);
        EXPECT_EQ(Text(Record(row.format), -row.time), std::string("-").append(row.brief));
    }
    EXPECT_EQ(Text(Record(kTimeFeet16, 24.0), 10 * kSecond), "6+0");
}

TEST(TimeFormat, SeparatorsOfTheLocale) {
    const tLOCALEBLOCK german = BlockOf("de_DE"), danish = BlockOf("da_DK"), swedish = BlockOf("sv_SE");
    const std::int64_t time = 12 * kSecond + 3450000;
    EXPECT_EQ(Text(Record(kTimeSeconds), time, false, german), "12,345");
    EXPECT_EQ(Text(Record(kTimeClock), time, false, danish), "00.00.12,345");
    EXPECT_EQ(Text(Record(kTimeSmpteDrop), time, false, danish), "00:00:12;09");
    EXPECT_EQ(Text(Record(kTimeSeconds), -time, false, swedish), "-12,345"); // an ASCII minus
}

TEST(TimeFormat, OffsetAndPattern) {
    tTIMEFORMAT format = Record(kTimeMusic);
    format.offset = 60 * kSecond;
    char text[64];
    EXPECT_EQ(Text(format, 61 * kSecond), "1.3.000");
    EXPECT_EQ(Text(format, 59 * kSecond), "-1.3.000");
    FormatTimeFlags(text, format, 61 * kSecond, kTimeAbsolute, PlainBlock());
    EXPECT_STREQ(text, "30.2.000");
    FormatTimeFlags(text, format, 61 * kSecond, kTimeAbsolute | kTimeFull, PlainBlock());
    EXPECT_STREQ(text, "30.2");
    FormatTimeEx(text, Record(kTimeClock), 3661 * kSecond, "%u h %u min", 0, PlainBlock());
    EXPECT_STREQ(text, "1 h 1 min");
    FormatTimeEx(text, Record(kTimeClock), kSecond, nullptr, 0, PlainBlock());
    EXPECT_STREQ(text, "00:00:01.000");
    // Real values keep all their digits where they are shown whole.
    FormatTimeEx(text, Record(kTimeFrames, 1e7), std::int64_t{1} << 62, "$.0f", 0, PlainBlock());
    EXPECT_STREQ(text, "4,611,686,018,427,387,904");
    FormatTimeEx(text, Record(kTimeFrames, -1.0), kSecond * 3 / 2, "$.0f", 0, PlainBlock());
    EXPECT_STREQ(text, "-2");
}

/// Counts a day of labels one by one: two are left out at each minute but the tenth ones.
TEST(TimeFormat, DropFrameOfAWholeDay) {
    std::int64_t frame = 0;
    for (LONG label = 0; label < 24 * 108000; ++label) {
        if (label % 1800 < 2 && label / 1800 % 10 != 0) continue;
        tSMPTETIME want{kModeDrop, label / 108000, label / 1800 % 60, label / 30 % 60, label % 30};
        if (frame == 2589407) { // the count starts anew one frame before the day is full
            want = {kModeDrop, 0, 0, 0, 0};
        } else if (label >= 2589407) { // and so do the labels, with the drop rule's own label where one was left out
            const LONG wrapped = label - 2589407;
            want = {kModeDrop, 0, wrapped / 1800, wrapped / 30 % 60, wrapped % 30};
            if (want.frames < 2 && want.seconds == 0 && want.minutes % 10 != 0) want.frames = 2;
        }
        tSMPTETIME byFrame{kModeDrop}, byTime{kModeDrop};
        SplitFrames(frame, byFrame);
        SplitTime(NtscTime(frame), 0.0, byTime);
        ASSERT_EQ(std::memcmp(&byFrame, &want, sizeof want), 0) << frame;
        ASSERT_EQ(std::memcmp(&byTime, &want, sizeof want), 0) << frame;
        ++frame;
    }
    EXPECT_EQ(frame, 2589408);
}

TEST(TimeFormat, OtherRatesOfAWholeDay) {
    const struct {
        LONG mode, perSecond;
        std::int64_t unitsBy30000; ///< length of a frame
    } rows[] = {{kModeSmpte30, 30, 1000}, {kModeEbu25, 25, 1200}, {kModeFilm24, 24, 1250}, {kModeNonDrop, 30, 1001}};
    for (const auto& row : rows)
        for (LONG frame = 0; frame < 86400 * row.perSecond + 100; frame += 1 + frame % 3) {
            const std::int64_t time = (frame * row.unitsBy30000 * kSecond + 29999) / 30000;
            const LONG label = frame % (86400 * row.perSecond), second = label / row.perSecond;
            tSMPTETIME split{row.mode};
            SplitTime(time, 0.0, split);
            ASSERT_EQ(split.hours * 3600 + split.minutes * 60 + split.seconds, second) << row.mode << " " << frame;
            ASSERT_EQ(split.frames, label % row.perSecond) << row.mode << " " << frame;
            ASSERT_LT(split.minutes, 60);
            ASSERT_LT(split.seconds, 60);
        }
}

TEST(TimeFormat, WildRecords) {
    EXPECT_EQ(Text(Record(kTimeClockFrames, 0.0), 3 * kSecond / 2), "00:00:01.00");
    EXPECT_EQ(Text(Record(kTimeRaw), std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,807");
    EXPECT_EQ(Text(Record(kTimeMicroseconds), std::numeric_limits<std::int64_t>::max()), "922,337,203,685,477,581");
}

TEST(TimeFormat, TinyBuffers) {
    for (std::size_t size = 0; size < 14; ++size) {
        std::vector<char> text(size + 1, '#');
        FormatTime(std::span(text).first(size), Record(kTimeSmpteDrop), -NtscTime(1800), false, PlainBlock());
        EXPECT_EQ(text[size], '#');
        if (size == 0) continue;
        EXPECT_EQ(std::string("-00:01:00;02").substr(0, size - 1), text.data());
    }
}

} // namespace
