// configuration.cpp - what the configuration file says about colour.
#include "clr/configuration.h"

#include <algorithm>
#include <cstring>

#include "base/base/number.h"
#include "base/base/owned.h"
#include "fmt/database.h"
#include "zor/messages.h"

namespace zor::clr {

bool Rows::append(const Row &row) {
    constexpr int32_t increment = 128;
    if (array_ == nullptr)
        array_ = dst_array_create(0, increment, sizeof row, &storage_);
    if (array_ == nullptr || dst_array_grow(array_, 1, &storage_) == 0)
        return false;
    static_cast<Row *>(storage_)[dst_array_count(array_) - 1] = row;
    return true;
}

std::span<const Row> Rows::sort() {
    if (empty())
        return {};
    const std::span rows(static_cast<Row *>(storage_),
                         static_cast<size_t>(dst_array_count(array_)));
    std::sort(rows.begin(), rows.end(), [](const Row &a, const Row &b) {
        return a.wavelength != b.wavelength ? a.wavelength < b.wavelength : a.line > b.line;
    });
    return rows;
}

namespace {

// Numbers ------------------------------------------------------------------------------------

// A word that is no number ends the start then and there, with everything left as it is: the next
// start finds the database up.
Outcome not_a_number() {
    ERR_report_cat(config_catalogue(), CLR_MSG_NOT_A_NUMBER, config_line_number());
    return Outcome::halted;
}

Outcome read_number(const char *token, float *value) {
    return read_real(token, value) ? Outcome::good : not_a_number();
}

// Reads numbers from the tokens of a line on; a token that is missing is no number.
template<size_t N>
Outcome read_numbers(char *const *tokens, float (&values)[N]) {
    float read[N];
    for (size_t i = 0; i < N; ++i)
        if (!read_real(tokens[i], &read[i]))
            return not_a_number();
    std::memcpy(values, read, sizeof values);
    return Outcome::good;
}

// An end of the range. A value other than the built-in one counts as a change, even when a later
// line takes it back.
Outcome read_limit(Reading &reading, const char *token, float Range::*limit) {
    const Outcome outcome = read_number(token, &(reading.settings.range.*limit));
    reading.changed |= reading.settings.range.*limit != Settings().range.*limit;
    return outcome;
}

// Sample spaces ------------------------------------------------------------------------------

Outcome syntax_error() {
    config_report_syntax();
    return Outcome::failed;
}

// Goes through the words of a list that a lone backslash continues on the next line. Null when the
// line ends without one, or the file does.
class ListReader {
public:
    ListReader(const config_line &line, int32_t first) : line_(&line), next_(first) {}

    const char *next() {
        while (next_ < line_->count) {
            const char *token = line_->tokens[next_++];
            if (std::strcmp(token, "\\") != 0)
                return token;
            const config_line *line = config_next_line();
            if (line == nullptr)
                return nullptr;
            line_ = line;
            next_ = 0;
        }
        return nullptr;
    }

private:
    const config_line *line_;
    int32_t next_;
};

Outcome read_edges(const config_line &line, const Bins &bins) {
    ListReader list(line, 2);
    for (int32_t j = 0; j <= bins.n; ++j) {
        const char *token = list.next();
        if (token == nullptr)
            return syntax_error();
        if (const Outcome outcome = read_number(token, &bins.bounds[j]); outcome != Outcome::good)
            return outcome;
    }
    return Outcome::good;
}

// The number of bins, then "uniform" or the edges.
Outcome read_space(Reading &reading, const config_line &line) {
    reading.changed = true;
    const int32_t n = line.count > 1 ? parse_integer(line.tokens[1]) : 0;
    if (n < 1 || n > most_bins)
        return syntax_error();
    reading.spaces.set(n, nullptr);
    Owned<Space> space(make_space(n));
    if (space == nullptr)
        return Outcome::failed;
    if (line.count > 2 && std::strcmp(line.tokens[2], "uniform") == 0) {
        space->samples.uniform = 1; // the edges follow when the range is known
    } else if (const Outcome outcome = read_edges(line, space->bins()); outcome != Outcome::good) {
        return outcome;
    }
    reading.spaces.set(n, space.release());
    return Outcome::good;
}

// Lines --------------------------------------------------------------------------------------

// A table has rows and nothing else: what would be a comment elsewhere is a row without numbers.
Outcome read_row(Reading &reading, const config_line &line) {
    float numbers[4];
    const Outcome outcome = read_numbers(line.tokens, numbers);
    if (outcome != Outcome::good)
        return outcome;
    const Row row = {{numbers[0], numbers[1], numbers[2], numbers[3]}, config_line_number()};
    return reading.rows.append(row) ? Outcome::good : Outcome::failed;
}

using Apply = Outcome (*)(Reading &reading, const config_line &line);

// clang-format off
constexpr Keyword<Apply> keywords[] = {
    {"clr__default_samples", 2, [](Reading &reading, const config_line &line) {
        reading.settings.color_samples = parse_integer(line.tokens[1]);
        return Outcome::good;
    }},
    {"clr__default_red_primary", 4, [](Reading &reading, const config_line &line) {
        return read_numbers(line.tokens + 1, reading.settings.red_primary);
    }},
    {"clr__default_green_primary", 4, [](Reading &reading, const config_line &line) {
        return read_numbers(line.tokens + 1, reading.settings.green_primary);
    }},
    {"clr__default_blue_primary", 4, [](Reading &reading, const config_line &line) {
        return read_numbers(line.tokens + 1, reading.settings.blue_primary);
    }},
    {"clr__default_white_point", 4, [](Reading &reading, const config_line &line) {
        return read_numbers(line.tokens + 1, reading.settings.white_point);
    }},
    {"clr__min_wavelength", 2, [](Reading &reading, const config_line &line) {
        return read_limit(reading, line.tokens[1], &Range::minimum);
    }},
    {"clr__max_wavelength", 2, [](Reading &reading, const config_line &line) {
        return read_limit(reading, line.tokens[1], &Range::maximum);
    }},
    {"clr__sample_bins", any_tokens, read_space},
    {"clr__tristimulus", 1, [](Reading &reading, const config_line &) {
        reading.table_opened = true;
        return Outcome::good;
    }},
    {"end__tristimulus", 1, [](Reading &reading, const config_line &) {
        reading.table_ended = true; // for good: rows under another clr__tristimulus do not count
        return Outcome::good;
    }},
    {"clr__tristimulus_tab_res", 2, [](Reading &reading, const config_line &line) {
        reading.settings.table_resolution = parse_integer(line.tokens[1]);
        reading.changed |= reading.settings.table_resolution != Settings().table_resolution;
        return Outcome::good;
    }},
};
// clang-format on

Outcome read_line(Reading &reading, const config_line &line) {
    if (const auto *keyword = find_keyword(keywords, line.tokens[0]))
        return has_tokens(line, keyword->num_tokens) ? keyword->apply(reading, line)
                                                     : Outcome::good;
    return reading.table_opened && !reading.table_ended ? read_row(reading, line) : Outcome::good;
}

} // namespace

Outcome read_configuration(Reading &reading) {
    while (const config_line *line = config_next_line()) {
        const Outcome outcome = line->count > 0 ? read_line(reading, *line) : Outcome::good;
        if (outcome != Outcome::good)
            return outcome;
    }
    return Outcome::good;
}

} // namespace zor::clr
