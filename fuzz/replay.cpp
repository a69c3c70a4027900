// replay.cpp - runs a fuzz target on saved inputs: all files of the directories given.
#include <vector>

#include "support/files.h"
#include "watch.h"

int main(int argc, char **argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i)
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            const std::string bytes = read_file(entry.path());
            // Of exactly their size, so that a read behind the end is seen.
            const std::vector<uint8_t> input(bytes.begin(), bytes.end());
            LLVMFuzzerTestOneInput(input.data(), input.size());
            ++count;
        }
    std::printf("%d inputs\n", count);
    return count > 0 ? 0 : 1;
}
