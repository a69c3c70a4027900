// defaults.h - what the core asks the format defaults beside the public fmt.h.
#pragma once

// The current driver key and base name for new files, "mox" and "im" unless the configuration file
// says otherwise. They do not start the database: the core does that in its own way.
const char *fmt__def_key();
const char *fmt__def_base_name();
