#include "WindowSnapshot.h"

namespace zvwk {

bool writeWindowPNG(GtkWindow* window, const std::string& path, std::string& error) {
    GtkWidget* widget = GTK_WIDGET(window);
    int width = gtk_widget_get_width(widget);
    int height = gtk_widget_get_height(widget);
    GskRenderer* renderer = gtk_native_get_renderer(GTK_NATIVE(window));
    if (width <= 0 || height <= 0 || !renderer) {
        error = "the window is not on screen";
        return false;
    }
    GdkPaintable* paintable = gtk_widget_paintable_new(widget);
    GtkSnapshot* snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, width, height);
    GskRenderNode* node = gtk_snapshot_free_to_node(snapshot);
    g_object_unref(paintable);
    if (!node) {
        error = "the window drew nothing";
        return false;
    }
    graphene_rect_t bounds = GRAPHENE_RECT_INIT(0, 0, float(width), float(height));
    GdkTexture* texture = gsk_renderer_render_texture(renderer, node, &bounds);
    gsk_render_node_unref(node);
    bool written = gdk_texture_save_to_png(texture, path.c_str());
    g_object_unref(texture);
    if (!written) error = "cannot write " + path;
    return written;
}

}  // namespace zvwk
