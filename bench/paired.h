// paired.h - compares two ways of doing the same work, fairly.
//
// The two sides of a pair run in turn, round after round, so that what disturbs the machine
// disturbs both; the figure to look at is the median of the ratios of the rounds. In a round the
// faster side runs as often as it takes to keep both busy for about as long, or it would mostly be
// measured with the caches that the slower one left behind.
//
//     bench::Pairs pairs;
//     pairs.add("copy, 4 KiB", "memmove", 4096, [&] { ... }, [&] { ... });
//     pairs.run(15);
//
// Where the environment variable ZOR_BENCH_RESULTS names a file, a line for each pair is added to
// it, for programs: program, name, peer, size, figure, unit, separated by tabs. scripts/bench.sh
// makes a table of those.
#pragma once

#include <algorithm>
#include <cerrno> // program_invocation_short_name
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

class Pairs {
public:
    // The pairs added from now on are about pictures of this size. Pairs of several sizes that are
    // alike otherwise are one line of the final table.
    void set_size(std::string size) { size_ = std::move(size); }

    // Both callables do all of the work once; bytes is its size, the same for both, or 0 where what
    // counts is the time.
    void add(std::string name, std::string peer_name, size_t bytes, std::function<void()> ours,
             std::function<void()> peer) {
        pairs_.push_back({std::move(name), std::move(peer_name), size_, bytes, 0, std::move(ours),
                          std::move(peer)});
    }

    // As above where what counts is by how many nanoseconds ours is slower, for each of the steps
    // of which both sides make as many.
    void add_difference(std::string name, std::string peer_name, size_t steps,
                        std::function<void()> ours, std::function<void()> peer) {
        pairs_.push_back({std::move(name), std::move(peer_name), size_, 0, steps, std::move(ours),
                          std::move(peer)});
    }

    // Runs every pair that was added since the last time, for at most so many rounds, and prints a
    // line for each: the name, our throughput or time, the peer's, and how many times as fast we
    // are. Pairs that take long get fewer rounds, five at least.
    void run(int most_rounds) {
        if (!std::exchange(headed_, true))
            std::printf("%-38s %-9s %11s   %-22s %11s %8s\n", "", "", "ours", "against", "theirs",
                        "ratio");
        for (const Pair &pair : pairs_) {
            const Figures figures = measure(pair, most_rounds);
            std::printf("%-38s %-9s %11s   %-22s %11s %8.2f%s\n", pair.name.c_str(),
                        pair.size.c_str(), text_of(pair.bytes, figures.ours).c_str(),
                        pair.peer_name.c_str(), text_of(pair.bytes, figures.peers).c_str(),
                        figures.result, pair.steps > 0 ? " ns" : "");
            std::fflush(stdout);
            note(pair, figures.result);
        }
        pairs_.clear();
    }

private:
    struct Pair {
        std::string name;
        std::string peer_name;
        std::string size;
        size_t bytes;
        size_t steps; // 0: what is wanted is the ratio
        std::function<void()> ours;
        std::function<void()> peer;
    };
    struct Figures {
        double ours, peers; // seconds
        double result;      // the ratio, or the difference in nanoseconds
    };

    static Figures measure(const Pair &pair, int most_rounds) {
        constexpr double enough_seconds = 0.35;
        constexpr int least_rounds = 5;
        // Touches all memory before it counts.
        const double ours_once = seconds(pair.ours, 1);
        const double peer_once = seconds(pair.peer, 1);
        const int ours_times = times_to_fill(std::max(ours_once, peer_once), ours_once);
        const int peer_times = times_to_fill(std::max(ours_once, peer_once), peer_once);
        std::vector<double> ours;
        std::vector<double> peers;
        std::vector<double> results;
        double spent = 0;
        for (int round = 0; round < most_rounds; ++round) {
            if (round >= least_rounds && spent > enough_seconds)
                break;
            if (round % 2 == 0) { // neither side always goes first
                ours.push_back(seconds(pair.ours, ours_times));
                peers.push_back(seconds(pair.peer, peer_times));
            } else {
                peers.push_back(seconds(pair.peer, peer_times));
                ours.push_back(seconds(pair.ours, ours_times));
            }
            spent += ours.back() * ours_times + peers.back() * peer_times;
            results.push_back(pair.steps > 0 ? (ours.back() - peers.back()) * 1e9 /
                                                   static_cast<double>(pair.steps)
                                             : peers.back() / ours.back());
        }
        return {median(ours), median(peers), median(results)};
    }

    // The mean time of one run.
    static double seconds(const std::function<void()> &work, int times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < times; ++i)
            work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
               times;
    }

    static std::string text_of(size_t bytes, double time) {
        char text[32];
        if (bytes == 0)
            std::snprintf(text, sizeof text, "%.1f us", time * 1e6);
        else
            std::snprintf(text, sizeof text, "%.3g GB/s", static_cast<double>(bytes) / 1e9 / time);
        return text;
    }

    static int times_to_fill(double span, double once) {
        return static_cast<int>(std::clamp(span / once, 1.0, 100.0));
    }

    static double median(std::vector<double> values) {
        const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::nth_element(values.begin(), middle, values.end());
        return *middle;
    }

    void note(const Pair &pair, double result) const {
        const char *path = std::getenv("ZOR_BENCH_RESULTS");
        std::FILE *file = path == nullptr ? nullptr : std::fopen(path, "a");
        if (file == nullptr)
            return;
        std::fprintf(file, "%s\t%s\t%s\t%s\t%.4f\t%s\n", program_invocation_short_name,
                     pair.name.c_str(), pair.peer_name.c_str(), pair.size.c_str(), result,
                     pair.steps > 0 ? "ns" : "x");
        std::fclose(file);
    }

    std::string size_;
    std::vector<Pair> pairs_;
    bool headed_ = false;
};

} // namespace bench
