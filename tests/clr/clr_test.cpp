// clr_test.cpp - colour settings, and the weights of sample spaces.
#include <set>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "clr/observer.h"
#include "support/fault.h"
#include "support/home.h"
#include "support/report_log.h"
#include "zor/clr.h"
#include "zor/fmt.h"
#include "zor/zor.h"

namespace {

using Numbers = std::vector<float>;

const std::string built_in =
    "3 0.67 0.33 0 0.21 0.71 0.08 0.14 0.08 0.78 0.31 0.316 0.374 380-780 401";

// Makes the database compute its weights, with nothing changed in the end.
const std::string recompute = "clr__min_wavelength 381\nclr__min_wavelength 380\n";

// Functions that are a triangle, so that integrals can be told: rows out of order, the peak given
// twice, and rows where nothing counts.
const std::string triangle =
    "clr__min_wavelength 400\nclr__max_wavelength 600\nclr__tristimulus_tab_res 201\n"
    "clr__tristimulus\n600 9 9 9\n500 7 7 7\n550 .5 .5 .5\n500 1 1 1 and more\n450 5e-1 .5 .5\n"
    "400 9 9 9\n399 9 9 9\nend__tristimulus\n700 is no row\n";

std::string settings() {
    std::ostringstream text;
    text << CLR_def_color_samp();
    for (const float *triple : {CLR_def_red_primary(), CLR_def_green_primary(),
                                CLR_def_blue_primary(), CLR_def_white_point()})
        text << ' ' << triple[0] << ' ' << triple[1] << ' ' << triple[2];
    text << ' ' << CLR_def_min_wavelength() << '-' << CLR_def_max_wavelength() << ' '
         << CLR_def_xyz_tab_res();
    return text.str();
}

Numbers bounds(int32_t n) {
    const CLR_SAMPLES *space = CLR_find(n);
    return space != nullptr ? Numbers(space->bounds, space->bounds + n + 1) : Numbers();
}

// All numbers of all spaces.
Numbers everything() {
    Numbers all;
    for (int32_t n = 1; n <= 4096; ++n)
        if (const CLR_SAMPLES *space = CLR_find(n); space != nullptr) {
            all.push_back(static_cast<float>(n));
            all.insert(all.end(), space->bounds, space->bounds + n + 1);
            all.insert(all.end(), space->inv_width, space->inv_width + n);
            all.insert(all.end(), space->to_xyz, space->to_xyz + 3 * n);
            all.insert(all.end(), space->from_xyz, space->from_xyz + 3 * n);
        }
    return all;
}

class Clr : public ::testing::Test {
protected:
    ~Clr() override { CLR_exit(); }

    int start_with(const std::string &text) {
        CLR_exit();
        write_file(home.file, text);
        return CLR_init(nullptr);
    }

    Home home;
    ReportLog log;
};

TEST_F(Clr, BuiltInValues) {
    ASSERT_EQ(CLR_init(nullptr), 0);
    EXPECT_EQ(settings(), built_in);
    EXPECT_EQ(bounds(3), (Numbers{414, 492, 568, 657}));
    EXPECT_EQ(bounds(10), (Numbers{414, 442, 459, 480, 513, 536, 557, 578, 598, 619, 665}));
    for (const int32_t n : {0, -1, 11, 4096, 4097, INT32_MAX, INT32_MIN})
        EXPECT_EQ(CLR_find(n), nullptr) << n;
    const CLR_SAMPLES *space = CLR_find(3);
    EXPECT_TRUE(space->n == 3 && space->uniform == 0);
    EXPECT_FLOAT_EQ(space->inv_width[1], 1.0F / 76);
    const float expected[] = {.160363F, .047591F, .906228F, .167547F, .533100F,
                              .066714F, .637493F, .408520F, .000521F};
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(space->to_xyz[i], expected[i], 6e-7) << i;
    EXPECT_EQ(log.text(), "");
}

TEST_F(Clr, ComputedWeightsAreTheBuiltInOnes) {
    ASSERT_EQ(start_with("clr__min_wavelength 380.0\nclr__tristimulus\nend__tristimulus\n"), 0);
    const Numbers expected = everything(); // a table without rows counts for nothing
    std::ostringstream rows;
    for (const CLR_TRISTIMULUS &row : zor::clr::observer)
        rows << row.wavelength << ' ' << row.x << ' ' << row.y << ' ' << row.z << '\n';
    const std::string table = "clr__tristimulus\n" + rows.str();
    for (const std::string &text : {recompute, table + "end__tristimulus\n", recompute + table}) {
        ASSERT_EQ(start_with(text), 0);
        EXPECT_TRUE(everything() == expected); // to the last bit
    }
    ASSERT_EQ(start_with("clr__tristimulus\n500 1 1 1\n"), 0);
    EXPECT_TRUE(everything() == expected) << "a table without an end alone is not used";
}

TEST_F(Clr, WeightsAreIntegrals) {
    ASSERT_EQ(start_with(triangle + "clr__sample_bins 4 400 450 \\\n500 525.5 700\n"
                                    "clr__sample_bins 5 600 450 450 500 300 200 1\n"),
              0);
    const auto weight = [](int32_t n, int j) { // that of all three functions
        const float *bin = CLR_find(n)->to_xyz + 3 * j;
        EXPECT_TRUE(bin[0] == bin[1] && bin[0] == bin[2]);
        return double{bin[0]};
    };
    EXPECT_NEAR(weight(4, 0), .125, 3e-7);
    EXPECT_NEAR(weight(4, 1), .375, 3e-7);
    EXPECT_NEAR(weight(4, 2), 25.5 * (1 + .745) / 200, 3e-7); // cuts the cell from 525 to 526
    EXPECT_NEAR(weight(4, 3), 74.5 * .745 / 200, 3e-7);
    EXPECT_NEAR(weight(5, 0), -.875, 3e-7); // edges are taken as they stand
    EXPECT_TRUE(weight(5, 1) == 0 && weight(5, 4) == 0 && CLR_find(5)->inv_width[1] == 0);
    EXPECT_EQ(Numbers(CLR_find(3)->from_xyz, CLR_find(3)->from_xyz + 9), Numbers(9))
        << "three equal functions cannot be told apart";
    EXPECT_EQ(log.text(), "");
}

TEST_F(Clr, WeightsOfSpacesAgree) {
    constexpr int32_t sizes[] = {1, 4, 12, 4096};
    std::string text = "clr__min_wavelength 390.5\nclr__max_wavelength 730\n"
                       "clr__tristimulus_tab_res 77\n";
    for (const int32_t n : sizes)
        text += "clr__sample_bins " + std::to_string(n) + " uniform\n";
    ASSERT_EQ(start_with(text), 0);
    const CLR_SAMPLES &reference = *CLR_find(3);
    const double widths[] = {492 - 390.5, 568 - 492, 730 - 568}; // over the whole range
    for (int c = 0; c < 3; ++c) {
        double there_and_back[3] = {};
        double integral = 0;
        for (int j = 0; j < 3; ++j) {
            const double sample = reference.from_xyz[3 * j + c];
            for (int d = 0; d < 3; ++d)
                there_and_back[d] += sample * double{reference.to_xyz[3 * j + d]};
            integral += sample * widths[j];
        }
        for (int d = 0; d < 3; ++d)
            EXPECT_NEAR(there_and_back[d], c == d ? 1 : 0, 1e-6);
        for (const int32_t n : sizes) {
            const CLR_SAMPLES *space = CLR_find(n);
            EXPECT_TRUE(space->uniform == 1 && space->bounds[0] == 390.5F &&
                        space->bounds[n] == 730);
            double weight = 0;
            double spread = 0;
            for (int32_t j = 0; j < n; ++j) {
                weight += double{space->to_xyz[3 * j + c]};
                spread += double{space->from_xyz[3 * j + c]} / double{space->inv_width[j]};
            }
            EXPECT_NEAR(weight, 1, 1e-5);
            EXPECT_NEAR(spread, integral, 1e-3);
        }
    }
}

TEST_F(Clr, LinesSetValues) {
    ASSERT_EQ(start_with("clr__default_samples 5\nclr__default_red_primary .1 2e-1 0.7\r\n"
                         "clr__default_green_primary 1 2 3\nclr__default_blue_primary 4 5 6x\n"
                         "clr__default_white_point -1 1e99 0\nclr__sample_bins 4 uniform\n"
                         "clr__sample_bins 2 \\\n400 \\ 1 2\n500\\ \\\n600 7\n"
                         "clr__sample_bins 12 uniform x\nclr__sample_bins 12 1 2 3 4 5 6 7 8 9 10 "
                         "11 12 \\\nclr__default_samples 9 \\\nCLR__DEFAULT_SAMPLES 9\n"),
              -1);
    EXPECT_EQ(log.last(), "Invalid configuration file syntax, line 13; expecting a number");
    EXPECT_EQ(bounds(12), Numbers()) << "the former space is gone, the new one was not finished";
    EXPECT_EQ(bounds(2), (Numbers{400, 500, 600}));
    EXPECT_EQ(bounds(4), (Numbers{0, 0, 0, 0, 0})) << "not computed when the start ended";
    EXPECT_EQ(settings(), "5 0.1 0.2 0.7 1 2 3 4 5 6 -1 3.40282e+38 0 380-780 401");

    log.clear();
    ASSERT_EQ(start_with("clr__sample_bins 4 uniform\nclr__min_wavelength 400 nm\n\n"
                         "clr__default_white_point 1 2\nclr__tristimulus 1\nend__tristimulus x\n"
                         "clr__default_samples\n# clr__default_samples 9\nother 9\n"
                         "clr__default_samples nine"),
              0);
    EXPECT_EQ(bounds(4), (Numbers{380, 480, 580, 680, 780}));
    EXPECT_EQ(settings(), "0" + built_in.substr(1));
    std::string reports;
    for (const char *line : {"2", "4", "5", "6", "7"})
        reports += home.file + ": Invalid configuration file syntax, line " + line + "\n";
    EXPECT_EQ(log.text(), reports);
    EXPECT_EQ(start_with(""), 0);
    EXPECT_EQ(settings(), built_in) << "nothing outlives the exit";
}

TEST_F(Clr, BadFilesEndTheStart) {
    const std::string range = "Invalid wavelength sampling range, ";
    const std::string check = "; (check the configuration file)";
    const std::string function = "Invalid matching function (check the configuration file color "
                                 "matching function)";
    const std::string word = "Invalid configuration file syntax, line ";
    const std::string syntax = home.file + ": " + word;
    const std::pair<std::string, std::string> cases[] = {
        {"clr__max_wavelength 380", range + "(380.000000, 380.000000)" + check},
        {"clr__min_wavelength 0", range + "(0.000000, 780.000000)" + check},
        {"clr__tristimulus_tab_res 1", "Invalid table resolution (1)" + check},
        {"clr__tristimulus_tab_res 1000001", "Invalid table resolution (1000001)" + check},
        {"clr__tristimulus\n500 1 0 1\nend__tristimulus\n", function},
        {recompute + "clr__tristimulus", function}, // no built-in rows then
        {recompute + "end__tristimulus\nclr__tristimulus\n500 1 1 1", function},
        {"clr__sample_bins", syntax + "1"},
        {"\nclr__sample_bins 0 uniform", syntax + "2"},
        {"clr__sample_bins 4097 uniform", syntax + "1"},
        {"clr__sample_bins 2 400 500\n600", syntax + "1"},
        {"clr__sample_bins 2 400 500 \\\n\n600", syntax + "2"},
        {"clr__sample_bins 2 400 500\\\n600", syntax + "1"},
        {"clr__sample_bins 2 400 500 \\", syntax + "1"},
        {"clr__sample_bins 15 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", syntax + "1"},
        // Words for numbers leave a database that is up, without weights.
        {"clr__default_red_primary 1 2 z", word + "1"},
        {"clr__max_wavelength inf", word + "1"},
        {"clr__sample_bins 2 1 2 Uniform", word + "1"},
        {"clr__tristimulus\n1 2 3", word + "2"},
        {"clr__tristimulus\n# 1 2 3", word + "2"},
    };
    for (const auto &[text, report] : cases) {
        SCOPED_TRACE(text);
        const bool up = report.starts_with(word);
        log.clear();
        zor__err = 0;
        EXPECT_EQ(start_with(text), -1);
        EXPECT_EQ(log.text(), report + (up ? "; expecting a number\n" : "\n"));
        EXPECT_EQ(zor__err, ZOR_E_MEMORY);
        EXPECT_EQ(CLR_find(3) != nullptr, up) << "started on demand";
        if (up) {
            EXPECT_EQ(settings(), built_in);
            EXPECT_EQ(Numbers(CLR_find(3)->to_xyz, CLR_find(3)->to_xyz + 9), Numbers(9));
        }
    }
}

TEST_F(Clr, SharesTheFileAndTheLibrarysStart) {
    write_file(home.file, "fmt__frame_rate 7\nclr__default_samples 7\nclr__default_samples\n");
    ASSERT_EQ(ZOR_init(&home, nullptr), 0);
    write_file(home.file, "clr__default_samples 8\nclr__max_wavelength one\n");
    EXPECT_EQ(CLR_def_color_samp(), 7);
    EXPECT_EQ(log.last(), home.file + ": Invalid configuration file syntax, line 3")
        << "lines count from 1 for each database";
    CLR_exit();
    ERR_unmask_s(ERR_DEBUG);
    EXPECT_EQ(CLR_def_color_samp(), 8) << "the first exit closes the file for all";
    EXPECT_EQ(log.last(), "clr, initializing database for CLR_def_color_samp request");
    ERR_mask_s(ERR_DEBUG);
    EXPECT_EQ(FMT_def_frame_rate(), 7U);
    ZOR_exit();
    FMT_exit();
    CLR_exit();
    EXPECT_EQ(ZOR_init(nullptr, nullptr), -1);
    EXPECT_EQ(ZOR_init(nullptr, nullptr), 0) << "with what there is";
    ZOR_exit();
}

TEST_F(Clr, FailingAllocations) {
    write_file(home.file, triangle + "clr__sample_bins 20 uniform\n");
    std::set<int> results;
    for_each_failing_allocation([&](Fault &fault) {
        zor__err = 0;
        log.clear();
        const int result = CLR_init(nullptr);
        results.insert(result);
        EXPECT_EQ(log.count(FMT_MSG_NO_MEMORY), fault.struck() ? 1 : 0);
        EXPECT_EQ(zor__err, result == 0 ? 0 : ZOR_E_MEMORY);
        EXPECT_EQ(result == -1, fault.live() == 0);
        CLR_exit();
        EXPECT_EQ(fault.live(), 0);
    });
    EXPECT_EQ(results, (std::set<int>{-1, 0}));
}

} // namespace
