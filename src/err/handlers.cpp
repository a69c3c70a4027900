// handlers.cpp - the chain of handlers a report passes along, and its last link.
#include <cstdio>
#include <cstdlib>

#include "base/base/dst_malloc.h"
#include "err/reporter.h"
#include "err/status.h"
#include "platform/platform.h"

namespace {

// Lives as long as the process; nodes go back to the pool, which is never emptied.
struct {
    ERR_HANDLER *global; // top of the global stack
    dst_freelist pool;   // nodes of all stacks
} state;

ERR_HANDLER **stack_of(ERR_OBJECT *record) {
    return record == nullptr ? &state.global : &record->handlers;
}

// A report on its way. Name and severity are those it set out with: a handler may cause another
// report on the same record.
struct Report {
    ERR_OBJECT *record;
    const char *name;
    int severity;
    const char *message;

    // Whether it goes on behind this handler.
    [[nodiscard]] bool passes(ERR_HANDLER_FUNCTION function, void *data) const {
        return function == nullptr || function(name, severity, message, record, data) != 0;
    }
};

bool is_on_stack(const ERR_HANDLER *top, const ERR_HANDLER *node) {
    while (top != nullptr && top != node)
        top = top->next;
    return top == node;
}

// Handlers may take themselves and others off the stack while they are called: what is left then is
// older than all that were called.
bool passes_stack(const Report &report, ERR_HANDLER *const *top) {
    const ERR_HANDLER *node = *top;
    while (node != nullptr) {
        const ERR_HANDLER *next = node->next;
        if (!report.passes(node->function, node->data))
            return false;
        node = is_on_stack(*top, next) ? next : *top;
    }
    return true;
}

} // namespace

int err__dispatch(ERR_OBJECT *record, const char *message) {
    const Report report = {record, record->name, record->severity, message};
    if (!passes_stack(report, &record->handlers) || !report.passes(record->handler, nullptr) ||
        !passes_stack(report, &state.global))
        return 0;
    return ERR_def_handler(report.name, report.severity, message, record, nullptr);
}

int ERR_dcl_handler(ERR_OBJECT *record, ERR_HANDLER_FUNCTION function, void *data) {
    auto *node = static_cast<ERR_HANDLER *>(dst_freelist_alloc(&state.pool, sizeof(ERR_HANDLER)));
    if (node == nullptr) {
        zor::set_status(ZOR_E_MEMORY);
        return 0;
    }
    ERR_HANDLER **top = stack_of(record);
    *node = {*top, function, data};
    *top = node;
    return 1;
}

ERR_HANDLER_FUNCTION ERR_can_handler(ERR_OBJECT *record) {
    ERR_HANDLER **top = stack_of(record);
    ERR_HANDLER *node = *top;
    if (node == nullptr)
        return nullptr;
    const ERR_HANDLER_FUNCTION function = node->function;
    *top = node->next;
    state.pool.head = dst_freelist_release(node, state.pool.head);
    return function;
}

int ERR_def_handler(const char * /*name*/, int severity, const char *message,
                    ERR_OBJECT * /*record*/, void * /*data*/) {
    std::fprintf(stderr, "%s, %s\n", ERR_type(severity), message);
    std::fflush(stderr);
    if (severity == ERR_FATAL) {
        zor::platform::fatal_box(ERR_type(severity), message);
        std::abort();
    }
    return 0;
}

const char *ERR_type(int severity) {
    static const char *const names[] = {"DEBUG", "INFORMATION", "WARNING", "ERROR", "FATAL"};
    return zor::is_severity(severity) ? names[severity] : "UNKNOWN";
}
