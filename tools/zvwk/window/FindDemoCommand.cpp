// zvwk find-demo: a conversation of the given messages under a find bar, the
// way a mail reader hosts the find controller. With --screenshot it searches
// for --search, steps to the first match, saves the window as PNG and quits.
#include "Commands.h"
#include "InputLoop.h"
#include "snapshot/WindowSnapshot.h"

#include <zv/find/ZVWebViewFindController.h>
#include <zv/html/HTMLDocument.h>
#include <zv/html/HTMLParser.h>
#include <zv/html/HTMLSerializer.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <iostream>

namespace zvwk {

namespace {

// The message with the search scripts at the end of its head.
std::string searchable(const std::string& html) {
    zv::html::HTMLParser parser(html);
    auto document = parser.parseDocument();
    for (auto& element : zv::ZVWebView::searchScriptElements())
        document->head()->insertNode(element, nullptr);
    return zv::html::serializeNode(*document);
}

struct Message : zv::ZVWKConversationMessageItem {
    std::string key;
    std::shared_ptr<zv::ZVWebView> view;
    GtkWidget* frame = nullptr;
    std::optional<std::string> scriptIdentifier() const override { return key; }
    std::shared_ptr<zv::ZVWebView> webView() const override { return view; }
    int64_t findCountForStrings(const std::vector<std::string>&) const override { return 0; }  // all loaded
};

struct Thread : zv::ZVWKConversationThread {
    std::vector<std::shared_ptr<Message>> messages;
    std::vector<zv::ZVWKConversationMessageItemRef> visibleConversationMessageItems() const override {
        return {messages.begin(), messages.end()};
    }
};

void spin(int milliseconds) {
    gint64 until = g_get_monotonic_time() + milliseconds * 1000;
    while (g_get_monotonic_time() < until) {
        if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(1000);
    }
}

}  // namespace

int runFindDemo(const Args& args) {
    std::string search, screenshot;
    std::vector<std::string> files;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--search" && i + 1 < args.size()) search = args[++i];
        else if (args[i] == "--screenshot" && i + 1 < args.size()) screenshot = args[++i];
        else files.push_back(args[i]);
    }
    if (files.empty()) {
        std::cerr << "zvwk: find-demo needs at least one FILE\n";
        return 2;
    }
    gtk_init();
    auto thread = std::make_shared<Thread>();
    GtkWidget* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Conversation");
    gtk_window_set_default_size(GTK_WINDOW(window), 860, 620);
    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    GtkWidget* scroller = gtk_scrolled_window_new();
    GtkWidget* list = gtk_box_new(GTK_ORIENTATION_VERTICAL, 8);
    gtk_widget_set_vexpand(scroller, TRUE);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), list);

    int status = 0;
    for (const std::string& file : files) {
        std::optional<std::string> html = readInput(file);
        if (!html) {
            status = 1;
            continue;
        }
        auto message = std::make_shared<Message>();
        message->key = "message-" + std::to_string(thread->messages.size() + 1);
        zv::ZVWebViewConfiguration configuration;
        if (!thread->messages.empty())
            configuration.relatedView = zv::GObjectRef<WebKitWebView>::ref(thread->messages[0]->view->webView());
        message->view = zv::ZVWebView::create(configuration);
        message->frame = gtk_frame_new(file.c_str());
        gtk_widget_set_size_request(GTK_WIDGET(message->view->webView()), -1, 280);
        gtk_frame_set_child(GTK_FRAME(message->frame), GTK_WIDGET(message->view->webView()));
        gtk_box_append(GTK_BOX(list), message->frame);
        webkit_web_view_load_html(message->view->webView(), searchable(*html).c_str(), "file:///");
        thread->messages.push_back(message);
    }

    // The host scrolls its list to the message and the match in it.
    auto delegate = std::make_shared<zv::ZVWebviewFindDelegate>();
    delegate->foundResultInMessageItem = [scroller, list](zv::ZVWebViewFindController&,
                                                          const zv::ZVWKConversationMessageItemRef& item,
                                                          zv::Point offset, bool) {
        auto* message = static_cast<Message*>(item.get());
        graphene_point_t origin = GRAPHENE_POINT_INIT(0, 0), top;
        if (!message || !gtk_widget_compute_point(message->frame, list, &origin, &top)) return;
        GtkAdjustment* adjustment = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller));
        gtk_adjustment_set_value(adjustment, top.y + offset.y - 60);
    };
    delegate->shouldHideFindView = [](zv::ZVWebViewFindController& controller) {
        gtk_widget_set_visible(controller.findView(), FALSE);
    };
    auto controller = zv::ZVWebViewFindController::create(thread, delegate, zv::ZVWebViewFindController::ShowReplace);
    gtk_box_append(GTK_BOX(column), controller->findView());
    gtk_box_append(GTK_BOX(column), gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
    gtk_box_append(GTK_BOX(column), scroller);
    gtk_window_set_child(GTK_WINDOW(window), column);
    gtk_window_present(GTK_WINDOW(window));

    if (screenshot.empty()) {
        controller->focusFindFieldWithValue(search.empty() ? std::nullopt : std::optional(search));
        while (g_list_model_get_n_items(gtk_window_get_toplevels()) > 0) g_main_context_iteration(nullptr, TRUE);
        return status;
    }
    spin(2500);  // the pages load
    controller->focusFindFieldWithValue(search);
    spin(500);
    controller->findNext();
    controller->findNext();
    spin(800);
    std::string error;
    if (!writeWindowPNG(GTK_WINDOW(window), screenshot, error)) {
        std::cerr << "zvwk: " << screenshot << ": " << error << "\n";
        return 1;
    }
    return status;
}

}  // namespace zvwk
