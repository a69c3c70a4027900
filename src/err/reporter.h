// reporter.h - what the files of the error reporter share.
#pragma once

#include <cstdarg>
#include <cstddef>

#include "zor/err.h"

// Hands a report to the record's handlers, the global ones and, if none returned 0, the default
// handler. Returns 0 when a handler dealt with it.
int err__dispatch(ERR_OBJECT *record, const char *message);

namespace zor {

// Expands what records understand of printf, the same in every locale. Cuts what does not fit.
void expand_format(char *buffer, size_t size, const char *format, va_list arguments);

inline constexpr int severity_count = ERR_FATAL + 1;
inline constexpr uint32_t record_masked = 1; // bit of ERR_OBJECT::flags

// Severities come from callers unchecked; those that do not exist are neither masked nor counted.
inline bool is_severity(int severity) { return severity >= 0 && severity < severity_count; }

// The value of the global mask, or else of the severity's; 0 when reports pass.
int report_mask(int severity);

void count_report(int severity);

// Makes the record the latest in the ring of recent reports.
void remember_report(ERR_OBJECT *record);

} // namespace zor
