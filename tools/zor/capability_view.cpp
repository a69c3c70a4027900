// capability_view.cpp - capabilities as JSON and as lines of a table.
#include "capability_view.h"

namespace zor {

namespace {

const char *kind_name(Capability::Kind kind) {
    static const char *const names[] = {"choice", "real", "integer"};
    return names[static_cast<size_t>(kind)];
}

Json to_json(const Capability &capability) {
    Json choices = Json::array();
    Json default_name;
    for (const Capability::Choice &choice : capability.choices) {
        choices.push_back({{"name", choice.name}, {"value", choice.value}});
        if (choice.value == capability.default_value)
            default_name = choice.name;
    }
    return {{"name", capability.name},
            {"kind", kind_name(capability.kind)},
            {"available", capability.available},
            {"choices", choices},
            {"default", default_name}};
}

} // namespace

Json to_json(const std::vector<Capability> &capabilities) {
    Json all = Json::array();
    for (const Capability &capability : capabilities)
        all.push_back(to_json(capability));
    return all;
}

void add_capabilities(std::vector<std::vector<std::string>> &rows,
                      const std::vector<Capability> &capabilities) {
    for (const Capability &capability : capabilities)
        rows.push_back({"capability", capability.name + ": " + choices_text(capability) +
                                          (capability.available ? "" : "; not at present")});
}

} // namespace zor
