// What a host may want to hear from a page controller. Every member is
// optional: an empty one is simply not called (and an empty expandVariable
// leaves unknown variables empty). The controller holds the delegate weakly.
#pragma once

#include <zv/Export.h>
#include <zv/foundation/Bundle.h>
#include <zv/foundation/NotificationCenter.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zv {

class ZVWebPageController;

struct ZV_EXPORT ZVPageDelegate {
    using Action = std::function<void(const Notification&)>;

    std::function<void(ZVWebPageController&)> pageWillLoad;
    std::function<void(ZVWebPageController&)> pageDidLoad;
    std::function<void(ZVWebPageController&)> pageFailed;
    // (variable name, controller, localization key) → value, for ${name}
    // variables no table of the controller holds.
    std::function<std::optional<std::string>(const std::string&, ZVWebPageController&, const std::string&)>
        expandVariable;
    // Script messages the controller has no action of its own for, by name.
    std::map<std::string, Action, std::less<>> actions;
    // The bundle that holds the delegate's class, where the controller looks
    // its strings up when it has no localization bundle; none means the
    // host's main bundle (a delegate is always the host's own code).
    std::shared_ptr<const Bundle> bundle;
};

}  // namespace zv
