#include "SymbolIcon.h"

#include <zv/foundation/MainThread.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <string>

namespace zvwk::viewer {

namespace {

void showPNG(GtkImage* image, const zv::Data& png) {
    GBytes* bytes = g_bytes_new(png.data(), png.size());
    if (GdkTexture* texture = gdk_texture_new_from_bytes(bytes, nullptr)) {
        gtk_image_set_from_paintable(image, GDK_PAINTABLE(texture));
        g_object_unref(texture);
    }
    g_bytes_unref(bytes);
}

}  // namespace

GtkWidget* symbolImage(const char* symbol, int size, const char* color) {
    GtkWidget* image = gtk_image_new();
    gtk_image_set_pixel_size(GTK_IMAGE(image), size);
    char* escapedColor = g_uri_escape_string(color, nullptr, FALSE);
    // The size asked for is in points; the symbol is drawn at twice that in
    // pixels, so it stays sharp on a scaled display.
    zv::URLRequest request;
    request.url = std::string("wren-symbol:") + symbol + "?size=" + std::to_string(size) + "&color=" + escapedColor;
    g_free(escapedColor);
    auto* held = GTK_IMAGE(g_object_ref(image));
    zv::ZVWebViewURLSchemeHandler::handleSymbolRequest(
        request, [held](std::optional<zv::URLResponse>, std::optional<zv::Data> data, std::optional<zv::Error>, bool) {
            zv::dispatchMainAsync([held, data = std::move(data)] {
                if (data) showPNG(held, *data);
                g_object_unref(held);
            });
        });
    return image;
}

}  // namespace zvwk::viewer
