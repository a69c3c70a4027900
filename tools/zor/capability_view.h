// capability_view.h - showing what drivers offer, for the commands that do.
#pragma once

#include <string>
#include <vector>

#include "capability.h"
#include "json.h"

namespace zor {

Json to_json(const std::vector<Capability> &capabilities);

// Appends a row for each to a table of labels and texts.
void add_capabilities(std::vector<std::vector<std::string>> &rows,
                      const std::vector<Capability> &capabilities);

} // namespace zor
