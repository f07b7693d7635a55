// What the viewer adds on top of reading, plugged into the window at one
// place: find across the conversation, and the About and Help pages (the
// header bar's menu, F1).
#pragma once

#include <map>
#include <memory>
#include <string>

namespace zv {
class ZVWebWindowController;
}

namespace zvwk::viewer {

class ViewerWindow;

class ViewerExtensions {
public:
    explicit ViewerExtensions(ViewerWindow& window);
    ~ViewerExtensions();
    ViewerExtensions(const ViewerExtensions&) = delete;
    ViewerExtensions& operator=(const ViewerExtensions&) = delete;

    // Searches the shown conversation for `text` with the find bar, as
    // Ctrl+F and typing would. False when this build has no find.
    bool find(const std::string& text);
    // True while a find started here is still counting.
    bool isBusy() const;

    // Shows MailViewerAbout or MailViewerHelp in a page window of its own.
    std::shared_ptr<zv::ZVWebWindowController> showPage(const std::string& name);

private:
    ViewerWindow& window_;
    std::map<std::string, std::shared_ptr<zv::ZVWebWindowController>> pages_;
};

}  // namespace zvwk::viewer
