// A message shown in a window by a ZVWebView, the web view of the message
// list, with the message's head CSS inlined first as the mail client does.
//
//   message-window MESSAGE.html
//
// When the page has loaded, the window takes the message's <title> and the
// program says so on standard output; closing the window ends it.
#include <zv/css/HeadCSSInlining.h>
#include <zv/html/HTMLParser.h>
#include <zv/webview/WebViewContent.h>
#include <zv/webview/ZVWebView.h>

#include <gtk/gtk.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

namespace {

struct Message {
    std::string html;
    std::shared_ptr<zv::ZVWebView> view;  // the window's web view lives as long as the program
    std::string title;
};

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    if (event != WEBKIT_LOAD_FINISHED) return;
    auto* message = static_cast<Message*>(data);
    std::cout << "Loaded: " << message->title << std::endl;
}

void onActivate(GtkApplication* application, gpointer data) {
    auto* message = static_cast<Message*>(data);
    zv::html::HTMLParser parser(message->html);
    zv::html::Ref<zv::html::HTMLDocument> document = parser.parseDocument();
    zv::applyHeadCSSToContentAndPurge(*document, /*purgeCSS=*/true, {}, {});
    message->title = document->title();

    message->view = zv::ZVWebView::create();
    WebKitWebView* webView = message->view->webView();
    g_signal_connect(webView, "load-changed", G_CALLBACK(onLoadChanged), message);
    zv::loadHTMLDocument(webView, *document);

    GtkWidget* window = gtk_application_window_new(application);
    gtk_window_set_title(GTK_WINDOW(window), message->title.empty() ? "Message" : message->title.c_str());
    gtk_window_set_default_size(GTK_WINDOW(window), 720, 560);
    gtk_window_set_child(GTK_WINDOW(window), GTK_WIDGET(webView));
    gtk_window_present(GTK_WINDOW(window));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: message-window MESSAGE.html\n";
        return 2;
    }
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
        std::cerr << "message-window: cannot read " << argv[1] << "\n";
        return 1;
    }
    Message message{std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}, {}, {}};

    GtkApplication* application = gtk_application_new("org.example.MessageWindow", G_APPLICATION_NON_UNIQUE);
    g_signal_connect(application, "activate", G_CALLBACK(onActivate), &message);
    int status = g_application_run(G_APPLICATION(application), 0, nullptr);
    g_object_unref(application);
    return status;
}
