// Where the web-view library finds its own resources (search scripts, the
// find bar's layout and its strings).
//
// It is Bundle::frameworkBundle() when that folder holds them (an installed
// program, or ZV_RESOURCES_DIR set in the environment), otherwise the
// resources folder this library was built with, which the build assembles
// from resources/ and mark.js.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Bundle.h>

#include <memory>

namespace zv {

ZV_EXPORT std::shared_ptr<const Bundle> webKitResourceBundle();

}  // namespace zv
