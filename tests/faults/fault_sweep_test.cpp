// fault_sweep_test.cpp - everything the library and the command do with images, with every
// allocation and every call to the system failing in turn, and on disks that are full at any byte.
//
// Whatever fails, and however late: what went wrong is told with a status of err.h and a report,
// what is said to be well is as it should be to the last bit, nothing is left behind - blocks,
// files, locks - and the same goes well again once the trouble is over.
#include <algorithm>
#include <functional>
#include <set>
#include <span>

#include "faults/streams.h"
#include "loader/loader.h"
#include "support/driver_test.h"
#include "support/fault.h"
#include "support/home.h"
#include "support/library_lock.h"
#include "zor/clr.h"
#include "zor/convert_image.h"
#include "zor/fmt.h"
#include "zor/input.h"

extern "C" {
std::FILE *__wrap_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen64(const char *path, const char *mode);
}
std::FILE *__wrap_fopen(const char *path, const char *mode) {
    return StreamFault::open(path, mode);
}
std::FILE *__wrap_fopen64(const char *path, const char *mode) {
    return StreamFault::open(path, mode);
}

namespace {

struct Outcome {
    int status;
    std::string made; // what came of it, when all is said to be well; a hash when it is long

    // The first failure counts.
    bool then(int next) {
        status = status == 0 ? next : status;
        return status == 0;
    }
    void add(const std::string &more) {
        made += more.size() < 100 ? more : std::to_string(std::hash<std::string>()(more)) + " ";
    }
};
using Scenario = std::function<Outcome()>;

constexpr int width = 300;
constexpr int height = 6;

class FaultSweep : public DriverTest {
protected:
    FaultSweep() {
        EXPECT_EQ(loader_.start(), 0) << log.text();
        ZOR_multiframe_set(0, 0); // a kept handle would look like a leak
    }

    std::string path(const char *name) const { return home_.path + "/" + name; }

    void sweep(const Scenario &scenario, std::span<const Call> calls = all_calls) {
        ASSERT_EQ((expected_ = scenario()).status, 0) << log.text();
        for_each_failing_allocation([&](Fault &fault) { run(scenario, fault, fault); });
        for (const Call call : calls)
            for (const bool all : {false, true})
                for (long n = 1, struck = 1; struck != 0; ++n) {
                    SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(call)
                                                    << " number " << n << (all ? " on" : ""));
                    const Fault watch(0);
                    const StreamFault fault(call, n, all);
                    run(scenario, fault, watch);
                    EXPECT_EQ(fault.open_files(), 0);
                    struck = fault.struck() ? 1 : 0;
                }
        const Outcome again = scenario();
        EXPECT_EQ(again.status, 0);
        EXPECT_EQ(again.made, expected_.made);
    }

    // Disks that are full at each byte of a file.
    void sweep_room(const Scenario &writing, size_t size) {
        for (size_t room = 0; room <= size; ++room) {
            const Fault watch(0);
            const StreamFault fault(static_cast<int64_t>(room));
            run(writing, fault, watch);
            ASSERT_EQ(zor__err, room < size ? ZOR_E_WRITE : 0) << room << log.text();
            ASSERT_EQ(room < size, log.has(ZOR_MSG_CANNOT_WRITE)) << room << log.text();
            ASSERT_EQ(fault.open_files(), 0);
        }
    }

    template<class Cause>
    void run(const Scenario &scenario, const Cause &fault, const Fault &watch) {
        log.clear();
        zor__err = 0;
        const Outcome outcome = scenario();
        static const std::set<int> documented = {-1,  -2,  -4,  -5,  -7,  -8, -9,
                                                 -10, -11, -13, -16, -18, -20};
        if (outcome.status == 0) {
            EXPECT_EQ(outcome.made, expected_.made);
        } else {
            EXPECT_TRUE(fault.struck());
            EXPECT_EQ(documented.count(outcome.status), 1U) << outcome.status;
            EXPECT_FALSE(log.reports.empty());
        }
        EXPECT_EQ(watch.live(), 0);
        EXPECT_TRUE(library_lock_is_free());
    }

    // A request, complete before anything fails.
    struct Picture : Request {
        Picture(const std::string &name, const char *for_key, int num_images = 1)
            : Request(name, for_key) {
            info.complete_path = 1;
            info.date = STR_save("{1700000000}");
            info.description = STR_save("\xC3\xA9");
            info.program = STR_save("caf\xE9"); // Latin-1
            for (int i = 0; i < num_images; ++i)
                add(width, height).matte = {1, ZOR_C_INTEGER, 8};
        }
    };

    // Writes all frames or sub-images of a picture. Closing must not say that a lost file is fine,
    // and what is refused leaves none.
    Outcome write(Picture &picture, int frames, const std::string &file) {
        std::filesystem::remove(file);
        ZOR_IMAGE *image = picture.open("w");
        EXPECT_TRUE(image != nullptr || !std::filesystem::exists(file));
        if (image == nullptr)
            return {zor__err, ""};
        Outcome outcome = {0, ""};
        for (int frame = 0; frame < std::max(frames, 1) && outcome.status == 0; ++frame) {
            outcome.then(frames > 0 ? ZOR_set_frame(image, frame + 1) : 0);
            for (int k = 0; k < image->num_images; ++k)
                for (const int y : lines(image->images[k]))
                    outcome.then(outcome.status == 0 ? DriverTest::write(image, k, y) : 0);
        }
        const int closed = ZOR_close(image);
        EXPECT_TRUE(outcome.status == 0 || closed < 0) << "closing told of nothing";
        outcome.then(closed);
        outcome.add(file.empty() ? "" : without_elapsed(read_file(file)));
        return outcome;
    }

    // Headers tell how long writing took, which a busy machine makes longer.
    static std::string without_elapsed(std::string bytes) {
        const std::string_view time = "00:00:";
        for (size_t at = 0; (at = bytes.find(time, at)) != std::string::npos; at += 8)
            bytes.replace(at + time.size(), 2, "00");
        return bytes;
    }

    // Reads them, the first line of each twice.
    Outcome read(Picture &picture, int frames) {
        ZOR_IMAGE *image = picture.open("r");
        if (image == nullptr)
            return {zor__err, ""};
        Outcome outcome = {0, ""};
        for (int frame = 0; frame < std::max(frames, 1) && outcome.status == 0; ++frame) {
            outcome.then(frames > 0 ? ZOR_set_frame(image, frame + 1) : 0);
            for (int k = 0; k < image->num_images; ++k)
                for (int i = 0; i <= height && outcome.status == 0; ++i) {
                    const int y = lines(image->images[k])[static_cast<size_t>(i % height)];
                    outcome.then(i == height && k == 0 ? ZOR_seek(&image, y) : 0);
                    if (image == nullptr)
                        return outcome;
                    void **rows = nullptr;
                    if (outcome.status != 0 || !outcome.then(DriverTest::read(image, k, y, rows)))
                        break;
                    const ZOR_IMAGE_DESC &desc = image->images[k];
                    for (int c = 0; c < desc.image.count + desc.matte.count; ++c)
                        outcome.add({static_cast<char *>(rows[c]), width});
                }
        }
        ZOR_INFO copy;
        if (outcome.status == 0 && outcome.then(ZOR_info_from_image(&copy, image)))
            ZOR_info_cleanup(&copy, 1);
        outcome.then(ZOR_close(image));
        return outcome;
    }

    const Home home_;
    zor::Loader loader_{{MODULES}};
    Outcome expected_ = {0, ""};
};

constexpr struct {
    const char *key;
    int images; // in a file
    int frames; // of each; 0: no such thing
} formats[] = {{"mox", 2, 0}, {"mob", 2, 0},  {"pnm", 1, 0},
               {"png", 1, 0}, {"tiff", 1, 2}, {"mem", 2, 0}};

TEST_F(FaultSweep, FilesOfEachFormat) {
    for (const auto &[key, images, frames] : formats) {
        SCOPED_TRACE(key);
        std::string file = path(key);
        Picture picture(file, key, images);
        const auto writing = [&, frames = frames] { return write(picture, frames, file); };
        const auto reading = [&, frames = frames] { return read(picture, frames); };
        EXPECT_EQ(writing().status, 0) << log.text();
        const std::string before = reading().made;
        sweep(writing);
        EXPECT_EQ(reading().made, before);
        sweep_room(writing, read_file(file).size());
        EXPECT_EQ(reading().made, before);
        sweep(reading);
        sweep([&] { // whatever it finds
            ZOR_get_file_type(file.data(), nullptr, nullptr);
            return Outcome{0, ""};
        });
    }
}

// Only memory fails in reading: threads read below the streams.
TEST_F(FaultSweep, WholeFramesByThreads) {
    const std::string file = path("whole.mox");
    constexpr int wide = 2000, high = 40; // worth several threads
    Picture picture(file, "mox", 2);
    for (int k = 0; k < 2; ++k) {
        ZOR_IMAGE_DESC &desc = picture.info.images[k];
        desc.win_right = desc.act_right = wide - 1;
        desc.win_top = high - 1;
        desc.act_bottom = 2;
        desc.act_top = high - 2;
    }
    std::string samples(size_t{4} * wide * high, '\0');
    const auto move = [&](const char *mode) {
        ZOR_IMAGE *image = picture.open(mode);
        if (image == nullptr)
            return Outcome{zor__err, ""};
        Outcome outcome = {0, ""};
        for (int k = 0; k < 2 && outcome.status == 0; ++k) {
            ZOR_PLANE planes[4] = {};
            for (size_t c = 0; c < 4; ++c)
                planes[c].samples = samples.data() + c * wide * high;
            ZOR_RASTER raster = {k, 0, wide - 1, 0, high - 1, 2, 4, planes, 0};
            if (*mode == 'r')
                samples.assign(samples.size(), 'x');
            const std::string before = samples;
            outcome.then((*mode == 'r' ? ZOR_raster_read : ZOR_raster_write)(image, &raster));
            EXPECT_TRUE(outcome.status != ZOR_E_MEMORY || samples == before);
            outcome.add(samples);
        }
        outcome.then(ZOR_close(image));
        return outcome;
    };
    const auto writing = [&] {
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<char>(i * i / 900);
        return Outcome{move("w").status, without_elapsed(read_file(file))};
    };
    sweep(writing);
    ASSERT_EQ(writing().status, 0);
    sweep([&] { return move("r"); }, {});
}

// What there was in memory is there until something new is complete.
TEST_F(FaultSweep, PicturesInMemoryStayUntilTheyAreReplaced) {
    Picture picture("name", "mem");
    Picture narrow("name", "mem");
    narrow.info.images[0].win_right = narrow.info.images[0].act_right = 5;
    uint8_t entries[] = {1, 2, 3};
    void *tables[] = {entries};
    narrow.info.images[0].curve = {2, 0, 0, 1, 3, ZOR_C_INTEGER, 8, tables};
    bool struck = true;
    for (long n = 1; struck; ++n) {
        EXPECT_EQ(write(picture, 0, "").status, 0);
        {
            const Fault fault(n);
            const int status = write(narrow, 0, "").status;
            struck = fault.struck();
            EXPECT_EQ(status, struck ? ZOR_E_MEMORY : 0);
        }
        ZOR_IMAGE *image = picture.open("r");
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->images[0].win_right, struck ? width - 1 : 5);
        ZOR_close(image);
    }
}

TEST_F(FaultSweep, FramesThatAreKeptOpen) {
    const std::string file = path("kept.tiff");
    Picture picture(file, "tiff");
    ASSERT_EQ(write(picture, 2, file).status, 0);
    ZOR_CAP_SETTING chosen = {0, 0, {1}};
    ZOR_CAP_SETTING *settings[] = {&chosen, nullptr};
    picture.info.cap_settings = settings;
    sweep([&] {
        ZOR_multiframe_set(1, 0); // none is kept once nobody uses it
        Outcome outcome = {0, ""};
        ZOR_IMAGE *images[2] = {};
        for (ZOR_IMAGE *&image : images) {
            image = picture.open("r");
            outcome.status = image == nullptr ? zor__err : outcome.status;
        }
        if (images[1] != nullptr && ZOR_set_frame(images[1], 2) == 0)
            ZOR_seek(&images[1], 0);
        for (ZOR_IMAGE *image : images)
            EXPECT_EQ(image != nullptr ? ZOR_close(image) : 0, 0);
        ZOR_multiframe_set(0, 0);
        return outcome;
    });
    picture.info.cap_settings = nullptr;
}

TEST_F(FaultSweep, ThePipe) {
    const std::string file = path("pipe");
    Picture picture("pipe", "pipe");
    sweep([&] {
        std::FILE *const before = stdout;
        std::FILE *const opened = StreamFault::open(file.c_str(), "wb");
        if (opened == nullptr) {
            log.reports.push_back({});
            return Outcome{ZOR_E_OPEN, ""};
        }
        stdout = opened;
        Outcome outcome = write(picture, 0, "");
        stdout = before;
        std::fclose(opened);
        outcome.add(read_file(file));
        return outcome;
    });
}

TEST_F(FaultSweep, StartingAndEnding) {
    write_file(home_.file, "fmt__gamma_default 1.8\nfmt__name_default file\n"
                           "clr__sample_bins 20 uniform\n");
    const auto start = [&] {
        ZOR_exit();
        Outcome outcome = {loader_.start() != 0 ? zor__err : 0, ""};
        if (outcome.status == 0) {
            while (const ZOR_FORMAT *format = ZOR_info())
                outcome.made += format->key;
            outcome.made += ZOR_def_base_name();
        }
        if (outcome.status == 0 && !log.reports.empty())
            outcome.status = ZOR_E_READ; // it does start, with what there is of the settings
        ZOR_exit();
        CLR_exit();
        FMT_exit();
        return outcome;
    };
    sweep(start, std::span(all_calls).subspan(1)); // what cannot be opened is as good as not there
}

// The tool takes all care not to spoil what is there: a file is replaced by a whole one or not.
TEST_F(FaultSweep, Conversions) {
    const zor::LibraryReports to_reports;
    Picture picture(path("a.mox"), "mox");
    ASSERT_EQ(write(picture, 0, "").status, 0);
    zor::Operations shown;
    shown.size = zor::parse_size("50x");
    shown.display = true;
    shown.gamma = 1.8F;
    shown.primaries = zor::parse_primaries("p3");
    zor::Operations wide;
    wide.bits = 16;
    const std::tuple<const char *, const char *, zor::Operations> cases[] = {
        {"a.mox", "b.png", {}}, {"b.png", "b.mox", wide}, {"a.mox", "b.pam", shown}};
    zor::Workplace workplace;
    for (const auto &[from, to, operations] : cases) {
        SCOPED_TRACE(to);
        const std::string output = path(to);
        bool sound = true; // what there is
        const auto convert = [&, from = path(from), operations = operations] {
            write_file(output, "old");
            std::vector<zor::Message> messages;
            zor::Reports reports(messages);
            auto conversion = zor::choose_formats(from, output, "", "", reports);
            int code = zor::EXIT_WRONG_USAGE;
            if (conversion.has_value()) {
                conversion->operations = operations;
                code = zor::convert_image(from, output, *conversion, workplace, reports);
            }
            const std::string there = read_file(output);
            EXPECT_EQ(code == 0, there != "old");
            EXPECT_TRUE(code >= 0 && code <= 4) << code;
            for (const auto &entry : std::filesystem::directory_iterator(home_.path))
                sound = sound && entry.path().filename().string().find(".zor-") != 0;
            for (const zor::Message &message : messages)
                log.reports.push_back({message.severity, "", message.text});
            Outcome outcome = {code == 0 ? 0 : ZOR_E_WRITE, ""};
            outcome.add(there);
            return outcome;
        };
        sweep(convert);
        EXPECT_TRUE(sound) << "temporary files stay";
        ASSERT_EQ(convert().status, 0);
    }
}

} // namespace
