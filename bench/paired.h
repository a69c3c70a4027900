// paired.h - compares two ways of doing the same work, fairly.
//
// The two sides of a pair run in turn, round after round, so that what disturbs the machine disturbs
// both; the figure to look at is the median of the ratios of the rounds. In a round the faster side
// runs as often as it takes to keep both busy for about as long, or it would mostly be measured with
// the caches that the slower one left behind.
//
//     bench::Pairs pairs;
//     pairs.add("copy, 4 KiB", "memmove", 4096, [&] { ... }, [&] { ... });
//     pairs.run(15);
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

class Pairs {
public:
    // Both callables do all of the work once; bytes is its size, the same for both, or 0 where what
    // counts is the time.
    void add(std::string name, std::string peer_name, size_t bytes, std::function<void()> ours,
             std::function<void()> peer) {
        pairs_.push_back(
            {std::move(name), std::move(peer_name), bytes, std::move(ours), std::move(peer)});
    }

    // Runs every pair for some rounds and prints a line for each: the name, our throughput or time,
    // the peer's, and how many times as fast we are.
    void run(int rounds) const {
        std::printf("%-34s %10s   %-22s %10s %8s\n", "", "ours", "against", "theirs", "ratio");
        for (const Pair &pair : pairs_) {
            std::vector<double> ours;
            std::vector<double> peers;
            std::vector<double> ratios;
            // Touches all memory before it counts.
            const double ours_once = seconds(pair.ours, 1);
            const double peer_once = seconds(pair.peer, 1);
            const int ours_times = times_to_fill(std::max(ours_once, peer_once), ours_once);
            const int peer_times = times_to_fill(std::max(ours_once, peer_once), peer_once);
            for (int round = 0; round < rounds; ++round) {
                if (round % 2 == 0) { // neither side always goes first
                    ours.push_back(seconds(pair.ours, ours_times));
                    peers.push_back(seconds(pair.peer, peer_times));
                } else {
                    peers.push_back(seconds(pair.peer, peer_times));
                    ours.push_back(seconds(pair.ours, ours_times));
                }
                ratios.push_back(peers.back() / ours.back());
            }
            std::printf("%-34s %10s   %-22s %10s %8.2f\n", pair.name.c_str(),
                        figure(pair.bytes, median(ours)).c_str(), pair.peer_name.c_str(),
                        figure(pair.bytes, median(peers)).c_str(), median(ratios));
            std::fflush(stdout);
        }
    }

private:
    struct Pair {
        std::string name;
        std::string peer_name;
        size_t bytes;
        std::function<void()> ours;
        std::function<void()> peer;
    };

    // The mean time of one run.
    static double seconds(const std::function<void()> &work, int times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < times; ++i)
            work();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() /
               times;
    }

    static std::string figure(size_t bytes, double time) {
        char text[32];
        if (bytes == 0)
            std::snprintf(text, sizeof text, "%.1f us", time * 1e6);
        else
            std::snprintf(text, sizeof text, "%.2f GB/s", static_cast<double>(bytes) / 1e9 / time);
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

    std::vector<Pair> pairs_;
};

} // namespace bench
