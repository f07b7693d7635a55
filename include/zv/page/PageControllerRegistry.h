// Page-controller classes by name.
//
// A page names its native controller itself (the window's script method
// setPageControllerClassName), so a host registers every class a page may
// name, once, before such a page loads:
//
//     zv::registerPageControllerClass<AboutPage>("AboutPage");
//
// Any default-constructible class may be registered; one that does not derive
// from ZVWebPageController is made and then refused by the window, with the
// log line "ERROR Class NAME does not inherit from ZVWebPageController!".
// The registry is process-wide and thread-safe.
#pragma once

#include <zv/Export.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace zv {

class ZVWebPageController;

// What the registry makes for a name: the new object, and the same object
// as a page controller when it is one.
struct ZV_EXPORT RegisteredInstance {
    std::shared_ptr<void> object;
    std::shared_ptr<ZVWebPageController> pageController;
};

using InstanceFactory = std::function<RegisteredInstance()>;

ZV_EXPORT void registerClassFactory(const std::string& name, InstanceFactory factory);
// Nothing when no class is registered under `name`.
ZV_EXPORT std::optional<RegisteredInstance> makeRegisteredInstance(const std::string& name);

template <class T>
void registerPageControllerClass(const std::string& name) {
    registerClassFactory(name, [] {
        auto object = std::make_shared<T>();
        if constexpr (std::is_base_of_v<ZVWebPageController, T>)
            return RegisteredInstance{object, object};
        else
            return RegisteredInstance{object, nullptr};
    });
}

}  // namespace zv
