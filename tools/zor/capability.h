// capability.h - what a driver offers beyond the common interface, and choosing from that.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <zor/zor.h>

namespace zor {

// An option of a driver's.
struct Capability {
    enum class Kind { choice, real, integer };
    struct Choice {
        std::string name;
        uint16_t value;
    };

    uint16_t code;
    std::string name;
    Kind kind;
    bool available;
    std::vector<Choice> choices; // of the kind choice
    uint16_t default_value;      // likewise
};

// The capabilities of a format. One thread at a time.
std::vector<Capability> capabilities_of(const ZOR_FORMAT &format);

// What users may choose from: "none (default), packed, fancy" or "a number".
std::string choices_text(const Capability &capability);

// A settings list for the library, made of what users write.
class CapabilitySettings {
public:
    // Adds a setting given as NAME=VALUE, which replaces an earlier one of that name. Names of
    // capabilities and choices count without their case; a choice's number will do as well.
    // Returns false when that means nothing, and says what there is to choose from.
    //   key  of the format, for messages
    bool add(const std::string &assignment, const std::vector<Capability> &capabilities,
             const std::string &key, std::string &problem);

    // Null while nothing is set. Stays this object's, which must outlive the handles it goes to.
    [[nodiscard]] ZOR_CAP_SETTING **list() { return list_.empty() ? nullptr : list_.data(); }

private:
    std::deque<ZOR_CAP_SETTING> settings_;
    std::vector<std::string> names_;      // of their capabilities, which may share a code
    std::vector<ZOR_CAP_SETTING *> list_; // of all of them, and a null behind
};

} // namespace zor
