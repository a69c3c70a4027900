// report.cpp - catalogue reports: a severity, a printf format and its arguments.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "err/reporter.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/messages.h"

int32_t zor__err = ZOR_OK;
void *zor__msg_cat = nullptr;

namespace {

// One way of reporting. Each has one record, shown by every ring slot it filled, and one buffer:
// what ERR_last returns shows the latest report of its kind. The buffer's last byte is never
// written but with the terminator.
struct Channel {
    ERR_OBJECT record;
    char text[32768];
};

// Lives as long as the process and needs no start-up. Unguarded, like all of the reporter.
struct {
    Channel catalogue;    // ERR_report_cat, zor__fail
    Channel direct;       // ERR_printf, ERR_report_errno
    int32_t shared_value; // kept for whoever shares the reporter one day
    bool shared;          // several processes report through one; never set today
} state;

// A severity that does not exist must not turn into one when it is cut to a byte.
uint8_t severity_byte(int severity) {
    return severity >= 0 && severity <= UINT8_MAX ? static_cast<uint8_t>(severity) : UINT8_MAX;
}

// Whether a format has real numbers, whose point printf takes from the application's locale, and
// nothing that records do not understand.
bool has_plain_reals(const char *format) {
    bool found = false;
    for (const char *at = format; (at = std::strchr(at, '%')) != nullptr; at += 2) {
        if (at[1] == '\0' || std::strchr("cdfs%", at[1]) == nullptr)
            return false;
        found = found || at[1] == 'f';
    }
    return found;
}

ZOR_PRINTF(3, 0)
int report(Channel &channel, int severity, const char *format, va_list arguments) {
    // Only reports that pass the masks count here; ERR_report counts the masked ones as well.
    const int mask = zor::report_mask(severity);
    if (mask != 0)
        return mask;
    if (has_plain_reals(format))
        zor::expand_format(channel.text, sizeof channel.text, format, arguments);
    else if (std::vsnprintf(channel.text, sizeof channel.text, format, arguments) < 0)
        channel.text[0] = '\0'; // an argument could not be converted
    zor::count_report(severity);
    channel.record.kind = 1;
    channel.record.severity = severity_byte(severity);
    channel.record.name = format; // the format is the only name such a report has
    channel.record.text = channel.text;
    zor::remember_report(&channel.record);
    return err__dispatch(&channel.record, channel.text);
}

} // namespace

namespace {

// The one place where a message could be looked up in a catalogue instead.
ZOR_PRINTF(5, 0)
int report_message(void * /*catalogue*/, int /*set*/, int /*number*/, int severity,
                   const char *format, va_list arguments) {
    return report(state.catalogue, severity, format, arguments);
}

} // namespace

int ERR_report_cat(void *catalogue, int set, int number, int severity, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = report_message(catalogue, set, number, severity, format, arguments);
    va_end(arguments);
    return result;
}

int32_t zor__fail(int32_t status, int set, int number, int severity, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report_message(zor__msg_cat, set, number, severity, format, arguments);
    va_end(arguments);
    return zor::set_status(status); // last, so that no handler changes it
}

void ERR_printf(int severity, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    report(state.direct, severity, format, arguments);
    va_end(arguments);
}

void ERR_report_errno(int number, const char *prefix) {
    const bool has_prefix = prefix != nullptr && prefix[0] != '\0';
    const bool has_text = number >= 0 && number < zor::platform::error_text_count();
    if (has_prefix && has_text)
        ERR_printf(ERR_ERROR, "%s: %s", prefix, zor::platform::error_text(number));
    else if (has_prefix)
        ERR_printf(ERR_ERROR, "%s: error %d", prefix, number);
    else if (has_text)
        ERR_printf(ERR_ERROR, "%s", zor::platform::error_text(number));
    else
        ERR_printf(ERR_ERROR, "error %d", number);
}

int ERR_report_mp(int32_t value, int flag) {
    if ((flag != 0) != state.shared)
        return 0;
    if (flag == 0)
        state.shared_value = value;
    return 1;
}
