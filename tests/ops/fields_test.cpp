// fields_test.cpp - two fields as one frame.
#include <gmock/gmock.h>

#include "ops/fake_image.h"
#include "ops/state.h"
#include "support/home.h"
#include "zor/fmt.h"

namespace {

using testing::ElementsAre;

TEST(MergeFields, WeavesLinesFromTheTop) {
    for (const bool even_first : {false, true}) {
        const Home home;
        write_file(home.file, even_first ? "fmt__dominance even\n" : "");
        FMT_init(nullptr);
        FakeImage first(ZOR_MODE_READ, 3, 4, {});
        FakeImage second(ZOR_MODE_READ, 3, 4, {});
        for (FakeImage *field : {&first, &second}) {
            ZOR_IMAGE_DESC &desc = field->desc();
            desc.win_bottom = -3; // lines -3 to 0
            desc.win_top = 0;
            desc.act_bottom = -2;
            desc.act_top = -1;
            desc.picture_height = 4;
            field->value = [hundreds = field == &first ? 100 : 200](int, int, int y) {
                return hundreds + y;
            };
        }
        const auto before = state_of(*first.image());
        ZOR__merge_fields(first.image(), second.image());
        const ZOR_IMAGE_DESC &desc = first.desc();
        EXPECT_THAT((std::array{desc.win_bottom, desc.win_top, desc.act_bottom, desc.act_top,
                                desc.picture_height}),
                    ElementsAre(-6, 1, -4, -1, 8));
        std::vector<double> lines;
        for (int y = desc.win_top; y >= desc.win_bottom; --y)
            lines.push_back(first.read(y)[2][1]);
        const int even = even_first ? 100 : 200;
        const int odd = 300 - even;
        EXPECT_THAT(
            lines, ElementsAre(even, odd, even - 1, odd - 1, even - 2, odd - 2, even - 3, odd - 3));
        EXPECT_THAT(first.lines, ElementsAre(0, -1, -2, -3)); // each in its own order
        EXPECT_EQ(second.lines, first.lines);

        ReportLog log;
        void **rows = nullptr;
        for (const int y : {2, -7})
            EXPECT_EQ(ZOR_scan_read(first.image(), y, &rows), ZOR_E_SCANLINE);
        first.fail_at = second.fail_at = -1;
        for (const int y : {-1, -2})
            EXPECT_EQ(ZOR_scan_read(first.image(), y, &rows), ZOR_E_READ);
        EXPECT_EQ(ZOR__merge_fields_undo(first.image()), 1);
        EXPECT_EQ(first.image()->last_scanline, -3); // the field's own
        first.image()->last_scanline = 0;
        EXPECT_EQ(state_of(*first.image()), before);
        FMT_exit();
    }
}

TEST(MergeFields, RefusesWhatIsNoPair) {
    FakeImage image(ZOR_MODE_READ, 4, 4, {});
    FakeImage written(ZOR_MODE_WRITE, 4, 4, {});
    FakeImage higher(ZOR_MODE_READ, 4, 5, {});
    FakeImage deeper(ZOR_MODE_READ, 4, 4, {integers(3, 16), {}, {}});
    FakeImage upside_down(ZOR_MODE_READ, 4, 4, {});
    upside_down.desc().orientation = ZOR_ORIENTATION_RISING;
    FakeImage bright(ZOR_MODE_READ, 4, 4, {});
    bright.desc().curve.gamma = 2.2F;
    const auto before = state_of(*image.image());
    for (const FakeImage *other : {&image, &written, &higher, &deeper, &upside_down, &bright}) {
        ReportLog log;
        ZOR__merge_fields(image.image(), other->image());
        EXPECT_TRUE(log.has_only(ZOR_MSG_CANNOT_HANDLE));
        EXPECT_EQ(zor__err, ZOR_E_UNSUPPORTED);
        EXPECT_EQ(state_of(*image.image()), before);
    }
}

} // namespace
