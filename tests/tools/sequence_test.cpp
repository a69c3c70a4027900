// sequence_test.cpp - the conversion of sequences, run as users run it.
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <spawn.h>
#include <thread>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "shell.h"

using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class Sequences : public Shell {
protected:
    // Makes tiny pictures; no two frames are alike.
    static void make(std::initializer_list<const char *> numbers) {
        int width = 3;
        for (const char *number : numbers)
            write_file("s." + std::string(number) + ".pam", pam(width++, 5, 3, 1));
    }
    // The lines of JSON, by frame.
    static std::map<int, json> lines(const std::string &text) {
        std::map<int, json> all;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            const json result = json::parse(line);
            EXPECT_TRUE(all.emplace(result["frame"], result).second) << line;
        }
        return all;
    }
    static std::vector<std::string> statuses(const std::string &text) {
        std::vector<std::string> all;
        for (const auto &[frame, line] : lines(text))
            all.push_back(std::to_string(frame) + " " + line["status"].get<std::string>());
        return all;
    }
};

TEST_F(Sequences, InParallelGiveWhatSingleConversionsGive) {
    for (const std::string options : {"", " --resize 60x --display --primaries rec2020"})
        good("for i in 01 02 03 04 05 06 07 08 09 10 11 12; do render_frame f.$i.mox $i 90 70;"
             "zor -q convert f.$i.mox one.$i.png" +
             options + " && test $(wc -c <one.$i.png) -gt 1000 || exit 1; done; " +
             "zor -q convert f.##.mox serial.##.png --jobs 1" + options + " && " +
             "zor -q convert f.##.mox parallel.##.png --jobs 4" + options + " && " +
             "for i in one.*; do cmp $i serial${i#one} && cmp $i parallel${i#one} || exit 1; done");
}

TEST_F(Sequences, AreAllFilesThatMatchOrThoseAskedFor) {
    make({"1000", "999", "-002", "5", "005", "0007", "1001x"});
    good("zor convert s.###.pam a.#####.png --jobs 1");
    const auto made = [&](const std::string &prefix) {
        std::set<std::string> names;
        for (const std::string &name : files()) {
            if (name.starts_with(prefix))
                names.insert(name.substr(prefix.size()));
        }
        return names;
    };
    EXPECT_THAT(made("a."), ElementsAre("-00002.png", "00005.png", "00999.png", "01000.png"));
    EXPECT_THAT(good("zor convert s.###.pam b.#.png --frames=1000-998x1,-2 --jobs 1 --json "
                     "--missing skip"),
                AllOf(HasSubstr("{\"frame\":1000,\"input\":\"s.1000.pam\","
                                "\"output\":\"b.1000.png\",\"status\":\"done\","
                                "\"message\":null,\"seconds\":"),
                      HasSubstr("\"s.998.pam\",\"output\":\"b.998.png\",\"status\":\"missing\"")));
    EXPECT_THAT(made("b."), ElementsAre("-2.png", "1000.png", "999.png"));
    good("zor convert s.###.pam c.png --frames 5");
    EXPECT_EQ(read_file("c.png").substr(16, 8), read_file("a.00005.png").substr(16, 8));

    // A name with a # that is there is that file.
    fs::copy("s.5.pam", "s.##.pam");
    const json line = json::parse(good("zor convert s.##.pam d.#.png --json"));
    EXPECT_EQ(line["frame"], json());
    EXPECT_EQ(line["output"], "d.#.png");
}

TEST_F(Sequences, TreatMissingFramesAsAsked) {
    make({"02", "03", "06"});
    const std::string command = "zor convert s.##.pam o.##.png --frames 1-6 --json ";
    const std::tuple<const char *, int, std::vector<std::string>> cases[] = {
        {"--jobs 1", 1, {"1 failed"}},
        {"--on-error skip", 1, {"1 failed", "2 done", "3 done", "4 failed", "5 failed", "6 done"}},
        {"--missing skip",
         0,
         {"1 missing", "2 done", "3 done", "4 missing", "5 missing", "6 done"}},
        {"--missing hold --jobs 1", 1, {"1 failed"}},
        {"--missing hold --on-error skip --jobs 3",
         1,
         {"1 failed", "2 done", "3 done", "4 held", "5 held", "6 done"}},
    };
    for (const auto &[options, code, expected] : cases) {
        const Run result = run(command + options);
        EXPECT_EQ(result.code, code) << options;
        EXPECT_EQ(statuses(result.out), expected) << options;
        EXPECT_THAT(result.err, HasSubstr("s.01.pam: ")) << options;
    }
    EXPECT_EQ(read_file("o.05.png").substr(0, 40), read_file("o.03.png").substr(0, 40));
    EXPECT_FALSE(fs::exists("o.01.png"));
    const Run held = run("zor convert s.##.pam o.##.png --frames 5 --missing hold --json");
    EXPECT_EQ(held.code, 0);
    EXPECT_EQ(lines(held.out)[5]["input"], "s.03.pam");
    EXPECT_THAT(held.err, AllOf(HasSubstr("zor: s.05.pam: there is no such frame, s.03.pam"),
                                HasSubstr("0 frames converted, 1 held")));
    const Run none = run("zor convert s.##.pam o.##.png --frames 11-99 --missing skip -q");
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.err, "zor: none of the frames is there\n");
}

TEST_F(Sequences, TellEachFramesOwnFailure) {
    make({"1", "3", "5", "6"});
    write_file("s.2.pam", "P7\nWIDTH nonsense\n");
    write_file("s.4.pam", pam(40, 50, 3, 1).substr(0, 3000)); // ends in mid-picture
    fs::create_directory("o.6.png");
    for (const char *jobs : {"--jobs 1", "--jobs 4"}) {
        const Run skipping =
            run(std::string("zor convert s.#.pam o.#.png --json --on-error skip ") + jobs);
        EXPECT_EQ(skipping.code, 4) << "an output counts more than inputs";
        auto told = lines(skipping.out);
        EXPECT_THAT(told[2]["message"], testing::StartsWith("s.2.pam: "));
        EXPECT_THAT(told[4]["message"], testing::StartsWith("s.4.pam: "));
        EXPECT_THAT(told[6]["message"], HasSubstr("o.6.png: Is a directory"));
        EXPECT_EQ(told[5]["message"], json());
        EXPECT_GE(told[5]["seconds"], 0);
        EXPECT_THAT(skipping.err, AllOf(HasSubstr("zor: s.2.pam: "), HasSubstr("zor: s.4.pam: "),
                                        HasSubstr("3 frames converted, 3 failed")));
    }
    EXPECT_THAT(files(), Not(testing::Contains("o.4.png")));

    const Run stopping = run("zor convert s.#.pam p.#.png --jobs 1");
    EXPECT_EQ(stopping.code, 1);
    EXPECT_THAT(stopping.err, HasSubstr("1 frames converted, 1 failed, 4 not converted"));
    EXPECT_FALSE(fs::exists("p.3.png"));

    // What all frames lose is said once.
    good("for i in 1 2 3; do render_frame f.$i.mox $i 8 6; done");
    EXPECT_EQ(run("zor convert f.#.mox f.#.png --jobs 1").err,
              "zor: f.1.png: 1 auxiliary channel left out: png has no place for that\n");
    EXPECT_EQ(run("zor convert --strict f.#.mox f.#.png --json >lines").code, 4);
}

TEST_F(Sequences, ThatMakeNoSenseAreRefused) {
    make({"1", "2"});
    expect_failures(
        "trap 'rm -f o.?.png' EXIT; sleep 0.05; zor convert ",
        {{"s.#.pam o.png", 2, "o.png: more than one frame needs one run of #"},
         {"s.#.pam o.png --frames 1-2", 2, "more than one frame needs"},
         {"s.#.pam o.#.#.png", 2, "more than one frame needs"},
         {"s.1.pam o.#.png --frames 1", 2, "s.1.pam: frames need one run of #"},
         {"s.#.#.pam o.#.png", 2, "frames need one run of #"},
         {"s.#.pam o.#.png --frames 1-", 2, "--frames 1-: expecting"},
         {"s.#.pam o.#.png --frames 4294967296", 2, "32 bits"},
         {"s.#.pam o.#.png --missing ignore", 2, "expecting error|skip|hold, not ignore"},
         {"s.#.pam o.#.png --on-error ignore", 2, "expecting stop|skip, not ignore"},
         {"s.#.pam o.#.png --jobs 0", 2, "--jobs"},
         {"s.#.pam o.#", 2, "no format has this extension"},
         {"s.1.pam - --to png --json", 2, "--json"},
         {"t.#.pam o.#.png", 1, "t.#.pam: there is no frame"},
         {"absent/t.#.pam o.#.png", 1, "absent/t.#.pam: No such file"},
         {"s.#.pam o.#.png --frames 1-2147483647,1-2147483647 --jobs 1", 1, " not converted"},
         {"s.#.pam /dev/full --to png --frames 1 --json", 4, "/dev/full: No space left"},
         {"s.#.pam o.#.png --json >/dev/full", 4, "standard output: No space left"},
         // Nobody reads the lines.
         {"s.#.pam o.#.png --frames 1,1-2 --json --jobs 1 | true", 0, ""}});
}

TEST_F(Sequences, ShowProgressOnATerminalOnly) {
    make({"1", "2"});
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    fcntl(terminal, F_SETFL, O_NONBLOCK);
    const auto said = [&](const std::string &options) {
        // Held up by a pipe, so that there is time to see the line.
        good("mkfifo s.3.pam; ( sleep 0.4; cat s.1.pam >s.3.pam ) & zor convert --from pam "
             "--jobs 1 s.#.pam o.#.png --frames 1-3 2>" +
             std::string(ptsname(terminal)) + options + "; rm s.3.pam");
        std::string text;
        for (char c; read(terminal, &c, 1) == 1;)
            text += c;
        return text;
    };
    const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY); // keeps what is written
    const std::string line = said("");
    EXPECT_THAT(line,
                AllOf(HasSubstr("2/3 frames  "), HasSubstr("/s  0:00:0"), HasSubstr(" left")));
    EXPECT_TRUE(line.ends_with("   \r")) << "it goes away: " << line;
    EXPECT_THAT(said(" -q"), IsEmpty());
    close(other_end);
    close(terminal);
    EXPECT_THAT(run("zor convert s.#.pam o.#.png").err, IsEmpty());
}

// Starts a conversion, interrupts it when it has begun a file, and returns how long it took to end.
class Interrupted : public Sequences {
protected:
    double interrupt(const std::vector<const char *> &arguments, int signal) {
        std::vector<char *> argv;
        for (const char *argument : arguments)
            argv.push_back(const_cast<char *>(argument));
        argv.push_back(nullptr);
        pid_t child = 0;
        EXPECT_EQ(posix_spawnp(&child, "zor", nullptr, nullptr, argv.data(), environ), 0);
        for (int i = 0; i < 2000 && temporary_files() == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_GT(temporary_files(), 0) << "there was something to remove";
        const auto start = std::chrono::steady_clock::now();
        kill(child, signal);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 130);
        EXPECT_EQ(temporary_files(), 0);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    static long temporary_files() {
        const auto all = files();
        return std::count_if(all.begin(), all.end(),
                             [](const std::string &name) { return name.starts_with(".zor-"); });
    }
};

TEST_F(Interrupted, StopAtOnceAndLeaveNothingUnfinished) {
    write_file("s.1.pam", pam(2000, 1500, 3, 2)); // takes about a second
    for (const char *name : {"s.2.pam", "s.3.pam", "s.4.pam", "s.5.pam"})
        fs::create_symlink("s.1.pam", name);
    good("mkfifo p.1.pam");
    const std::vector<const char *> busy = {"zor", "-q", "convert", "s.#.pam", "o.#.png", "-j2"};
    // Waits in a thread for lines that never come.
    const std::vector<const char *> stuck = {"zor",      "-q", "convert", "--from", "pam",
                                             "--frames", "1",  "p.#.pam", "p.#.png"};
    for (const auto &[arguments, signal] :
         {std::pair(busy, SIGINT), {busy, SIGTERM}, {stuck, SIGINT}}) {
        const int pipe = open("p.1.pam", O_RDWR);
        const std::string head = pam(2000, 1500, 3, 2).substr(0, 9000);
        EXPECT_EQ(write(pipe, head.data(), head.size()), static_cast<ssize_t>(head.size()));
        EXPECT_LT(interrupt(arguments, signal), 2.0) << arguments[3]; // other programs may be busy
        close(pipe);
    }
    for (const std::string &name : files()) { // the one or other frame may have come to its end
        if (name.ends_with(".png"))
            good("zor convert " + name + " whole.pam");
    }
}

} // namespace
