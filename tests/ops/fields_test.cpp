// fields_test.cpp - two fields as one frame.
#include <gmock/gmock.h>

#include "ops/fake_image.h"
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
        first.fail_at = second.fail_at = -1;
        for (const auto &[y, status] : {std::pair(2, ZOR_E_SCANLINE),
                                        {-7, ZOR_E_SCANLINE},
                                        {-1, ZOR_E_READ},
                                        {-2, ZOR_E_READ}})
            EXPECT_EQ(ZOR_scan_read(first.image(), y, &rows), status);
        EXPECT_EQ(ZOR__merge_fields_undo(first.image()), 1);
        EXPECT_EQ(first.image()->last_scanline, -3); // the field's own
        FMT_exit();
    }
}

} // namespace
