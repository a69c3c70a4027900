// pattern.h - the file names of a sequence: "shot.####.mox" stands for shot.0001.mox and so on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zor {

// A path with one run of '#' in the name of the file; in the names of directories it means nothing.
// The run becomes the frame's number, padded with zeros to the number of '#'. It grows past that,
// and a minus sign of a negative one comes on top.
class FramePattern {
public:
    // Whether a path has a '#' where it counts.
    static bool is_one(const std::string &path);

    // Nothing unless the path has exactly one run.
    static std::optional<FramePattern> parse(const std::string &path);

    [[nodiscard]] std::string path(int32_t frame) const { return directory_ + name(frame); }

    // The frames that there are files of, rising. Names that path() does not make, such as
    // shot.001.mox here, are no frames. A directory that cannot be read has none; error tells why.
    [[nodiscard]] std::vector<int32_t> on_disk(std::string &error) const;

private:
    [[nodiscard]] std::string name(int32_t frame) const;
    [[nodiscard]] std::optional<int32_t> frame_of(const std::string &name) const;

    std::string directory_; // with its separator; may be empty
    std::string before_;    // the run, in the file's name
    std::string after_;
    size_t digits_ = 0;
};

} // namespace zor
