// config.h - the reader of the configuration file, which the databases share.
//
// The reader finds the file and keeps it in memory as lines split into tokens. It knows no keywords
// and checks no syntax. A missing file is no error: there are no lines then.
#pragma once

#include <cstdint>

// Most tokens that a line can have and still mean something. The reader stores one more, so that a
// longer line fails every test of its token count.
constexpr int32_t config_max_tokens = 16;

// A line of the file. A line longer than 254 characters comes as several, which count as lines of
// their own wherever lines are numbered.
struct config_line {
    int32_t count;
    char *tokens[config_max_tokens + 2]; // ends with a null; they stay the reader's
};

// Reads the file, unless that has been done already: then the next line is the first again.
//   catalogue  of messages; kept by the call that reads the file
// Returns 0; -1 when there is no file, or when memory ran out (reported).
int config_open(void *catalogue);

// The next line, null after the last. Lines stay valid until config_close.
const config_line *config_next_line();

// Frees all lines, for all databases: the next config_open looks for the file again. Returns 0.
int config_close();

// Splits a text in place.
//   max_count  the splitting stops after one token more than this
//   tokens     receives the tokens and a null: room for max_count + 2
// Returns the number of tokens.
//
// White space, the carriage return included, separates tokens. A token in double quotes, single
// quotes or escape characters (code 27) may contain white space; without a closing quote it runs to
// the end of the text. Elsewhere in a token quotes are ordinary characters. Any other control
// character and any byte from 128 on ends an unquoted token; where none is under way, it makes an
// empty one.
int32_t config_tokenize(int32_t max_count, char *text, char **tokens);

// For messages: the path of the file, or the one tried last when there is none; the number of the
// line handed out last, from 1, and 0 before the first; the catalogue.
const char *config_path();
int32_t config_line_number();
void *config_catalogue();

// Reports a syntax error in the line handed out last.
void config_report_syntax();
