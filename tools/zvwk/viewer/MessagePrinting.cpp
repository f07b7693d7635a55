#include "MessagePrinting.h"

#include "DateText.h"

#include <zv/foundation/GObjectRef.h>
#include <zv/webview/ScriptEvaluation.h>

namespace zvwk::viewer {

namespace {

constexpr char kHeaderId[] = "zvwk-print-header";

std::string escaped(const std::string& text) {
    g_autofree char* markup = g_markup_escape_text(text.c_str(), -1);
    return markup;
}

std::string line(const char* label, const std::string& value) {
    if (value.empty()) return "";
    return std::string("<div><b>") + label + "</b> " + escaped(value) + "</div>";
}

std::string sender(const MessageSummary& summary) {
    if (summary.fromAddress.empty() || summary.fromName == summary.fromAddress) return summary.fromName;
    return summary.fromName + " <" + summary.fromAddress + ">";
}

}  // namespace

std::string printHeaderMarkup(const MessageSummary& summary) {
    return std::string("<style>@media screen{#") + kHeaderId + "{display:none}}</style>" +
           "<div style=\"font:15px/1.4 sans-serif;font-weight:bold;margin:0 0 6px\">" +
           escaped(summary.subject.empty() ? "(no subject)" : summary.subject) + "</div>" + line("From:", sender(summary)) +
           line("To:", summary.to) + line("Cc:", summary.cc) +
           line("Date:", summary.date ? longDateText(summary.date) : "");
}

void printMessage(WebKitWebView* view, const MessageSummary& summary, GtkPrintSettings* settings,
                  std::function<void()> finished) {
    std::string insert = "(function(markup){var old=document.getElementById('" + std::string(kHeaderId) +
                         "');if(old)old.remove();var block=document.createElement('div');block.id='" + kHeaderId +
                         "';block.style.cssText='font:13px/1.5 sans-serif;padding:0 0 10px;margin:0 0 16px;"
                         "border-bottom:1px solid #999';block.innerHTML=markup;document.body.prepend(block)})(" +
                         zv::Value(printHeaderMarkup(summary)).dump() + ")";
    auto held = zv::GObjectRef<WebKitWebView>::ref(view);
    auto chosen = zv::GObjectRef<GtkPrintSettings>::ref(settings);
    zv::evaluateJavaScript(view, insert, [held, chosen, finished](std::optional<zv::Value>, std::optional<zv::Error>) {
        WebKitPrintOperation* operation = webkit_print_operation_new(held.get());
        std::function<void()> cleanUp = [held, finished] {
            zv::evaluateJavaScript(held.get(), "var b=document.getElementById('" + std::string(kHeaderId) + "');if(b)b.remove()");
            if (finished) finished();
        };
        g_signal_connect_data(operation, "finished", G_CALLBACK(+[](WebKitPrintOperation* operation, gpointer data) {
                                  (*static_cast<std::function<void()>*>(data))();
                                  g_object_unref(operation);
                              }),
                              new std::function<void()>(cleanUp),
                              +[](gpointer data, GClosure*) { delete static_cast<std::function<void()>*>(data); },
                              GConnectFlags(0));
        if (chosen) {
            webkit_print_operation_set_print_settings(operation, chosen.get());
            webkit_print_operation_print(operation);
            return;
        }
        GtkWindow* parent = GTK_WINDOW(gtk_widget_get_root(GTK_WIDGET(held.get())));
        // Cancelled in the dialog, the operation never prints, so it never finishes.
        if (webkit_print_operation_run_dialog(operation, parent) == WEBKIT_PRINT_OPERATION_RESPONSE_CANCEL) {
            cleanUp();
            g_object_unref(operation);
        }
    });
}

}  // namespace zvwk::viewer
