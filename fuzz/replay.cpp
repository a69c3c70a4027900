// replay.cpp - runs a fuzz target on saved inputs, all files of the directories given, and on as
// many random ones as a number among them says.
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "support/files.h"
#include "watch.h"

int main(int argc, char **argv) {
    int count = 0;
    std::mt19937 random(1);
    for (int i = 1; i < argc; ++i) {
        for (int n = std::atoi(argv[i]); n > 0; --n, ++count) {
            std::vector<uint8_t> input(random() % 500);
            for (uint8_t &byte : input)
                byte = static_cast<uint8_t>(random());
            LLVMFuzzerTestOneInput(input.data(), input.size());
        }
        if (!std::filesystem::is_directory(argv[i]))
            continue;
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            const std::string bytes = read_file(entry.path());
            // Of exactly their size, so that a read behind the end is seen.
            const std::vector<uint8_t> input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++count;
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
