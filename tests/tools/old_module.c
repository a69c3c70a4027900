/* old_module.c - a module built for an earlier protocol. */
#include <zor/driver.h>

ZOR_MODULE_TEXT(version, "3.1");
