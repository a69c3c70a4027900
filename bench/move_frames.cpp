// move_frames.cpp - the work whose calls to the system scripts/count_system_calls.sh counts.
//
//     move_frames DIRECTORY     for the file
//
// Before each piece of work a line "= NAME" is written to the standard output, in one call, and "="
// after it; a script that traces this program counts the calls between them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

#include "frames.h"
#include "image_file.h"
#include "loader/loader.h"

namespace {

using bench::Frame;

void mark(const std::string &line) {
    bench::require(write(STDOUT_FILENO, (line + '\n').data(), line.size() + 1) > 0, "a mark");
}

template<class Work>
void count(const std::string &name, Work work) {
    mark("= " + name);
    work();
    mark("=");
}

} // namespace

int main(int argc, char **argv) {
    bench::require(argc > 1, "finding the directory in the arguments");
    zor::Loader library({ZOR_BENCH_MODULES});
    bench::require(library.start() == 0, "starting");
    const std::string path = std::string(argv[1]) + "/moved.mox";
    Frame frame = bench::make_frame(bench::Picture::rendered, 8);

    const auto read_lines = [&] {
        bench::read_lines(bench::open_image(path, "r", frame), frame, false, [](auto...) {});
    };
    bench::write_lines(path, frame); // the first time is the loader's and the allocator's too
    read_lines();
    count("write by scanline", [&] { bench::write_lines(path, frame); });
    count("read by scanline", read_lines);
    for (const int32_t threads : {1, 2}) {
        const std::string by = " by frame" + std::string(threads > 1 ? ", two threads" : "");
        count("write" + by, [&] { bench::move_frame(path, "w", frame, threads, false); });
        count("read" + by, [&] { bench::move_frame(path, "r", frame, threads, false); });
    }
    std::remove(path.c_str());
    return 0;
}
