#include "ViewerPages.h"

#include <zv/page/ZVWebPageController.h>
#include <zv/page/ZVWebWindowController.h>

#include <gtk/gtk.h>
#include <webkit/webkit.h>


namespace zvwk::viewer {

namespace {

constexpr char kViewerVersion[] = ZVWK_VERSION;

// Fills the pages' version variables and closes the window for the page's
// Close button.
class ViewerPageController : public zv::ZVWebPageController {
public:
    ViewerPageController() {
        setValueForVariable(kViewerVersion, "version");
        setValueForVariable(std::to_string(webkit_get_major_version()) + "." +
                                std::to_string(webkit_get_minor_version()) + "." +
                                std::to_string(webkit_get_micro_version()),
                            "webkitVersion");
        setValueForVariable(std::to_string(gtk_get_major_version()) + "." + std::to_string(gtk_get_minor_version()) +
                                "." + std::to_string(gtk_get_micro_version()),
                            "gtkVersion");
        registerAction("close", &ViewerPageController::close);
    }

    void pageWillLoad() override { registerJavascriptMethod("close:"); }

private:
    void close(const zv::Notification&) {
        if (auto window = windowController()) window->closeWindow();
    }
};

}  // namespace

std::shared_ptr<zv::ZVWebWindowController> makeViewerPageWindow() {
    auto window = zv::ZVWebWindowController::create();
    window->setPageController(std::make_shared<ViewerPageController>());
    return window;
}

}  // namespace zvwk::viewer
