#include "WindowSnapshot.h"

namespace zvwk {

namespace {

void drawWidget(GtkSnapshot* snapshot, GtkWidget* widget) {
    GdkPaintable* paintable = gtk_widget_paintable_new(widget);
    gdk_paintable_snapshot(paintable, snapshot, gtk_widget_get_width(widget), gtk_widget_get_height(widget));
    g_object_unref(paintable);
}

// The window, and `over` dimmed on top of it, as one render node; null while
// the window has nothing to draw.
GskRenderNode* windowNode(GtkWindow* window, int width, int height, GtkWindow* over) {
    GtkSnapshot* snapshot = gtk_snapshot_new();
    drawWidget(snapshot, GTK_WIDGET(window));
    if (over && gtk_widget_get_width(GTK_WIDGET(over)) > 0) {
        GtkWidget* dialog = GTK_WIDGET(over);
        int dialogWidth = gtk_widget_get_width(dialog), dialogHeight = gtk_widget_get_height(dialog);
        // The window dimmed behind its dialog, as a modal one leaves it.
        GdkRGBA shade = {0, 0, 0, 0.25f};
        graphene_rect_t whole = GRAPHENE_RECT_INIT(0, 0, float(width), float(height));
        gtk_snapshot_append_color(snapshot, &shade, &whole);
        graphene_point_t origin = GRAPHENE_POINT_INIT(float(width - dialogWidth) / 2, float(height - dialogHeight) / 3);
        gtk_snapshot_save(snapshot);
        gtk_snapshot_translate(snapshot, &origin);
        // Its frame and shadow are the window manager's, which an unattended run has none of.
        GskRoundedRect frame;
        graphene_rect_t area = GRAPHENE_RECT_INIT(0, 0, float(dialogWidth), float(dialogHeight));
        gsk_rounded_rect_init_from_rect(&frame, &area, 8);
        GdkRGBA shadow = {0, 0, 0, 0.35f};
        gtk_snapshot_append_outset_shadow(snapshot, &frame, &shadow, 0, 4, 2, 16);
        gtk_snapshot_push_rounded_clip(snapshot, &frame);
        drawWidget(snapshot, dialog);
        gtk_snapshot_pop(snapshot);
        gtk_snapshot_restore(snapshot);
    }
    return gtk_snapshot_free_to_node(snapshot);
}

}  // namespace

bool writeWindowPNG(GtkWindow* window, const std::string& path, std::string& error, GtkWindow* over) {
    GtkWidget* widget = GTK_WIDGET(window);
    // A window just presented, or whose layout changed after its last frame,
    // has no size or draws nothing until the frame clock has laid it out,
    // which a busy machine can put off beyond the caller's wait; the main loop
    // runs until then, for at most 2 s.
    const gint64 deadline = g_get_monotonic_time() + 2 * G_USEC_PER_SEC;
    GskRenderer* renderer = nullptr;
    GskRenderNode* node = nullptr;
    int width = 0, height = 0;
    for (;;) {
        width = gtk_widget_get_width(widget);
        height = gtk_widget_get_height(widget);
        renderer = gtk_native_get_renderer(GTK_NATIVE(window));
        if (width > 0 && height > 0 && renderer) node = windowNode(window, width, height, over);
        if (node || g_get_monotonic_time() >= deadline) break;
        if (!g_main_context_iteration(nullptr, FALSE)) g_usleep(10 * 1000);
    }
    if (width <= 0 || height <= 0 || !renderer) {
        error = "the window is not on screen";
        return false;
    }
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
