// What is written: one row of a table a run of the command and what FFmpeg finds in the file.
//
// The words of the shell lines stand in tests/apps/media/words.sh; "$none" is a chain that changes nothing.
#include <gtest/gtest.h>

#include "apps/command.h"

namespace {

struct Row {
    const char* name;
    const char* make; ///< shell lines for what goes in
    const char* run;  ///< arguments of the command
    int status;
    const char* says; ///< a piece of standard error, "" for not a word, nullptr for anything
    std::vector<const char*> holds;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

/// More words: `full`, a clip of the full range, and `limited`, what a file that cannot tell it should hold; `sounds`,
/// the codecs of all sound; `gap`, milliseconds from the first sound to the first picture.
constexpr const char* moreWords =
    "none='--effect Invert --effect Invert'; "
    "full() { make in.mp4 -vf scale=out_range=pc,format=yuv420p -color_range pc -c:v libx264 -crf 5; "
    "ff -i in.mp4 -vf scale=in_range=pc:out_range=tv,format=yuv420p -c:v ffv1 limited.mkv; }; "
    "hdr() { make in.mp4 -vf format=yuv420p10le -c:v libx265 -x265-params "
    "'log-level=error:master-display=G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1):"
    "max-cll=1000,400' -color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc; }; "
    "light() { ffprobe -v error -select_streams v -read_intervals %+#1 -show_frames -show_streams $1 | "
    "grep -E 'red_x|max_content' | sort -u | tr '\\n' ' '; }; "
    "sounds() { look a stream=codec_name $1 | grep . | sort -u | tr '\\n' ' '; }; "
    "first() { look $1 packet=pts_time $2 | tr -d , | grep . | sort -n | head -n 1; }; "
    "gap() { echo \"$(first v:0 $1) $(first a:0 $1)\" | awk '{ printf \"%.0f\", ($1 - $2) * 1000 }'; }; "
    "ascends() { echo $* | awk '{ for (i = 2; i <= NF; ++i) if ($i + 0 < $(i - 1) + 0) exit 1; exit !($NF > $1) }' || "
    "{ echo $*; return 1; }; }; ";

class Writing : public CommandTest, public testing::WithParamInterface<Row> {
  protected:
    Outcome words(const std::string& line) const {
        return shell(". " LARKMOOR_TEST_FOLDER "/apps/media/words.sh; " + (moreWords + line));
    }
};

TEST_P(Writing, MakesWhatItShould) {
    const Row& row = GetParam();
    const Outcome made = words(std::string("set -e; ") + row.make);
    ASSERT_EQ(made.status, 0) << made.err;
    const Outcome run = words(std::string(LARKMOOR_COMMAND_FILE " ") + row.run);
    ASSERT_EQ(run.status, row.status) << run.err;
    if (row.says && *row.says) {
        EXPECT_NE(run.err.find(row.says), std::string::npos) << run.err;
    } else if (row.says) {
        EXPECT_EQ(run.err, row.says);
    }
    for (const char* line : row.holds) {
        const Outcome held = words(line);
        EXPECT_EQ(held.status, 0) << line << "\n" << held.out << held.err;
    }
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}

constexpr const char* shown = "atLeast 31 $(psnr limited.mkv out.*)";

INSTANTIATE_TEST_SUITE_P(
    Range, Writing,
    testing::Values(
        Row{"Transport", "full", "render in.mp4 -o out.ts $none", 0, "", {shown, "same $(tag color_range out.ts) tv"}},
        Row{"Program", "full", "render in.mp4 -o out.mpg $none", 0, "", {shown}},
        Row{"Avi", "full", "render in.mp4 -o out.avi $none", 0, "", {shown}},
        Row{"ProRes",
            "full",
            "render in.mp4 -o out.mov --codec prores $none",
            0,
            "",
            {"same $(tag color_range out.mov) tv",
             "ff -i out.mov -pix_fmt yuv420p -c:v ffv1 flat.mkv; atLeast 31 $(psnr limited.mkv flat.mkv)"}},
        Row{"KeptWhereItCanBe",
            "full",
            "render in.mp4 -o out.mkv --codec ffv1 $none",
            0,
            "",
            {"same $(tag color_range out.mkv) pc"}}),
    nameOf);

constexpr const char* flac = "make in.mkv -f lavfi -i sine=440:d=2 -pix_fmt yuv420p -c:v libx264 -c:a flac";
constexpr const char* three =
    "make in.mkv -f lavfi -i sine=440:d=2 -f lavfi -i sine=880:d=2 -f lavfi -i sine=990:d=2 -map 0 -map 1 -map 2 "
    "-map 3 -pix_fmt yuv420p -c:v libx264 -c:a:0 pcm_s16le -c:a:1 aac -c:a:2 flac -metadata:s:a:1 language=fin";

INSTANTIATE_TEST_SUITE_P(
    Sound, Writing,
    testing::Values(
        Row{"FlacToMp4",
            flac,
            "render in.mkv -o out.mp4 $none",
            0,
            "(flac); it is encoded anew as",
            {"same $(sounds out.mp4) aac"}},
        Row{"FlacToMovWithoutLoss",
            flac,
            "render in.mkv -o out.mov $none",
            0,
            "encoded anew as alac",
            {"same \"$(sound out.mov)\" \"$(sound in.mkv)\""}},
        Row{"FlacToTransport",
            flac,
            "render in.mkv -o out.ts $none",
            0,
            "encoded anew as mp2",
            {"same $(sounds out.ts) mp2"}},
        Row{"OpusToMov",
            "make in.mkv -f lavfi -i sine=440:d=2 -pix_fmt yuv420p -c:v libx264 -c:a libopus",
            "render in.mkv -o out.mov $none",
            0,
            "encoded anew as aac",
            {"same $(sounds out.mov) aac"}},
        Row{"None", three, "render in.mkv -o out.mkv --no-sound $none", 0, "", {"[ -z \"$(sounds out.mkv)\" ]"}},
        Row{"OneOfThree",
            three,
            "render in.mkv -o out.mkv --audio-stream 2 $none",
            0,
            "",
            {"same $(sounds out.mkv) aac", "same \"$(sound out.mkv)\" \"$(sound in.mkv 1)\""}},
        Row{"AsWanted",
            three,
            "render in.mkv -o out.mkv --audio-codec flac $none",
            0,
            "",
            {"same $(sounds out.mkv) flac", "same \"$(sound out.mkv)\" \"$(sound in.mkv)\""}},
        Row{"OneTooMany",
            three,
            "render in.mkv -o out.mkv --audio-stream 4 $none",
            2,
            "in.mkv has 3 streams of sound",
            {}},
        Row{"NoSuchEncoder",
            three,
            "render in.mkv -o out.mkv --audio-codec libx264 $none",
            2,
            "no sound encoder is called libx264",
            {}},
        Row{"NotInThisFile",
            three,
            "render in.mkv -o out.mp4 --audio-codec pcm_s16le $none",
            2,
            "pcm_s16le does not go into a file like out.mp4",
            {}},
        Row{"JoinedAllThree",
            three,
            "join in.mkv in.mkv -o out.mkv --transition Dissolve --duration 0.4",
            0,
            "",
            {"same \"$(sounds out.mkv)\" 'aac flac pcm_s16le '", "same $(look a:1 stream_tags=language out.mkv) fin"}},
        Row{"JoinedOne",
            three,
            "join in.mkv in.mkv -o out.mkv --transition Dissolve --duration 0.4 --audio-stream 1",
            0,
            "",
            {"same $(sounds out.mkv) pcm_s16le"}},
        Row{"JoinedSubtitles",
            "printf '1\\n00:00:00,200 --> 00:00:00,900\\nhello\\n' >s.srt; make in.mkv -i s.srt -pix_fmt yuv420p -c:v "
            "libx264 -c:s srt",
            "join in.mkv in.mkv in.mkv -o out.mkv --transition Dissolve --duration 0.4",
            0,
            "",
            {"same \"$(look s packet=pts_time,duration_time out.mkv | tr '\\n' ' ')\" '0.200000,0.700000 "
             "1.800000,0.700000 3.400000,0.700000 '"}},
        Row{"JoinedSubtitlesOfTwoKinds",
            "printf '1\\n00:00:00,200 --> 00:00:00,900\\nhello\\n' >s.srt; make in.mkv -i s.srt -pix_fmt yuv420p -c:v "
            "libx264 -c:s srt; make b.mp4 -i s.srt -pix_fmt yuv420p -c:v libx264 -c:s mov_text",
            "join in.mkv b.mp4 in.mkv -o out.mp4 --transition Dissolve --duration 0.4",
            0,
            "",
            {"same \"$(ff -i out.mp4 -map 0:s -f srt - | grep -e --)\" \"$(printf '00:00:00,200 --> "
             "00:00:00,900\\n00:00:01,800 --> 00:00:02,500\\n00:00:03,400 --> 00:00:04,100')\""}},
        Row{"SteadyThroughTransport",
            "make in.ts -f lavfi -i sine=440:d=2:sample_rate=48000 -pix_fmt yuv420p -c:v libx264 -bf 2 -c:a aac",
            "render in.ts -o out.ts $none",
            0,
            "",
            {"same $(gap out.ts) $(gap in.ts)"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Codecs, Writing,
    testing::Values(Row{"ProResKeepsItsProfile",
                        "make in.mov -c:v prores_ks -profile:v lt -pix_fmt yuv422p10le",
                        "render in.mov -o out.mov $none",
                        0,
                        nullptr,
                        {"same $(tag profile out.mov) LT"}},
                    Row{"DnxhrKeepsItsProfile",
                        "size=256x144 make in.mov -c:v dnxhd -profile:v dnxhr_sq -pix_fmt yuv422p",
                        "render in.mov -o out.mov $none",
                        0,
                        "",
                        {"same \"$(tag profile out.mov)\" 'DNXHR SQ'"}},
                    Row{"DnxhdKeepsItsRate",
                        "size=1280x720 seconds=0.08 make in.mov -c:v dnxhd -b:v 60M -pix_fmt yuv422p",
                        "render in.mov -o out.mov $none",
                        0,
                        "",
                        {"same \"$(tag profile out.mov)\" DNXHD",
                         "same $(tag bit_rate out.mov) $(tag bit_rate in.mov)"}},
                    Row{"DnxhrOfAnything",
                        "size=256x144 make in.mkv -pix_fmt yuv420p -c:v libx264",
                        "render in.mkv -o out.mov --codec dnxhd $none",
                        0,
                        "",
                        {"same \"$(tag profile out.mov)\" 'DNXHR HQ'"}},
                    Row{"FieldsToProgram",
                        "make in.ts -vf setfield=tff -c:v mpeg2video -flags +ildct+ilme -pix_fmt yuv420p",
                        "render in.ts -o out.mpg $none",
                        0,
                        "",
                        {"same $(tag codec_name out.mpg) mpeg2video", "same $(tag field_order out.mpg) tt"}},
                    Row{"Tape",
                        "size=720x480 seconds=0.2 make in.mp4 -r 30000/1001 -f lavfi -i sine -t 0.2 -pix_fmt yuv420p",
                        "render in.mp4 -o out.dv $none",
                        0,
                        "encoded anew as pcm_s16le",
                        {"same $(tag pix_fmt out.dv) yuv411p"}},
                    Row{"NotForTape",
                        "make in.mp4 -pix_fmt yuv420p",
                        "render in.mp4 -o out.dv $none",
                        1,
                        "it takes 720x576 at 25 frames a second",
                        {}},
                    Row{"Telephone",
                        "make in.mp4 -pix_fmt yuv420p",
                        "render in.mp4 -o out.3gp $none",
                        0,
                        "",
                        {"same $(tag codec_name out.3gp) h264"}},
                    Row{"OddSides",
                        "size=96x64 make in.webm -vf scale=95:63 -pix_fmt yuv420p -c:v libvpx-vp9 -b:v 2M",
                        "render in.webm -o out.mp4 $none",
                        0,
                        "95x63 is filled up to 96x64 with the pixels at its edge",
                        {"same $(tag width out.mp4)x$(tag height out.mp4) 96x64",
                         "ff -i out.mp4 -vf crop=95:63:0:0:exact=1,format=gray -c:v ffv1 a.mkv; ff -i in.webm -vf "
                         "format=gray -c:v ffv1 b.mkv; atLeast 29 $(psnr a.mkv b.mkv)",
                         "ff -i out.mp4 -vf crop=1:62:95:0:exact=1,format=gray -c:v ffv1 a.mkv; ff -i out.mp4 -vf "
                         "crop=1:62:94:0:exact=1,format=gray -c:v ffv1 b.mkv; atLeast 32 $(psnr a.mkv b.mkv)"}},
                    Row{"HdrToMp4",
                        "hdr",
                        "render in.mp4 -o out.mp4 $none",
                        0,
                        nullptr,
                        {"same $(tag codec_name out.mp4)$(tag codec_tag_string out.mp4)$(tag color_transfer out.mp4) "
                         "hevchvc1smpte2084",
                         "same \"$(light out.mp4)\" \"$(light in.mp4)\""}},
                    Row{"HdrToTransport",
                        "hdr",
                        "render in.mp4 -o out.ts $none",
                        0,
                        nullptr,
                        {"same $(tag codec_name out.ts)$(tag color_transfer out.ts) hevcsmpte2084",
                         "same \"$(light out.ts)\" \"$(light in.mp4)\""}},
                    Row{"HdrToWebm",
                        "hdr",
                        "render in.mp4 -o out.webm --frames 3 $none",
                        0,
                        nullptr,
                        {"same $(tag codec_name out.webm)$(tag color_transfer out.webm) av1smpte2084",
                         "same \"$(light out.webm)\" 'max_content=1000 red_x=17/25 '"}},
                    Row{"HdrWithSdr",
                        "hdr; make b.mp4 -pix_fmt yuv420p",
                        "join in.mp4 in.mp4 b.mp4 -o out.mp4 --transition Dissolve",
                        1,
                        "in.mp4 is HDR (PQ) and b.mp4 is SDR",
                        {}},
                    Row{"SdrOverHdr",
                        "hdr; make b.mp4 -pix_fmt yuv420p",
                        "render b.mp4 --over in.mp4 -o out.mp4",
                        1,
                        "`ffmpeg -i in.mp4 -vf zscale=t=linear",
                        {}},
                    Row{"VaryingRateInMovies",
                        "make in.mkv -vf \"setpts='N/25/TB+eq(mod(N,3),1)*0.012/TB'\" -vsync passthrough "
                        "-enc_time_base 1/1000 -pix_fmt yuv420p -c:v libx264",
                        "render in.mkv -o out.mp4 $none",
                        0,
                        "",
                        {"same \"$(stamps out.mp4)\" \"$(stamps in.mkv)\""}},
                    Row{"SubtitlesEndWithACut",
                        "printf '1\\n00:00:00,200 --> 00:00:01,900\\nlong\\n' >s.srt; make in.mkv -i s.srt -pix_fmt "
                        "yuv420p -c:v libx264 -c:s srt",
                        "render in.mkv -o out.mkv --start 0.4 --frames 20 $none",
                        0,
                        "",
                        {"same $(look s packet=duration_time out.mkv) 0.800000"}}),
    nameOf);

constexpr const char* clear = "make in.png -vf format=rgba,geq=r=X:g=Y:b=0:a=X -frames:v 1";

INSTANTIATE_TEST_SUITE_P(
    Alpha, Writing,
    testing::Values(
        Row{"PictureToMov",
            clear,
            "render in.png -o out.mov $none",
            0,
            "out.mov is encoded with prores_ks",
            {"same $(tag profile out.mov) 4444"}},
        Row{"PictureToMp4", clear, "render in.png -o out.mp4 $none", 0, "out.mp4 has no alpha as libx264 yuv420p", {}},
        Row{"PictureToJpeg", clear, "render in.png -o out.jpg $none", 0, "laid over black", {}},
        Row{"OpaqueOneToMov",
            "make in.png -frames:v 1 -pix_fmt rgba",
            "render in.png -o out.mov $none",
            0,
            "",
            {"same $(tag codec_name out.mov) h264"}},
        Row{"TitleToMov",
            "true",
            "generate Text -o out.mov --size 96x64 --duration 0.2 --set text=Hi",
            0,
            "encoded with prores_ks",
            {"ff -i out.mov -vf alphaextract,format=gray -frames:v 1 -f rawvideo a; atLeast 2 $(od -An -v -tu1 -w1 a | "
             "sort -u | wc -l)"}},
        Row{"BarsToMov",
            "true",
            "generate 'Test Pattern' -o out.mov --size 96x64 --duration 0.2",
            0,
            "",
            {"same $(tag codec_name out.mov) h264"}},
        Row{"KeyedToMov",
            "make in.mp4 -vf drawbox=c=0x10C030:t=fill -pix_fmt yuv420p",
            "render in.mp4 -o out.mov --effect 'Chroma Keyer' --preset 'Green Screen'",
            0,
            "encoded with prores_ks",
            {"same $(tag codec_name out.mov) prores"}},
        Row{"KeyedOverAClip",
            "make in.mp4 -vf drawbox=c=0x10C030:t=fill -pix_fmt yuv420p; make b.mp4 -pix_fmt yuv420p",
            "render in.mp4 -o out.mov --over b.mp4 --effect 'Chroma Keyer' --preset 'Green Screen'",
            0,
            "",
            {"same $(tag codec_name out.mov) h264"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Settings, Writing,
    testing::Values(
        Row{"EncodersOwn",
            "make in.mkv -pix_fmt yuv420p -c:v ffv1",
            "render in.mkv -o out.mkv --codec libx264 --encoder-option g=5 --encoder-option preset=ultrafast $none",
            0,
            "",
            {"same \"$(look v packet=flags out.mkv | grep -c K)\" 10"}},
        Row{"NoSuchSetting",
            "make in.mkv -pix_fmt yuv420p -c:v ffv1",
            "render in.mkv -o out.mkv --encoder-option crop=5 $none",
            2,
            "ffv1 has no option called crop",
            {}},
        Row{"NoQualityToSet",
            "make in.mkv -pix_fmt yuv420p -c:v ffv1",
            "render in.mkv -o out.mkv --quality 50 $none",
            0,
            "ffv1 has no quality to set",
            {}},
        Row{"BitRate",
            "size=352x288 make in.mkv -pix_fmt yuv420p -c:v ffv1; larkmoor() { " LARKMOOR_COMMAND_FILE
            " render in.mkv --codec mpeg4 $none \"$@\"; }; larkmoor -o a.mkv --bitrate 300k",
            "render in.mkv -o out.mkv --codec mpeg4 --bitrate 2M $none",
            0,
            "",
            {"ascends $(stat -c %s a.mkv) $(stat -c %s out.mkv)"}}),
    nameOf);

class Quality : public CommandTest, public testing::WithParamInterface<const char*> {};

/// What the encoder ENCODER.ENDING makes of a moving picture is better with each step up.
TEST_P(Quality, MoreIsBetter) {
    const std::string row = GetParam(), encoder = row.substr(0, row.find('.')), ending = row.substr(row.find('.'));
    const bool picture =
        ending.size() > 1 && (ending == ".jpg" || ending == ".jxl" || ending == ".webp" || ending == ".jp2");
    const std::string in = picture ? "in.png" : "in.mkv", out = "out" + ending;
    const Outcome outcome =
        shell(". " LARKMOOR_TEST_FOLDER "/apps/media/words.sh; " +
              (moreWords + std::string("set -e; size=256x144 make ")) + in + " -vf noise=alls=6:all_seed=1 " +
              (picture ? "-pix_fmt rgb24 -frames:v 1" : "-pix_fmt yuv420p -c:v ffv1 -frames:v 4") +
              "; seen=; for q in 0 40 75 100; do " LARKMOOR_COMMAND_FILE " render " + in + " -y -o " + out +
              " --codec " + encoder + " --quality $q $none; ff -i " + out +
              " -vf scale=in_range=auto:out_range=tv,format=yuv420p -c:v ffv1 a.mkv; "
              "ff -i " +
              in +
              " -pix_fmt yuv420p -c:v ffv1 b.mkv; p=$(psnr b.mkv a.mkv); [ $p != inf ] || p=999; seen=\"$seen $p\"; "
              "done; echo \"$seen\" >&2; ascends $seen");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(Encoders, Quality,
                         testing::Values("libx264.mkv", "libx265.mkv", "mpeg4.avi", "mpeg2video.mpg", "mpeg1video.mkv",
                                         "mjpeg.jpg", "libvpx.webm", "libvpx-vp9.webm", "libsvtav1.mkv", "librav1e.mkv",
                                         "libtheora.ogv", "snow.nut", "libjxl.jxl", "libwebp.webp", "libopenjpeg.jp2",
                                         "dnxhd.mov"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::ranges::replace_if(
                                 name, [](char c) { return !std::isalnum(c); }, '_');
                             return name;
                         });

} // namespace
