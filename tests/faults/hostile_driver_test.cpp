// hostile_driver_test.cpp - drivers that say of their images what cannot be, promise what they do
// not have and fail where nobody fails. The module's symbols are in this program.
#include <functional>

#include "support/driver_test.h"
#include "support/system.h"
#include "zor/ops.h"

ZOR_MODULE("hostile", ".hostile", "Hostile", 0);
ZOR_MODULE_NUMBER(imageNumberOfChannels, 3);

namespace {

using Mischief = std::function<void(ZOR_IMAGE &image)>;
const Mischief *mischief; // what the next image is made with
int answer;               // of opening
int closed;

int close_image(ZOR_IMAGE *image) {
    zor__free_obj(image);
    ++closed;
    return 0;
}

int read_line(void *channels, int, void **rows) {
    *rows = channels;
    return 0;
}

int open_with_mischief(ZOR_IMAGE *image) {
    if (image->num_images == 0) {
        zor__build_handle(image, 1);
        zor__describe(&image->images[0], 8, 4, 3, 8);
    }
    image->data[0] = ZOR_chan_alloc(image, 0);
    image->scan = read_line;
    image->close = close_image;
    (*mischief)(*image);
    return answer;
}

class HostileDriver : public DriverTest {
protected:
    HostileDriver() {
        delivered_ = 0;
        EXPECT_EQ(ZOR_init(nullptr, next_module), 0);
        answer = 1;
        closed = 0;
    }
    ~HostileDriver() override { ZOR_exit(); }

    ZOR_IMAGE *open(const Mischief &with, const char *mode = "r") {
        mischief = &with;
        log.clear();
        Request request("a", "hostile");
        request.add(8, 4);
        return request.open(mode);
    }

private:
    static unsigned char next_module(void **module, const char **name) {
        *module = this_program();
        *name = "hostile";
        return delivered_++ == 0 ? 1 : 0;
    }
    inline static int delivered_;
};

} // namespace

int imageReadOpen(ZOR_IMAGE *image) { return open_with_mischief(image); }
int imageWriteOpen(ZOR_IMAGE *image) { return open_with_mischief(image); }

namespace {

TEST_F(HostileDriver, DescriptionsThatCannotBeAreRefused) {
    const Failure request(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE);
    const Failure type(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_TYPE);
    const Failure width(ZOR_E_UNSUPPORTED, ZOR_MSG_IMAGE_WIDTH);
    const auto window = [](int left, int right, int bottom, int top) {
        return [=](ZOR_IMAGE &image) {
            ZOR_IMAGE_DESC &desc = image.images[0];
            desc.win_left = desc.act_left = left;
            desc.win_right = desc.act_right = right;
            desc.win_bottom = desc.act_bottom = bottom;
            desc.win_top = desc.act_top = top;
        };
    };
    const auto group = [](ZOR_CHANNELS ZOR_IMAGE_DESC::*which, ZOR_CHANNELS value) {
        return [=](ZOR_IMAGE &image) { image.images[0].*which = value; };
    };
    const auto colours = [&](ZOR_CHANNELS value) { return group(&ZOR_IMAGE_DESC::image, value); };
    const std::pair<Mischief, Failure> cases[] = {
        {window(0, -1, 0, 3), request},
        {window(-2, INT32_MAX, 0, 3), request},
        {window(INT32_MIN, 0, 0, 3), request},
        {window(0, 7, 0, INT32_MIN), request},
        {[](ZOR_IMAGE &image) { image.images[0].act_right = 8; }, request},
        {[](ZOR_IMAGE &image) { image.num_images = -1; }, request},
        {[](ZOR_IMAGE &image) { image.num_images = 5; }, request},
        {colours({INT32_MAX, ZOR_C_INTEGER, 8}), request},
        {colours({-1, ZOR_C_INTEGER, 8}), type},
        {colours({3, 9, 8}), type},
        {colours({3, ZOR_C_INTEGER, 0}), width},
        {colours({3, ZOR_C_INTEGER, 33}), width},
        {colours({3, ZOR_C_INTEGER, 40000}), width},
        {group(&ZOR_IMAGE_DESC::matte, {-1, ZOR_C_INTEGER, 8}),
         {ZOR_E_UNSUPPORTED, ZOR_MSG_MATTE_TYPE}},
        {group(&ZOR_IMAGE_DESC::aux, {1, ZOR_C_INTEGER, 64}),
         {ZOR_E_UNSUPPORTED, ZOR_MSG_AUX_WIDTH}}};
    int refused = 0;
    for (const char *mode : {"r", "w"})
        for (const auto &[with, failure] : cases) {
            SCOPED_TRACE(refused);
            ZOR_IMAGE *image = open(with, mode);
            expect(failure, image == nullptr ? zor__err : 0);
            EXPECT_EQ(closed, ++refused);

            // A frame that cannot be leaves nothing that could be.
            static ZOR_IMAGE *playing;
            static const Mischief *late;
            late = &with;
            playing = open(
                [](ZOR_IMAGE &handle) {
                    handle.num_frames = 2;
                    handle.set_frame = [](void *, ZOR_WORD) { return (*late)(*playing), 0; };
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
    for (const int odd : {0, -7}) {
        answer = odd;
        EXPECT_EQ(open([](ZOR_IMAGE &) {}), nullptr);
        EXPECT_EQ(open([](ZOR_IMAGE &) {}, "w"), nullptr);
    }
    answer = 77;
    ZOR_IMAGE *image = open([](ZOR_IMAGE &handle) {
        handle.num_frames = -1;
        handle.images[0].orientation = -1;
        handle.images[0].curve.gamma = -2;
        handle.images[0].curve.kind = 3;
    });
    ASSERT_NE(image, nullptr) << log.text();
    EXPECT_EQ(ZOR_set_frame(image, 1), ZOR_E_UNSUPPORTED);
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(open([](ZOR_IMAGE &handle) { handle.num_images = 0; }, "w"), nullptr);
    image = open([](ZOR_IMAGE &handle) { handle.close = nullptr; }, "w"); // nobody can close it
    EXPECT_EQ(ZOR_close(image), ZOR_E_UNSUPPORTED);
    image->close = close_image;
    EXPECT_EQ(ZOR_close(image), 0);
    EXPECT_EQ(open([](ZOR_IMAGE &handle) { // nor can the library, which frees what there is
                  handle.num_images = 2;
                  handle.close = nullptr;
              }),
              nullptr);
    image = open([](ZOR_IMAGE &handle) {
        handle.close = [](ZOR_IMAGE *opened) { return close_image(opened) - 99; };
    });
    EXPECT_EQ(ZOR_close(image), -99) << "is for the application to know";
}

// What a driver says of whole frames is cut to what can be, and lines that it left out are missed.
TEST_F(HostileDriver, WholeFramesThatCannotBe) {
    static std::pair<int, int32_t> said;
    ZOR_IMAGE *image = open([](ZOR_IMAGE &handle) {
        zor__offer_rasters(&handle, [](void *, ZOR_RASTER *raster) {
            return raster->lines_done = said.second, said.first;
        });
    });
    const std::pair<int, int32_t> cases[][2] = {{{3, -77}, {ZOR_E_READ, 0}},
                                                {{0, 3}, {ZOR_E_READ, 3}},
                                                {{3, 4}, {0, 4}},
                                                {{-5, 99}, {-5, 4}},
                                                {{-5, 2}, {-5, 2}}};
    for (const auto &[saying, told] : cases) {
        said = saying;
        ZOR_PLANE planes[3] = {};
        ZOR_RASTER raster = {0, 0, 7, 0, 3, 1, 3, planes, 0};
        EXPECT_EQ(ZOR_raster_read(image, &raster), told.first);
        EXPECT_EQ(raster.lines_done, told.second);
    }
    EXPECT_EQ(ZOR_close(image), 0);
}

// Scan functions, and what an application gets of them, plainly and through operators.
TEST_F(HostileDriver, LinesThatAreNotThere) {
    const struct {
        ZOR_SCAN_FUNCTION scan;
        int status;
    } cases[] = {
        {[](void *, int, void **) { return 0; }, ZOR_E_READ}, // and no rows
        {[](void *, int, void **rows) { return *rows = nullptr, 0; }, ZOR_E_READ},
        {[](void *, int, void **) { return -3; }, -3},
        {[](void *rows, int y, void **to) { return y == 2 ? ZOR_E_READ : read_line(rows, y, to); },
         ZOR_E_READ}};
    for (const auto &[scan, status] : cases)
        for (const bool operated : {false, true}) {
            ZOR_IMAGE *image = open([scan = scan](ZOR_IMAGE &handle) { handle.scan = scan; });
            ASSERT_NE(image, nullptr);
            if (operated) {
                ZOR__cast(image);
                ZOR__resize(image, 5, 4, ZOR_FILTER_LANCZOS_3);
                ZOR__clip(image);
            }
            void **rows = nullptr;
            const int32_t before = image->last_scanline;
            EXPECT_EQ(ZOR_scan_read(image, 2, &rows), status) << log.text();
            EXPECT_EQ(image->last_scanline, before);
            EXPECT_EQ(ZOR_close(image), 0);
        }
    EXPECT_EQ(closed, 8);
}

} // namespace
