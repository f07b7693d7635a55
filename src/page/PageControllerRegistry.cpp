#include <zv/page/PageControllerRegistry.h>

#include <map>
#include <mutex>

namespace zv {

namespace {

std::mutex& registryMutex() {
    static std::mutex mutex;
    return mutex;
}

std::map<std::string, InstanceFactory>& registry() {
    static std::map<std::string, InstanceFactory> factories;
    return factories;
}

}  // namespace

void registerClassFactory(const std::string& name, InstanceFactory factory) {
    std::lock_guard lock(registryMutex());
    registry()[name] = std::move(factory);
}

std::optional<RegisteredInstance> makeRegisteredInstance(const std::string& name) {
    InstanceFactory factory;
    {
        std::lock_guard lock(registryMutex());
        auto found = registry().find(name);
        if (found == registry().end()) return std::nullopt;
        factory = found->second;
    }
    return factory();
}

}  // namespace zv
