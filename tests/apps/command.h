// Runs the real command, and FFmpeg's to make and look into its files, in a folder that goes away.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

struct Outcome {
    int status = -1;
    std::string out, err;
};

/// A run of the command that ends with a status other than 0, and a piece of its sentence.
struct Refusal {
    std::string arguments;
    int status;
    std::string says;
};

class CommandTest : public testing::Test {
  protected:
    CommandTest() {
        char pattern[] = "/tmp/larkmoor_test_XXXXXX";
        m_folder = ::mkdtemp(pattern);
        ::setenv("LARKMOOR_MODULE", LARKMOOR_MODULE_FILE, 1);
    }
    ~CommandTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    /// A shell's line, run in the folder.
    Outcome shell(const std::string& line) const {
        Outcome outcome;
        const int raw = std::system(("cd " + m_folder + " && { " + line + "; } >.out 2>.err").c_str());
        outcome.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
        outcome.out = content(".out");
        outcome.err = content(".err");
        return outcome;
    }

    Outcome larkmoor(const std::string& arguments) const { return shell(LARKMOOR_COMMAND_FILE " " + arguments); }

    /// One that has to end well.
    Outcome run(const std::string& arguments) const {
        const Outcome outcome = larkmoor(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
        return outcome;
    }

    /// Each says one sentence and leaves nothing. `verb` stands before the arguments.
    void expectRefused(const std::string& verb, std::initializer_list<Refusal> rows) const {
        const std::vector<std::string> before = names();
        for (const Refusal& row : rows) {
            SCOPED_TRACE(verb + row.arguments);
            const Outcome outcome = larkmoor(verb + row.arguments);
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_NE(outcome.err.find(row.says), std::string::npos) << outcome.err;
            EXPECT_TRUE(outcome.err.starts_with("larkmoor: ")) << outcome.err;
            EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
            EXPECT_EQ(names(), before);
        }
    }

    void ffmpeg(const std::string& arguments) const {
        const Outcome outcome = shell("ffmpeg -nostdin -v error -y " + arguments);
        ASSERT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
    }

    /// A small moving clip. `more` goes before the output's name.
    void clip(const std::string& name, const std::string& more, const std::string& seconds = "1") const {
        ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=25:duration=" + seconds + " " + more + " " + name);
    }

    /// What ffprobe shows of `entries`, values only, one section a line.
    std::string probe(const std::string& file, const std::string& entries, const std::string& more = "") const {
        return shell("ffprobe -v error " + more + " -show_entries " + entries + " -of csv=p=0 " + file).out;
    }

    /// Every frame's digest in a pixel format.
    std::string frames(const std::string& file, const std::string& pixelFormat) const {
        return shell("ffmpeg -nostdin -v error -i " + file + " -map 0:v:0 -pix_fmt " + pixelFormat +
                     " -f framemd5 - | grep -v '^#' | sed 's/.*,//'")
            .out;
    }

    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    std::string content(const std::string& name) const {
        std::ifstream file(m_folder + "/" + name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }

    bool exists(const std::string& name) const { return std::filesystem::exists(m_folder + "/" + name); }

    /// Every file's name but the test's own, hidden ones included.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            if (const std::string name = entry.path().filename(); name != ".out" && name != ".err") all.push_back(name);
        std::ranges::sort(all);
        return all;
    }

  private:
    std::string m_folder;
};
