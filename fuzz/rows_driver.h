// rows_driver.h - a driver without files, key "rows": what is read comes from seeds, what is
// written is looked at and dropped. Rows have exactly their size, for the sanitizer to guard.
#pragma once

#include <vector>

#include "zor/driver.h"

namespace rows_driver {

// The images that are opened for reading next; texts are copied.
inline std::vector<ZOR_IMAGE_DESC> pictures;

// The line that cannot be moved.
inline int32_t broken_line;

// Samples in a row: colours may share the first one.
size_t row_width(const ZOR_IMAGE_DESC &desc, int row);

} // namespace rows_driver
