// A message shown in a window by a ZVWebView under the find bar, with the
// message's head CSS inlined first as the mail client does.
//
//   message-window MESSAGE.html [SEARCH]
//
// When the page has loaded, the window takes the message's <title> and the
// program says so on standard output; with SEARCH, the find bar then searches
// for it and the program prints the number of matches. Closing the window
// ends it.
#include <zv/css/HeadCSSInlining.h>
#include <zv/find/ZVWebViewFindController.h>
#include <zv/foundation/URL.h>
#include <zv/html/HTMLParser.h>
#include <zv/webview/WebViewContent.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

namespace {

struct Message {
    std::string path;
    std::string html;
    std::optional<std::string> search;
    std::string title;
    // The window's web view and find bar live as long as the program.
    std::shared_ptr<zv::ZVWebView> view;
    std::shared_ptr<zv::ZVWebviewFindDelegate> findDelegate;
    std::shared_ptr<zv::ZVWebViewFindController> finder;
};

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    if (event != WEBKIT_LOAD_FINISHED) return;
    auto* message = static_cast<Message*>(data);
    std::cout << "Loaded: " << message->title << std::endl;
    if (!message->search) return;
    message->finder->focusFindFieldWithValue(message->search);
    message->finder->getFindResultCount([](int64_t total) { std::cout << "Matches: " << total << std::endl; });
}

// The page: head CSS inlined, and the find bar's search scripts in the head.
zv::html::Ref<zv::html::HTMLDocument> preparedDocument(Message& message) {
    zv::html::HTMLParser parser(message.html);
    zv::html::Ref<zv::html::HTMLDocument> document = parser.parseDocument();
    zv::applyHeadCSSToContentAndPurge(*document, /*purgeCSS=*/true, {}, {});
    if (zv::html::HTMLElement* head = document->head())
        for (auto& script : zv::ZVWebView::searchScriptElements()) head->insertNode(script, nullptr);
    message.title = document->title();
    return document;
}

void onActivate(GtkApplication* application, gpointer data) {
    auto* message = static_cast<Message*>(data);
    zv::html::Ref<zv::html::HTMLDocument> document = preparedDocument(*message);

    message->view = zv::ZVWebView::create();
    WebKitWebView* webView = message->view->webView();
    gtk_widget_set_vexpand(GTK_WIDGET(webView), TRUE);
    g_signal_connect(webView, "load-changed", G_CALLBACK(onLoadChanged), message);
    // The message's own folder is the base: its relative images and the
    // search scripts (file paths) may load.
    zv::loadHTMLDocument(webView, *document, zv::URL::fromFilePath(message->path));

    // The bar's done button (or Escape) hides it; the host decides how.
    message->findDelegate = std::make_shared<zv::ZVWebviewFindDelegate>();
    message->findDelegate->shouldHideFindView = [](zv::ZVWebViewFindController& controller) {
        gtk_widget_set_visible(controller.findView(), FALSE);
    };
    message->finder = zv::ZVWebViewFindController::create(message->findDelegate);
    message->finder->setWebviews({message->view});

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(column), message->finder->findView());
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(webView));
    GtkWidget* window = gtk_application_window_new(application);
    gtk_window_set_title(GTK_WINDOW(window), message->title.empty() ? "Message" : message->title.c_str());
    gtk_window_set_default_size(GTK_WINDOW(window), 720, 560);
    gtk_window_set_child(GTK_WINDOW(window), column);
    gtk_window_present(GTK_WINDOW(window));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: message-window MESSAGE.html [SEARCH]\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
        std::cerr << "message-window: cannot read " << argv[1] << "\n";
        return 1;
    }
    Message message;
    std::unique_ptr<char, decltype(&g_free)> absolute(g_canonicalize_filename(argv[1], nullptr), g_free);
    message.path = absolute.get();
    message.html.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (argc == 3) message.search = argv[2];

    GtkApplication* application = gtk_application_new("org.example.MessageWindow", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate", G_CALLBACK(onActivate), &message);
    int status = g_application_run(G_APPLICATION(application), 0, nullptr);
    g_object_unref(application);
    return status;
}
