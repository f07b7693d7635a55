// Where zvwk's own resources (its search script and strings) are: installed
// in the prefix's share/zvwk beside the program's bin/, else in the source
// tree it was built from.
#pragma once

#include <string>

namespace zvwk {

std::string resourcesPath();

}  // namespace zvwk
