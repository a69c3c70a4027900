// capability.cpp - reading drivers' descriptors, and users' choices.
#include "capability.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <optional>

#include "text.h"

namespace zor {

namespace {

constexpr int32_t unavailable = 4; // in a descriptor's flags

// A name may be a text of the catalogue's, which stands beside it then.
const char *name_of(const char *name, int32_t set, const char *from_catalogue) {
    return set != 0 && from_catalogue != nullptr ? from_catalogue : name;
}

// The code says how a setting's value is held.
Capability::Kind kind_of(const ZOR_CAPABILITY &descriptor) {
    if (descriptor.kind == 0)
        return Capability::Kind::choice;
    return descriptor.code == 1 ? Capability::Kind::real : Capability::Kind::integer;
}

void add_choices(Capability &capability, const ZOR_CAP_LIST &list) {
    capability.default_value = list.default_value;
    const ZOR_CAP_ENTRY *entry = list.entries;
    for (; entry != nullptr && (entry->name != nullptr || entry->name_set != 0); ++entry) {
        if (const char *name = name_of(entry->name, entry->name_set, entry->name_default))
            capability.choices.push_back({name, entry->value});
    }
}

bool same(const std::string &a, const std::string &b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

// A number that is all of the text.
template<class Number>
std::optional<Number> parse(const std::string &text) {
    Number value = {};
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && rest == end ? std::optional(value) : std::nullopt;
}

std::optional<uint16_t> find_choice(const Capability &capability, const std::string &text) {
    for (const Capability::Choice &choice : capability.choices) {
        if (same(choice.name, text))
            return choice.value;
    }
    const auto number = parse<uint16_t>(text);
    for (const Capability::Choice &choice : capability.choices) {
        if (choice.value == number)
            return choice.value;
    }
    return std::nullopt;
}

bool set_value(ZOR_CAP_SETTING &setting, const Capability &capability, const std::string &text) {
    if (capability.kind == Capability::Kind::real) {
        const auto value = parse<float>(text);
        setting.value.real = value.value_or(0);
        return value.has_value() && std::isfinite(*value);
    }
    std::optional<int32_t> value;
    if (capability.kind == Capability::Kind::choice)
        value = find_choice(capability, text);
    else
        value = parse<int32_t>(text);
    setting.value.number = value.value_or(0);
    return value.has_value();
}

} // namespace

std::vector<Capability> capabilities_of(const ZOR_FORMAT &format) {
    ZOR_CAPABILITY *list = nullptr;
    int32_t first = 0;
    int32_t second = 0;
    int32_t count = 0;
    ZOR_info_get_specific(nullptr, &format, &list, &first, &second, &count);
    std::vector<Capability> capabilities;
    for (int32_t i = 0; list != nullptr && i < count; ++i) {
        const ZOR_CAPABILITY &descriptor = list[i];
        const char *name = name_of(descriptor.name, descriptor.name_set, descriptor.name_default);
        if (name == nullptr)
            continue; // reported at start-up
        Capability &capability =
            capabilities.emplace_back(Capability{static_cast<uint16_t>(descriptor.code),
                                                 name,
                                                 kind_of(descriptor),
                                                 (descriptor.flags & unavailable) == 0,
                                                 {},
                                                 0});
        if (descriptor.kind == 0 && descriptor.list != nullptr)
            add_choices(capability, *descriptor.list);
    }
    return capabilities;
}

std::string choices_text(const Capability &capability) {
    if (capability.kind != Capability::Kind::choice)
        return capability.kind == Capability::Kind::real ? "a number" : "a whole number";
    std::string text;
    for (const Capability::Choice &choice : capability.choices) {
        const bool is_default = choice.value == capability.default_value;
        add_to_list(text, choice.name + (is_default ? " (default)" : ""));
    }
    return text;
}

bool CapabilitySettings::add(const std::string &assignment,
                             const std::vector<Capability> &capabilities, const std::string &key,
                             std::string &problem) {
    const size_t split = std::min(assignment.find('='), assignment.size());
    const std::string name = assignment.substr(0, split);
    const auto found = std::find_if(capabilities.begin(), capabilities.end(),
                                    [&](const Capability &c) { return same(c.name, name); });
    std::string all;
    for (const Capability &capability : capabilities)
        add_to_list(all, capability.name);
    if (split == assignment.size())
        problem = "--set wants NAME=VALUE, not '" + assignment + "'";
    else if (capabilities.empty())
        problem = key + " has nothing that could be set";
    else if (found == capabilities.end())
        problem = key + " has no '" + name + "' to set; there is " + all;
    else if (!found->available)
        problem = found->name + " cannot be set at present";
    if (!problem.empty())
        return false;

    ZOR_CAP_SETTING setting = {};
    setting.code = found->code;
    if (!set_value(setting, *found, assignment.substr(split + 1))) {
        problem = found->name + " cannot be '" + assignment.substr(split + 1) + "'; it can be " +
                  choices_text(*found);
        return false;
    }
    const auto earlier = std::find(names_.begin(), names_.end(), found->name);
    if (earlier != names_.end()) {
        settings_[static_cast<size_t>(earlier - names_.begin())] = setting;
        return true;
    }
    names_.push_back(found->name);
    list_.insert(list_.empty() ? list_.end() : list_.end() - 1, &settings_.emplace_back(setting));
    if (list_.size() == 1)
        list_.push_back(nullptr);
    return true;
}

} // namespace zor
