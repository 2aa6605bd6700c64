// The runtime's string type. A plain std::string: names and text forms are for printing,
// never identifiers on a hot path.
#pragma once

#include <string>
#include <string_view>

namespace Qor {
using String = std::string;
}
