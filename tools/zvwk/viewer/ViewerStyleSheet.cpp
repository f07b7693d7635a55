#include "ViewerStyleSheet.h"

#include <gtk/gtk.h>

namespace zvwk::viewer {

namespace {

constexpr char kStyleSheet[] = R"CSS(
.sidebar { background-color: @theme_base_color; }
.message-list { background-color: transparent; }
.message-list > row { padding: 0; border-bottom: 1px solid alpha(currentColor, 0.08); }
.row-box { padding: 9px 14px 10px 14px; }
.row-sender { font-weight: bold; }
.row-date { font-size: 0.9em; opacity: 0.7; }
.row-count { font-size: 0.8em; font-weight: bold; padding: 0 7px; border-radius: 9px;
             background-color: alpha(currentColor, 0.12); }
.row-subject { font-size: 0.95em; }
.row-preview { font-size: 0.9em; opacity: 0.62; }
.row-box.error .row-subject { color: @error_color; }
.status { padding: 8px 14px 10px 14px; border-top: 1px solid alpha(currentColor, 0.1); font-size: 0.9em; }
.conversation-pane { background-color: @theme_bg_color; }
.empty-state { font-size: 1.3em; opacity: 0.5; }
.conversation { padding: 22px 28px 32px 28px; }
.conversation-title { font-size: 1.55em; font-weight: 800; margin: 0 4px 4px 4px; }
.message-card { background-color: @theme_base_color; border-radius: 12px;
                border: 1px solid alpha(currentColor, 0.12); box-shadow: 0 1px 3px alpha(black, 0.1); }
.message-card.error { border-color: alpha(@error_color, 0.6); }
.card-header { padding: 12px 14px 8px 16px; }
.message-card.collapsed .card-header { padding-bottom: 12px; }
.sender { font-weight: bold; }
.avatar { min-width: 38px; min-height: 38px; border-radius: 19px; color: white; font-weight: bold; }
.avatar-0 { background-color: #3584e4; }
.avatar-1 { background-color: #2ec27e; }
.avatar-2 { background-color: #e66100; }
.avatar-3 { background-color: #9141ac; }
.avatar-4 { background-color: #c01c28; }
.avatar-5 { background-color: #986a44; }
.remote-bar { margin: 2px 14px 8px 14px; padding: 8px 10px 8px 12px; border-radius: 8px;
              background-color: alpha(#f5c211, 0.2); }
.message-body { margin: 0 4px 6px 4px; }
.attachments { padding: 4px 12px 12px 12px; }
.attachment { padding: 6px 12px 6px 8px; border-radius: 8px; background-color: alpha(currentColor, 0.06); }
.error-box { padding: 6px 18px 16px 18px; }
.heading { font-weight: bold; }
)CSS";

}  // namespace

void installViewerStyleSheet() {
    static bool installed = false;
    if (installed) return;
    installed = true;
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, kStyleSheet, -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(provider),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

}  // namespace zvwk::viewer
