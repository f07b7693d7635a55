#include "ViewerApplication.h"

#include "DesktopStyle.h"
#include "LinkWarningDialog.h"
#include "MessageNavigationPolicy.h"
#include "SoftwareGL.h"
#include "ViewerExtensions.h"
#include "ViewerStyleSheet.h"
#include "ViewerWindow.h"
#include "snapshot/WindowSnapshot.h"

#include <zv/page/ZVWebPageController.h>
#include <zv/page/ZVWebWindowController.h>
#include <zv/scheme/IconThemeSymbols.h>

#include <gtk/gtk.h>

#include <chrono>
#include <iostream>
#include <memory>

namespace zvwk::viewer {

namespace {

constexpr char kApplicationId[] = "org.zvwebkit.MailViewer";
using Clock = std::chrono::steady_clock;
// An unattended run gives up after this, writing what it has.
constexpr auto kScreenshotLimit = std::chrono::seconds(90);

struct Viewer {
    ViewArguments arguments;
    GtkApplication* application = nullptr;
    std::unique_ptr<DesktopStyle> style;
    std::unique_ptr<ViewerWindow> window;
    std::unique_ptr<ViewerExtensions> extensions;
    Clock::time_point started;
    int status = 0;
    bool findRun = false;
    std::shared_ptr<zv::ZVWebWindowController> page;
    bool pageLoaded = false;
    int settleTicks = 0;
    bool imagesShown = false;
    bool alwaysChosen = false;
    bool linkFollowed = false;
    bool processEnded = false;
    int linkTicks = 0;
};

void finishScreenshot(Viewer& viewer) {
    std::string error;
    GtkWindow* shown = viewer.page ? viewer.page->window() : viewer.window->window();
    GtkWindow* over = viewer.arguments.followLink ? shownLinkQuestion() : nullptr;
    if (!writeWindowPNG(shown, *viewer.arguments.screenshot, error, over)) {
        std::cerr << "zvwk: view: " << error << "\n";
        viewer.status = 1;
    }
    g_application_quit(G_APPLICATION(viewer.application));
}

bool readyForScreenshot(Viewer& viewer) {
    ViewerWindow& window = *viewer.window;
    if (!gtk_widget_get_mapped(GTK_WIDGET(window.window())) || !window.isMailboxRead()) return false;
    if (!window.conversations().empty() && !window.shownConversation()) return false;
    if (!window.conversationView().isLoaded()) return false;
    if (viewer.arguments.find && !viewer.findRun) {
        viewer.findRun = true;
        viewer.extensions->find(*viewer.arguments.find);
        return false;
    }
    if (viewer.extensions->isBusy()) return false;
    if (viewer.page && !viewer.pageLoaded) return false;
    const auto& cards = window.conversationView().cards();
    if (viewer.arguments.showImages && !viewer.imagesShown && !cards.empty()) {
        viewer.imagesShown = true;
        cards.back()->showRemoteContent();
        return false;
    }
    if (viewer.arguments.alwaysShow && !viewer.alwaysChosen && !cards.empty()) {
        viewer.alwaysChosen = true;
        cards.back()->alwaysShowRemoteContent(*viewer.arguments.alwaysShow == "sender"
                                                  ? zv::RemoteContentChoices::Scope::Sender
                                                  : zv::RemoteContentChoices::Scope::Domain);
        return false;
    }
    if (viewer.arguments.followLink && !viewer.linkFollowed && !cards.empty() && cards.back()->bodyView()) {
        viewer.linkFollowed = true;
        followMessageLink(cards.back()->bodyView()->webView(), *viewer.arguments.followLink);
        return false;
    }
    if (viewer.arguments.endWebProcess && !cards.empty()) {
        MessageCard& card = *cards.back();
        if (!viewer.processEnded && card.bodyView()) {
            viewer.processEnded = true;
            webkit_web_view_terminate_web_process(card.bodyView()->webView());
        }
        if (!card.isBodyStopped()) return false;
    }
    // A link's question comes a moment after the click, if at all.
    if (viewer.linkFollowed && !shownLinkQuestion() && ++viewer.linkTicks < 30) return false;
    // A few more ticks so images and the last layout reach the screen.
    return ++viewer.settleTicks > 6;
}

gboolean screenshotTick(gpointer data) {
    auto& viewer = *static_cast<Viewer*>(data);
    bool late = Clock::now() - viewer.started > kScreenshotLimit;
    if (!readyForScreenshot(viewer) && !late) return G_SOURCE_CONTINUE;
    if (late) std::cerr << "zvwk: view: the conversation did not finish loading; writing the window as it is\n";
    finishScreenshot(viewer);
    return G_SOURCE_REMOVE;
}

void activate(GtkApplication* application, gpointer data) {
    auto& viewer = *static_cast<Viewer*>(data);
    if (viewer.window) {
        gtk_window_present(viewer.window->window());
        return;
    }
    installViewerStyleSheet();
    zv::useIconThemeSymbols();
    viewer.style = std::make_unique<DesktopStyle>();
    ViewerOptions options;
    options.paths = viewer.arguments.paths;
    options.select = viewer.arguments.select;
    options.conversation.dark = viewer.style->prefersDark();
    viewer.window = std::make_unique<ViewerWindow>(application, options);
    viewer.style->changed = [&viewer](bool dark) { viewer.window->setDark(dark); };
    // Unreadable operands are reported as the other commands report them;
    // the rest of the mail still opens.
    viewer.window->mailboxReadHook = [&viewer] {
        for (const std::string& error : viewer.window->mailboxErrors()) std::cerr << "zvwk: " << error << "\n";
        if (!viewer.window->mailboxErrors().empty()) viewer.status = 1;
    };
    viewer.extensions = std::make_unique<ViewerExtensions>(*viewer.window);
    gtk_window_present(viewer.window->window());
    // GTK has taken its renderer for good with the first window.
    restoreRendererChoice();
    if (viewer.arguments.page) {
        viewer.page = viewer.extensions->showPage(*viewer.arguments.page == "about" ? "MailViewerAbout" : "MailViewerHelp");
        viewer.page->pageController()->setPageLoadedCompletion(
            [&viewer](std::optional<zv::Error>) { viewer.pageLoaded = true; });
    }
    if (viewer.arguments.screenshot) {
        viewer.started = Clock::now();
        g_timeout_add(100, screenshotTick, &viewer);
    }
}

}  // namespace

int runViewer(const ViewArguments& arguments) {
    if (!gtk_init_check()) {
        std::cerr << "zvwk: view: no display to open a window on (for a screenshot without one: "
                     "xvfb-run zvwk view --screenshot FILE.png PATH)\n";
        return 1;
    }
    preferCairoOnSoftwareOpenGL(gdk_display_get_default());
    Viewer viewer;
    viewer.arguments = arguments;
    // Several viewers (and unattended runs) may be open at once, each on its own mailbox.
    viewer.application = gtk_application_new(kApplicationId, G_APPLICATION_NON_UNIQUE);
    g_signal_connect(viewer.application, "activate", G_CALLBACK(activate), &viewer);
    int status = g_application_run(G_APPLICATION(viewer.application), 0, nullptr);
    viewer.extensions.reset();
    viewer.window.reset();
    g_object_unref(viewer.application);
    return status ? status : viewer.status;
}

}  // namespace zvwk::viewer
