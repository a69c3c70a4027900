// hostile_test.cpp - drivers that say of their images what cannot be, promise what they do not have
// and fail where nobody fails.
#include "core/library.h"
#include "core/tape.h"
#include "support/driver_test.h"
#include "zor/ops.h"

namespace {

using I = ZOR_IMAGE;
using D = ZOR_IMAGE_DESC;

class HostileDriver : public testing::Test {
protected:
    // The module may outlive the library that loaded it.
    HostileDriver() { tape = {0, 0, never, 0, 1, nullptr}; }
    ~HostileDriver() override { tape = {0, 0, never, 0, 1, nullptr}; }

    ZOR_IMAGE *open(Mischief mischief, const char *mode = "r") {
        tape.mischief = mischief;
        library.log.clear();
        Request request("a.tape");
        request.add(tape_width, 4);
        return request.open(mode);
    }
    void expect(const Failure &failure, int status) {
        EXPECT_EQ(status, failure.status) << library.log.text();
        EXPECT_EQ(zor__err, failure.status);
        ASSERT_EQ(library.log.reports.size(), 1U) << library.log.text();
        EXPECT_EQ(library.log.reports[0].format, failure.format);
        library.log.clear();
    }

    Library library{"tape"};
    TapeState &tape = *library.variable<TapeState>(0, "tape_state");
};

ZOR_IMAGE *playing;
Mischief late; // done when another frame is asked for

TEST_F(HostileDriver, DescriptionsThatCannotBeAreRefused) {
    const Failure request(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE);
    const Failure type(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE);
    const Failure width(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH);
    const std::pair<Mischief, Failure> cases[] = {
        {[](I &, D &desc) { desc.win_right = desc.act_right = -1; }, request},
        {[](I &, D &desc) { desc.win_left = -2, desc.win_right = INT32_MAX; }, request},
        {[](I &, D &desc) { desc.win_left = desc.act_left = INT32_MIN; }, request},
        {[](I &, D &desc) { desc.win_top = desc.act_top = INT32_MIN; }, request},
        {[](I &, D &desc) { desc.act_right = desc.win_right + 1; }, request},
        {[](I &image, D &) { image.num_images = -1; }, request},
        {[](I &image, D &) { image.num_images = 5; }, request},
        {[](I &, D &desc) { desc.image.count = INT32_MAX; }, request},
        {[](I &, D &desc) { desc.image.count = -1; }, type},
        {[](I &, D &desc) { desc.image.type = 9; }, type},
        {[](I &, D &desc) { desc.image.bits = 0; }, width},
        {[](I &, D &desc) { desc.image.bits = 33; }, width},
        {[](I &, D &desc) { desc.image.bits = 40000; }, width},
        {[](I &, D &desc) { desc.matte.count = -1; }, {ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE}},
        {[](I &, D &desc) {
             desc.aux = {1, 1, 64};
         },
         {ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_WIDTH}}};
    int refused = 0;
    for (const char *mode : {"r", "w"})
        for (const auto &[mischief, failure] : cases) {
            SCOPED_TRACE(refused);
            ZOR_IMAGE *image = open(mischief, mode);
            expect(failure, image == nullptr ? zor__err : 0);
            EXPECT_EQ(tape.closes, ++refused);

            // A frame that cannot be leaves nothing that could be.
            late = mischief;
            playing = open(
                [](I &handle, D &) {
                    handle.num_frames = 2;
                    handle.set_frame = [](void *, ZOR_WORD) {
                        return late(*playing, playing->images[0]), 0;
                    };
                },
                mode);
            ASSERT_NE(playing, nullptr);
            expect(failure, ZOR_set_frame(playing, 1));
            EXPECT_EQ(ZOR_image_count(playing), 1);
            EXPECT_EQ(playing->images[0].image.count, 0);
            EXPECT_EQ(playing->images[0].win_right, 0);
            EXPECT_EQ(ZOR_close(playing), 0);
            ++refused;
        }
}

TEST_F(HostileDriver, FunctionsAreMissingAndAnswersAreOdd) {
    for (const int odd : {0, -7})
        for (const char *mode : {"r", "w"}) {
            tape.answer = odd;
            EXPECT_EQ(open(nullptr, mode), nullptr);
        }
    tape.answer = 77;
    ZOR_IMAGE *image = open([](I &handle, D &desc) {
        handle.num_frames = -1;
        desc.orientation = -1;
        desc.curve.gamma = -2;
        desc.curve.kind = 3;
    });
    ASSERT_NE(image, nullptr) << library.log.text();
    EXPECT_EQ(ZOR_set_frame(image, 1), ZOR_E_UNSUPPORTED);
    static int (*close)(ZOR_IMAGE *);
    close = image->close;
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(open([](I &handle, D &) { handle.num_images = 0; }, "w"), nullptr);
    image = open([](I &handle, D &) { handle.close = nullptr; }, "w"); // nobody can close it
    EXPECT_EQ(ZOR_close(image) + ZOR_close_do_it(image), 2 * ZOR_E_UNSUPPORTED);
    image->close = close;
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(open([](I &handle, D &) { // nor can the library, which frees what there is
                  handle.num_images = 2;
                  handle.close = nullptr;
              }),
              nullptr);
    image = open([](I &handle, D &) {
        handle.close = [](ZOR_IMAGE *opened) { return close(opened) - 99; };
    });
    EXPECT_EQ(ZOR_close(image), -99) << "is for the application to know";
}

// What a driver says of whole frames is cut to what can be, and lines that it left out are missed.
TEST_F(HostileDriver, WholeFramesThatCannotBe) {
    static std::pair<int, int32_t> said;
    ZOR_IMAGE *image = open([](I &handle, D &) {
        zor__offer_rasters(&handle, [](void *, ZOR_RASTER *raster) {
            return raster->lines_done = said.second, said.first;
        });
    });
    const std::pair<int, int32_t> cases[][2] = {{{3, -77}, {ZOR_E_READ, 0}},
                                                {{0, 3}, {ZOR_E_READ, 3}},
                                                {{3, 10}, {0, 10}},
                                                {{-5, 99}, {-5, 10}},
                                                {{-5, 2}, {-5, 2}}};
    for (const auto &[saying, told] : cases) {
        said = saying;
        ZOR_PLANE plane = {};
        ZOR_RASTER raster = {0, 0, tape_width - 1, tape_bottom, tape_top, 1, 1, &plane, 0};
        EXPECT_EQ(ZOR_raster_read(image, &raster), told.first);
        EXPECT_EQ(raster.lines_done, told.second);
    }
    EXPECT_EQ(ZOR_close(image), 0);
}

// Scan functions, and what an application gets of them, plainly and through operators.
TEST_F(HostileDriver, LinesThatAreNotThere) {
    static uint8_t samples[100];
    static void *rows[] = {samples, nullptr};
    const std::pair<ZOR_SCAN_FUNCTION, int> cases[] = {
        {[](void *, int, void **) { return 0; }, ZOR_E_READ}, // and no rows
        {[](void *, int, void **to) { return *to = nullptr, 0; }, ZOR_E_READ},
        {[](void *, int, void **) { return -3; }, -3},
        {[](void *, int y, void **to) { return *to = rows, y < 15 ? ZOR_E_READ : 0; }, ZOR_E_READ}};
    for (const auto &[scan, status] : cases)
        for (const bool operated : {false, true}) {
            ZOR_IMAGE *image = open(nullptr);
            image->scan = scan;
            if (operated) {
                ZOR__cast(image);
                ZOR__resize(image, 5, 4, ZOR_FILTER_LANCZOS_3);
                ZOR__clip(image);
            }
            void **read = nullptr;
            const int32_t before = image->last_scanline;
            EXPECT_EQ(ZOR_scan_read(image, image->images[0].win_bottom + 1, &read), status);
            EXPECT_EQ(image->last_scanline, before);
            EXPECT_EQ(ZOR_close(image), 0);
        }
}

} // namespace
