// operator.cpp - the scan function of operators that leave rows alone.
#include "ops/operator.h"

namespace zor {

int pass_scan(void *state, int y, void **rows) {
    return state != nullptr ? scan_below(*static_cast<OperatorHead *>(state), y, rows)
                            : report_locked();
}

} // namespace zor
