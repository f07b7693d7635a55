// What the viewer adds on top of reading, plugged into the window at one
// place: find across the conversation, and the About and Help pages.
#pragma once

#include <string>

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

private:
    ViewerWindow& window_;
};

}  // namespace zvwk::viewer
