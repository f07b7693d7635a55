// What the viewer adds on top of reading, plugged into the window at one
// place: find across the conversation (Ctrl+F, the find bar above the
// conversation), the About and Help pages (the header bar's menu, F1) and
// the messages' zoom (Ctrl+plus, Ctrl+minus, Ctrl+0) and forgetting every
// "Always show remote content" choice (the header bar's menu).
#pragma once

#include <glib.h>

#include <map>
#include <memory>
#include <string>

namespace zv {
class ZVWebWindowController;
}

namespace zvwk::viewer {

class ConversationFind;
class ViewerWindow;

class ViewerExtensions {
public:
    explicit ViewerExtensions(ViewerWindow& window);
    ~ViewerExtensions();
    ViewerExtensions(const ViewerExtensions&) = delete;
    ViewerExtensions& operator=(const ViewerExtensions&) = delete;

    // Opens the find bar on the shown conversation and searches `text`, as
    // Ctrl+F and typing would.
    void find(const std::string& text);
    // True while a find started here may still be counting or stepping.
    bool isBusy() const;
    ConversationFind& conversationFind() const { return *find_; }

    // Shows MailViewerAbout or MailViewerHelp in a page window of its own.
    std::shared_ptr<zv::ZVWebWindowController> showPage(const std::string& name);

private:
    ViewerWindow& window_;
    std::shared_ptr<ConversationFind> find_;
    std::map<std::string, std::shared_ptr<zv::ZVWebWindowController>> pages_;
    gint64 findStarted_ = 0;
};

}  // namespace zvwk::viewer
