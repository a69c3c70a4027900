// sequence_bench.cpp - "zor convert" on sequences of frames: how much two jobs gain over one, and
// how much memory it takes for ten frames and for a thousand.
//
//     bench_sequence [DIRECTORY]     for the files; /dev/shm without it
//
// A frame is one file under many names, so what is written counts, and reading comes from memory.
// The first pair tells what the machine itself has to give: on a busy one no ratio comes near 2.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "frames.h"
#include "paired.h"
#include "scratch.h"

namespace {

namespace fs = std::filesystem;
using bench::Frame;

// Runs the command; returns the most memory it had, in KiB.
long zor(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"zor", "--quiet", "--modules", ZOR_BENCH_MODULES});
    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    int status = -1;
    rusage usage = {};
    if (posix_spawn(&child, ZOR_BENCH_TOOL, nullptr, nullptr, argv.data(), environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0) {
        std::fprintf(stderr, "bench_sequence: the command failed\n");
        std::exit(1);
    }
    return usage.ru_maxrss;
}

void write_pam(const fs::path &path, int32_t width, int32_t height, const std::string &samples) {
    std::ofstream(path, std::ios::binary) << "P7\nWIDTH " << width << "\nHEIGHT " << height
                                          << "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n"
                                          << samples;
}

// The bottom left corner of a picture, the channels interleaved.
std::string corner(const Frame &frame, int32_t width, int32_t height) {
    std::string samples;
    for (int32_t y = 0; y < height; ++y)
        for (size_t x = 0; x < static_cast<size_t>(width); ++x)
            for (int32_t channel = 0; channel < Frame::channels; ++channel)
                samples += static_cast<char>(frame.row(channel, y)[x]);
    return samples;
}

// Makes frames 1 to count of one file.
void repeat(const fs::path &file, const std::string &name, int count) {
    for (int i = 1; i <= count; ++i)
        fs::create_symlink(file.filename(),
                           file.parent_path() / (name + "." + std::to_string(i) + ".mox"));
}

void add_pair(bench::Pairs *pairs, const std::string &name, const std::string &input,
              const std::string &output, int count, size_t bytes) {
    const auto convert = [=](const char *jobs) {
        return [=] {
            zor({"convert", input, output, "--frames", "1-" + std::to_string(count), "--jobs",
                 jobs});
        };
    };
    pairs->add(name + ": two jobs", "one job", bytes * static_cast<size_t>(count), convert("2"),
               convert("1"));
}

// Arithmetic that needs nothing but a processor, shared among threads: what a second one is worth
// on this machine at the moment.
void compute(unsigned threads) {
    constexpr unsigned all = 400'000'000;
    std::vector<std::jthread> running;
    for (unsigned i = 0; i < threads; ++i) {
        running.emplace_back([threads] {
            for (unsigned n = 0, x = 1; n < all / threads; ++n)
                benchmark::DoNotOptimize(x = x * 1664525 + 1013904223);
        });
    }
}

void measure_jobs(const fs::path &work) {
    // Frames enough to keep the command busy for about a second.
    constexpr std::pair<const char *, int> formats[] = {{"png", 12}, {"mox", 200}, {"pam", 100}};
    constexpr int32_t width = bench::film.width / 2;
    constexpr int32_t height = bench::film.height / 2;
    constexpr size_t bytes = size_t{width} * height * Frame::channels;
    bench::Pairs pairs;
    pairs.add(
        "arithmetic: two threads", "one thread", 0, [] { compute(2); }, [] { compute(1); });
    for (const bench::Picture picture : {bench::Picture::rendered, bench::Picture::photograph}) {
        const std::string name = bench::name_of(picture);
        const Frame frame = bench::make_frame(picture, 8);
        write_pam(work / "one.pam", width, height, corner(frame, width, height));
        zor({"convert", work / "one.pam", work / (name + ".mox")});
        repeat(work / (name + ".mox"), name, 200);
        for (const auto &[format, count] : formats)
            add_pair(&pairs, name + ", mox to " + format, work / (name + ".#.mox"),
                     work / (std::string("out.#.") + format), count, bytes);
    }
    pairs.run(7);
}

// Comes first: the system counts what this program has when it starts the command.
void measure_memory(const fs::path &work) {
    constexpr int32_t size = 256;
    std::string samples;
    for (uint32_t i = 0; i < size * size * 4; ++i)
        samples += static_cast<char>(i * i >> 11);
    write_pam(work / "small.pam", size, size, samples);
    zor({"convert", work / "small.pam", work / "small.mox"});
    repeat(work / "small.mox", "small", 1000);
    std::printf("%-34s %14s %14s\n", "peak memory, KiB", "10 frames", "1000 frames");
    for (const char *format : {"png", "mox"}) {
        const auto peak = [&](const char *frames) {
            return zor({"convert", work / "small.#.mox", work / (std::string("out.#.") + format),
                        "--frames", frames, "--jobs", "2"});
        };
        const long few = peak("1-10");
        const long many = peak("1-1000");
        std::printf("mox to %-27s %14ld %14ld\n", format, few, many);
    }
    std::printf("\n");
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const bench::Scratch scratch(argc, argv);
    measure_memory(scratch.path());
    measure_jobs(scratch.path());
    return 0;
}
