#include "SymbolIcon.h"

#include <zv/foundation/GObjectRef.h>
#include <zv/foundation/MainThread.h>
#include <zv/scheme/ZVWebViewURLSchemeHandler.h>

#include <string>
#include <unordered_map>

namespace zvwk::viewer {

namespace {

// Every message card shows the same few symbols: each is drawn once and its
// texture shared (main thread only).
std::unordered_map<std::string, zv::GObjectRef<GdkTexture>>& drawnSymbols() {
    static std::unordered_map<std::string, zv::GObjectRef<GdkTexture>> textures;
    return textures;
}

void showPNG(GtkImage* image, const std::string& url, const zv::Data& png) {
    g_autoptr(GBytes) bytes = g_bytes_new(png.data(), png.size());
    GdkTexture* texture = gdk_texture_new_from_bytes(bytes, nullptr);
    if (!texture) return;
    gtk_image_set_from_paintable(image, GDK_PAINTABLE(texture));
    drawnSymbols().insert_or_assign(url, zv::GObjectRef<GdkTexture>::adopt(texture));
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
    if (auto drawn = drawnSymbols().find(request.url); drawn != drawnSymbols().end()) {
        gtk_image_set_from_paintable(GTK_IMAGE(image), GDK_PAINTABLE(drawn->second.get()));
        return image;
    }
    auto* held = GTK_IMAGE(g_object_ref(image));
    zv::ZVWebViewURLSchemeHandler::handleSymbolRequest(
        request, [held, url = request.url](std::optional<zv::URLResponse>, std::optional<zv::Data> data,
                                           std::optional<zv::Error>, bool) {
            zv::dispatchMainAsync([held, url, data = std::move(data)] {
                if (data) showPNG(held, url, *data);
                g_object_unref(held);
            });
        });
    return image;
}

}  // namespace zvwk::viewer
