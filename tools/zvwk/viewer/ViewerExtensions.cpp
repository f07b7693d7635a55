#include "ViewerExtensions.h"

#include "ConversationFind.h"
#include "ViewerPages.h"
#include "ViewerWindow.h"

#include <zv/page/ZVWebWindowController.h>
#include <zv/reading/RemoteContentChoices.h>

#include <algorithm>

namespace zvwk::viewer {

namespace {

// How long an unattended find is given to count every message and step to
// the first match before the window is taken as settled.
constexpr gint64 kFindSettleMicroseconds = 1500 * 1000;

// Zoom steps as browsers take them, within what a message still reads at.
constexpr double kZoomStep = 1.1;
constexpr double kSmallestZoom = 0.5;
constexpr double kLargestZoom = 3;

}  // namespace

ViewerExtensions::ViewerExtensions(ViewerWindow& window) : window_(window) {
    find_ = ConversationFind::create(window_.conversationView());
    window_.setTopBar(find_->bar());
    window_.conversationShownHook = [this] { find_->conversationChanged(); };
    window_.conversationView().cardSettled = [this](MessageCard& card) { find_->cardSettled(card); };
    window_.addAction("find", [this] { find_->open(std::nullopt); }, "<Control>f");
    window_.addAction("help", [this] { showPage("MailViewerHelp"); }, "F1");
    window_.addAction("about", [this] { showPage("MailViewerAbout"); });
    ConversationView& conversation = window_.conversationView();
    auto zoomTo = [&conversation](double level) {
        conversation.setZoomLevel(std::clamp(level, kSmallestZoom, kLargestZoom));
    };
    window_.addAction("zoom-in", [&conversation, zoomTo] { zoomTo(conversation.zoomLevel() * kZoomStep); });
    window_.addAction("zoom-out", [&conversation, zoomTo] { zoomTo(conversation.zoomLevel() / kZoomStep); }, "<Control>minus");
    window_.addAction("zoom-reset", [zoomTo] { zoomTo(1); }, "<Control>0");
    // Ctrl+= is Ctrl+plus without the Shift most keyboards need for "+".
    const char* zoomIn[] = {"<Control>plus", "<Control>equal", "<Control>KP_Add", nullptr};
    gtk_application_set_accels_for_action(gtk_window_get_application(window_.window()), "win.zoom-in", zoomIn);
    window_.addAction("forget-remote-content-choices", [&conversation] {
        zv::RemoteContentChoices::shared()->forgetAll();
        for (const auto& card : conversation.cards()) card->followRememberedChoices();
    });
    window_.addMenuItem("Find in Conversation", "find");
    window_.addMenuItem("Forget Remote Content Choices", "forget-remote-content-choices");
    window_.addMenuItem("Help", "help");
    window_.addMenuItem("About the Mail Viewer", "about");
}

ViewerExtensions::~ViewerExtensions() {
    window_.conversationShownHook = nullptr;
    window_.conversationView().cardSettled = nullptr;
}

void ViewerExtensions::find(const std::string& text) {
    findStarted_ = g_get_monotonic_time();
    find_->open(text);
    // Then to the first match, as the next-match button would, once the pages have counted.
    auto* held = new std::weak_ptr<ConversationFind>(find_);
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, 600,
        [](gpointer data) -> gboolean {
            if (auto find = static_cast<std::weak_ptr<ConversationFind>*>(data)->lock()) find->controller().findNext();
            return G_SOURCE_REMOVE;
        },
        held, [](gpointer data) { delete static_cast<std::weak_ptr<ConversationFind>*>(data); });
}

bool ViewerExtensions::isBusy() const {
    return findStarted_ && g_get_monotonic_time() - findStarted_ < kFindSettleMicroseconds;
}

std::shared_ptr<zv::ZVWebWindowController> ViewerExtensions::showPage(const std::string& name) {
    auto& page = pages_[name];
    if (!page) page = makeViewerPageWindow();
    page->loadFile(name, "html");
    return page;
}

}  // namespace zvwk::viewer
