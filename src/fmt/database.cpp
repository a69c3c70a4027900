// database.cpp - what the databases that read the configuration file have in common.
#include "fmt/database.h"

#include "base/base/number.h"
#include "zor/messages.h"

namespace zor {

bool has_tokens(const config_line &line, int32_t wanted) {
    if (wanted == any_tokens || line.count == wanted)
        return true;
    config_report_syntax();
    return false;
}

bool read_real(const char *text, float *value) {
    double wide;
    if (text == nullptr || !parse_real(text, &wide))
        return false;
    *value = to_float(wide);
    return true;
}

void report_start(const char *database, const char *operation) {
    ERR_report_cat(config_catalogue(), FMT_MSG_ON_DEMAND_START, database, operation);
}

} // namespace zor
