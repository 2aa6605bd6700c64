// Feature toggles: Boolean switches that the platform ships in JSON files, one flat object
// per file, e.g. {"FennEvpnVxlan4WayL2Ecmp": true}, in the directory named by
// FENN_TOGGLE_DIR. A file is read once and cached for the life of the process. A toggle
// that is not set, a missing directory setting, and a missing or malformed file all give
// the caller's default; the last two are reported once per file on stderr, and a
// malformed file also in the system log (FENN_TOGGLE_FILE_MALFORMED).
#pragma once

#include "Qor/String.h"

namespace Qor {

bool getToggleState(String name, String file, bool defaultValue);

// Forgets every cached file, so the next query reads FENN_TOGGLE_DIR and the file again.
void toggleCacheDelAll();

}  // namespace Qor
