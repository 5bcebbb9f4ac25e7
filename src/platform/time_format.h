// The ways to write a time.
#pragma once

#include "platform/types.h"

/// The formats by number.
enum eTIMEFORMAT : LONG {
    kTimeSamples,
    kTimeClock, ///< 01:02:03.004
    kTimeSeconds,
    kTimeClockFrames, ///< 01:02:03.04, frames by the record's rate
    kTimeFrames,
    kTimeMusic,        ///< measure, beat and ticks, measure and beat from 1
    kTimeSmpteNonDrop, ///< labels of 30 frames a second at 29.97
    kTimeSmpte30,
    kTimeSmpteDrop, ///< 29.97 with dropped labels, SMPTE ST 12-1
    kTimeSmpteEbu,  ///< 25
    kTimeSmpteFilm, ///< 24
    kTimeRaw,
    kTimeMicroseconds,
    kTimeMusicFromZero,
    kTimeBeats,
    kTimeFeet16, ///< 40 frames a foot
    kTimeFeet35, ///< 16 frames a foot
    kTimeCd,     ///< 75 sectors a second
    kTimeFormats
};

struct tTIMEFORMAT {
    LONG format; ///< eTIMEFORMAT; any other number prints the time's units
    ULONG samplesPerSecond;
    double frameRate; ///< frames a second, for the formats that count frames
    double tempo;     ///< beats a minute
    std::int64_t offset;
    WORD beatUnit; ///< note value of a beat
    WORD beatsPerMeasure;
    LONG ticksPerBeat;
};
static_assert(sizeof(tTIMEFORMAT) == 40);
