// sequence_test.cpp - which frames of sequences are converted, and what is told of them.
#include <map>

#include <gmock/gmock.h>

#include "tool.h"

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class Sequences : public Tool {
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
    static std::string statuses(const std::string &text) {
        std::string all;
        for (const auto &[frame, line] : lines(text))
            all += std::to_string(frame) + " " + line["status"].get<std::string>() + "; ";
        return all;
    }
};

TEST_F(Sequences, AreAllFilesThatMatchOrThoseAskedFor) {
    make({"1000", "999", "-002", "000", "005"}); // and no frames:
    make({"5", "0007", "1001x", "-000", "00a", "+01", "", "99999999999"});
    fs::create_directory("s.099.pam");
    good("zor convert s.###.pam a.#####.ppm --jobs 1");
    const auto made = [](char first) {
        std::string names;
        for (const std::string &name : files())
            names += name[0] == first ? name + " " : "";
        return names;
    };
    EXPECT_EQ(made('a'), "a.-00002.ppm a.00000.ppm a.00005.ppm a.00999.ppm a.01000.ppm ");
    EXPECT_THAT(good("zor convert s.###.pam b.#.ppm --frames=1000-998x1,-2 --jobs 1 --json "
                     "--missing skip"),
                AllOf(HasSubstr("{\"frame\":1000,\"input\":\"s.1000.pam\","
                                "\"output\":\"b.1000.ppm\",\"status\":\"done\","
                                "\"message\":null,\"seconds\":"),
                      HasSubstr("\"s.998.pam\",\"output\":\"b.998.ppm\",\"status\":\"missing\"")));
    EXPECT_EQ(made('b'), "b.-2.ppm b.1000.ppm b.999.ppm ");
    good("zor convert s.###.pam c.ppm --frames 5");
    EXPECT_EQ(read_file("c.ppm"), read_file("a.00005.ppm"));

    // A name with a # that is there is that file.
    fs::copy("s.5.pam", "s.##.pam");
    const json line = json::parse(good("zor convert s.##.pam d.#.ppm --json"));
    EXPECT_EQ(line["frame"], json());
    EXPECT_EQ(line["output"], "d.#.ppm");
}

TEST_F(Sequences, TreatMissingFramesAsAsked) {
    make({"02", "03", "06"});
    const std::string command = "zor convert s.##.pam o.##.ppm --frames 1-6 --json ";
    const std::tuple<const char *, int, const char *> cases[] = {
        {"--jobs 1", 1, "1 failed; "},
        {"--on-error skip", 1, "1 failed; 2 done; 3 done; 4 failed; 5 failed; 6 done; "},
        {"--missing skip", 0, "1 missing; 2 done; 3 done; 4 missing; 5 missing; 6 done; "},
        {"--missing hold --jobs 1", 1, "1 failed; "},
        {"--missing hold --on-error skip --jobs 3", 1,
         "1 failed; 2 done; 3 done; 4 held; 5 held; 6 done; "},
    };
    for (const auto &[options, code, expected] : cases) {
        const Run result = run(command + options);
        EXPECT_EQ(result.code, code) << options;
        EXPECT_EQ(statuses(result.out), expected) << options;
        EXPECT_THAT(result.err, HasSubstr("s.01.pam: ")) << options;
    }
    EXPECT_EQ(read_file("o.05.ppm"), read_file("o.03.ppm"));
    EXPECT_FALSE(fs::exists("o.01.ppm"));
    const Run held = run("zor convert s.##.pam o.##.ppm --frames 5 --missing hold --json");
    EXPECT_EQ(held.code, 0);
    EXPECT_EQ(lines(held.out)[5]["input"], "s.03.pam");
    EXPECT_THAT(held.err, AllOf(HasSubstr("zor: s.05.pam: there is no such frame, s.03.pam"),
                                HasSubstr("0 frames converted, 1 held")));
    const Run none = run("zor convert s.##.pam o.##.ppm --frames 11-99 --missing skip -q");
    EXPECT_EQ(none.code, 1);
    EXPECT_EQ(none.err, "zor: none of the frames is there\n");
}

TEST_F(Sequences, TellEachFramesOwnFailure) {
    make({"1", "3", "5", "6"});
    write_file("s.2.pam", "P7\nWIDTH nonsense\n");
    write_file("s.4.pam", pam(40, 50, 3, 1).substr(0, 3000)); // ends in mid-picture
    fs::create_directory("o.6.ppm");
    for (const char *jobs : {"--jobs 1", "--jobs 4"}) {
        const Run skipping =
            run(std::string("zor convert s.#.pam o.#.ppm --json --on-error skip ") + jobs);
        EXPECT_EQ(skipping.code, 4) << "an output counts more than inputs";
        auto told = lines(skipping.out);
        for (const auto &[frame, start] :
             {std::pair(2, "s.2.pam: "), {4, "s.4.pam: "}, {6, "o.6.ppm: "}}) {
            EXPECT_THAT(told[frame]["message"], testing::StartsWith(start));
            EXPECT_THAT(skipping.err, HasSubstr(std::string("zor: ") + start));
        }
        EXPECT_EQ(told[5]["message"], json());
        EXPECT_THAT(skipping.err, HasSubstr("3 frames converted, 3 failed"));
    }
    EXPECT_FALSE(fs::exists("o.4.ppm"));

    const Run stopping = run("zor convert s.#.pam p.#.ppm --jobs 1");
    EXPECT_EQ(stopping.code, 1);
    EXPECT_THAT(stopping.err, HasSubstr("1 frame converted, 1 failed, 4 not converted"));
    EXPECT_FALSE(fs::exists("p.3.ppm"));

    // What all frames lose is said once.
    for (const char *frame : {"1", "2", "3"})
        good(std::string("render_frame f.") + frame + ".mox 1 8 6");
    EXPECT_EQ(run("zor convert f.#.mox f.#.pam --jobs 1").err,
              "zor: f.1.pam: 1 auxiliary channel left out: pam has no place for that\n");
    EXPECT_EQ(run("zor convert --strict f.#.mox f.#.pam --json").code, 4);
}

TEST_F(Sequences, ThatMakeNoSenseAreRefused) {
    make({"1", "2"});
    expect_failures("zor convert ",
                    {{"s.#.pam o.ppm", 2, "o.ppm: more than one frame needs one run of #"},
                     {"s.#.pam o.ppm --frames 1-2", 2, "more than one frame needs"},
                     {"s.#.pam o.#.#.ppm", 2, "more than one frame needs"},
                     {"s.1.pam o.#.ppm --frames 1", 2, "s.1.pam: frames need one run of #"},
                     {"s.#.#.pam o.#.ppm", 2, "frames need one run of #"},
                     {"s.#.pam o.#", 2, "no format has this extension"},
                     {"s.1.pam - --to png --json", 2, "--json"},
                     {"t.#.pam o.#.ppm", 1, "t.#.pam: there is no frame"},
                     {"absent/t.#.pam o.#.ppm", 1, "absent/t.#.pam: No such file"}});
    expect_failures("zor convert s.#.pam o.#.ppm --",
                    {{"frames 1-", 2, "--frames 1-: expecting"},
                     {"frames 4294967296", 2, "32 bits"},
                     {"missing ignore", 2, "expecting error|skip|hold, not ignore"},
                     {"on-error ignore", 2, "expecting stop|skip, not ignore"},
                     {"jobs 0", 2, "--jobs"}});
}

} // namespace
