// faults.h - files written and read without enough memory.
#pragma once

#include "modules/picture.h"
#include "support/fault.h"
#include "zor/driver.h"

// Writes and reads a file with every allocation failing in turn: each failure is reported once, and
// nothing leaks. The request is complete before the faults begin.
//   frames  how many times the picture is in the file; 0 for a format of single images
inline void expect_memory_faults_reported(const TempFile &temp, const Picture &picture,
                                          const Info &info, int frames = 0) {
    ReportLog log;
    for (const bool writing : {true, false}) {
        const long points = for_each_failing_allocation([&](const Fault &fault) {
            if (writing)
                std::remove(temp.path.c_str());
            log.clear();
            ZOR_IMAGE *image = info.open(writing ? "w" : "r");
            EXPECT_EQ(temp.exists(), !writing || image != nullptr);
            int status = image == nullptr ? zor__err : 0;
            void **rows = nullptr;
            for (int frame = 0; frame < std::max(frames, 1) && status == 0; ++frame) {
                status = frames > 0 ? ZOR_set_frame(image, frame + 1) : 0;
                for (int y = picture.height - 1; y >= 0 && status == 0; --y)
                    status =
                        writing ? write_line(image, picture, y) : ZOR_scan_read(image, y, &rows);
            }
            const int closed = image != nullptr ? ZOR_close(image) : status;
            EXPECT_EQ(status, fault.struck() ? ZOR_E_MEMORY : 0) << log.text();
            EXPECT_EQ(log.count(ZOR_MSG_NO_MEMORY), fault.struck() ? 1 : 0) << log.text();
            EXPECT_TRUE(!writing || (closed < 0) == fault.struck());
            EXPECT_EQ(fault.live(), 0);
        });
        EXPECT_GT(points, 10);
    }
}
