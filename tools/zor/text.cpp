// text.cpp - texts and tables for people.
#include "text.h"

#include <algorithm>
#include <cstdio>

namespace zor {

std::string printable(const std::string &text) {
    static const char digits[] = "0123456789abcdef";
    std::string result;
    unsigned char before = 0;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        // U+0080 to U+009F are control characters too.
        const bool high = before == 0xC2 && code >= 0x80 && code < 0xA0;
        before = code;
        if (code >= 32 && code != 127 && !high)
            result += c;
        else
            result.append("\\x").append(1, digits[code >> 4]).append(1, digits[code & 15]);
    }
    return result;
}

void add_to_list(std::string &list, const std::string &item, const char *separator) {
    if (!list.empty())
        list += separator;
    list += item;
}

void print_table(const std::vector<std::vector<std::string>> &rows, const std::string &indent) {
    std::vector<size_t> widths;
    for (const auto &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (size_t k = 0; k < row.size(); ++k)
            widths[k] = std::max(widths[k], printable(row[k]).size());
    }
    for (const auto &row : rows) {
        std::string line = indent;
        for (size_t k = 0; k < row.size(); ++k) {
            const std::string cell = printable(row[k]);
            line += cell;
            if (k + 1 < row.size())
                line.append(widths[k] - cell.size() + 2, ' ');
        }
        std::printf("%s\n", line.c_str());
    }
}

} // namespace zor
