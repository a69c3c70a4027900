// startup_bench.cpp - what starting and ending the library costs, with no configuration file,
// beside starting and ending a process that does nothing.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

#include "paired.h"
#include "zor/clr.h"
#include "zor/zor.h"

namespace {

void require(bool good, const char *what) {
    if (good)
        return;
    std::fprintf(stderr, "bench_startup: %s failed\n", what);
    std::exit(1);
}

void start_library() {
    require(ZOR_init(nullptr, nullptr) == 0, "starting");
    benchmark::DoNotOptimize(CLR_find(3));
    ZOR_exit();
}

void start_process() {
    const pid_t child = fork();
    if (child == 0) {
        execl("/bin/true", "true", nullptr);
        _exit(127);
    }
    int status = -1;
    require(child > 0 && waitpid(child, &status, 0) == child && status == 0, "a process");
}

void time(benchmark::State &state, void (*work)()) {
    for ([[maybe_unused]] auto _ : state)
        work();
}

BENCHMARK_CAPTURE(time, ZOR_init_and_ZOR_exit, start_library)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(time, fork_and_exec, start_process)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    unsetenv("HOME"); // nobody's configuration
    unsetenv("QK_ROOT");
    benchmark::RunSpecifiedBenchmarks();
    std::puts("");
    bench::Pairs pairs;
    pairs.add("ZOR_init and ZOR_exit", "fork and exec /bin/true", 0, start_library, start_process);
    pairs.run(21);
    return 0;
}
