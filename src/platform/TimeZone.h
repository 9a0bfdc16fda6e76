#pragma once

#include <string>

namespace PDXTimeZone {

/// The name of the environment's time zone, e.g. "Europe/London".
std::string name();

}  // namespace PDXTimeZone
