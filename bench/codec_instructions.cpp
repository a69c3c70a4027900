// codec_instructions.cpp - the work whose instructions scripts/bench_instructions.sh counts.
//
// To be run under callgrind with nothing counted at first: each piece of work is counted by itself
// and dumped under a name of five words: version, work, picture, bits, bytes of samples. Without
// callgrind the program checks that what was encoded is decoded again, and that is all.
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "drivers/mox/row_codec.h"
#include "frames.h"
#include "zor/records.h"

namespace {

using bench::Frame;
using bench::Picture;
using zor::mox::codec_slack;
using zor::mox::EncodedRow;
using zor::mox::most_rows;
using zor::mox::RowCodec;

// Every sixteenth line is enough to know a picture by, and callgrind is slow.
constexpr int32_t step = 16;

struct Channel {
    std::vector<uint8_t> samples, record, decoded;
    size_t record_size;
};
using Line = std::vector<Channel>;

std::vector<Line> make_lines(Picture picture, int32_t bits, const RowCodec &codec) {
    std::vector<Line> lines;
    for (int32_t y = step / 2; y < bench::film.height; y += step) {
        const std::vector<uint8_t> samples = make_line(picture, bits, y, bench::film.width);
        const size_t row = samples.size() / Frame::channels;
        Line &line = lines.emplace_back();
        for (size_t at = 0; at < samples.size(); at += row)
            line.push_back(
                {std::vector(&samples[at], &samples[at] + row),
                 std::vector<uint8_t>(codec.max_encoded(bench::film.width) + codec_slack),
                 std::vector<uint8_t>(row + codec_slack), 0});
    }
    return lines;
}

void encode(std::vector<Line> &lines, const RowCodec &codec) {
    for (Line &line : lines)
        for (Channel &channel : line)
            channel.record_size =
                codec.encode(channel.samples.data(), bench::film.width, channel.record.data());
}

bool decode(std::vector<Line> &lines, const RowCodec &codec) {
    bool good = true;
    for (Line &line : lines)
        for (size_t k = 0; k < line.size(); k += most_rows) {
            const size_t count = std::min(line.size() - k, size_t{most_rows});
            EncodedRow rows[most_rows];
            for (size_t i = 0; i < count; ++i)
                rows[i] = {line[k + i].record.data(), line[k + i].record_size,
                           line[k + i].decoded.data()};
            good &= codec.decode(rows, static_cast<int>(count), bench::film.width);
        }
    return good;
}

bool same(const std::vector<Line> &lines) {
    for (const Line &line : lines)
        for (const Channel &channel : line)
            if (!std::equal(channel.samples.begin(), channel.samples.end(),
                            channel.decoded.begin()))
                return false;
    return true;
}

template<class Work>
void count(const std::string &name, size_t bytes, Work work) {
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    work();
    const std::string label = name + ' ' + std::to_string(bytes);
    CALLGRIND_DUMP_STATS_AT(label.c_str());
    CALLGRIND_STOP_INSTRUMENTATION;
}

bool measure(const char *version, const RowCodec &codec, Picture picture, int32_t bits) {
    std::vector<Line> lines = make_lines(picture, bits, codec);
    std::string name = name_of(picture);
    std::replace(name.begin(), name.end(), ' ', '-');
    name += ' ' + std::to_string(bits);
    const size_t bytes = lines.size() * lines[0].size() * lines[0][0].samples.size();
    count(version + (" encode " + name), bytes, [&] { encode(lines, codec); });
    bool good = false;
    count(version + (" decode " + name), bytes, [&] { good = decode(lines, codec); });
    return good && same(lines);
}

} // namespace

int main() {
    using zor::mox::Vectors;
    bool good = true;
    for (const auto &[version, vectors] :
         {std::pair{"sse2", Vectors::sse2}, {"avx2", Vectors::avx2}})
        for (const int32_t bits : {8, 16}) {
            const RowCodec *const codec = zor::mox::row_codec(ZOR_C_INTEGER, bits, vectors);
            if (codec == nullptr) // the processor's fault, of which the script speaks
                break;
            for (const Picture picture : bench::all_pictures)
                good &= measure(version, *codec, picture, bits);
        }
    if (!good)
        std::fputs("codec_instructions: rows did not come back as they were\n", stderr);
    return good ? 0 : 1;
}
