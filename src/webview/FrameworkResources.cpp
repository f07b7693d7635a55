#include <zv/webview/FrameworkResources.h>

namespace zv {

std::shared_ptr<const Bundle> webKitResourceBundle() {
    std::shared_ptr<const Bundle> framework = Bundle::frameworkBundle();
    if (framework->pathForResource("js/SearchWebView", "js")) return framework;
    static const auto built = std::make_shared<const Bundle>(ZV_RESOURCES_DIR);
    return built;
}

}  // namespace zv
