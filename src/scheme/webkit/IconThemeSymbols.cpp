#include <zv/scheme/IconThemeSymbols.h>

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace zv {

namespace {

struct SymbolIcon {
    const char* symbol;
    const char* icon;
};

constexpr SymbolIcon kSymbolIcons[] = {
#include "SymbolIconNames.inc"
};

constexpr int kLargestSide = 1024;
// Adwaita's foreground for symbolic icons, for outlines of uncoloured symbols.
constexpr double kSymbolicForeground[] = {0x2e / 255.0, 0x34 / 255.0, 0x36 / 255.0};

// Stroke width in units of the icon's own grid (16 for Adwaita): positive
// thickens by drawing an outline, negative thins by erasing one.
double strokeWidth(SymbolWeight weight) {
    switch (weight) {
    case SymbolWeight::UltraLight: return -0.5;
    case SymbolWeight::Thin: return -0.4;
    case SymbolWeight::Light: return -0.25;
    case SymbolWeight::Regular: return 0;
    case SymbolWeight::Medium: return 0.2;
    case SymbolWeight::Semibold: return 0.4;
    case SymbolWeight::Bold: return 0.6;
    case SymbolWeight::Heavy: return 0.8;
    case SymbolWeight::Black: return 1.0;
    }
    return 0;
}

// Icon name to SVG file, over the XDG data folders (the user's first, as the
// freedesktop icon-theme rules order them), in both layouts Adwaita has used.
const std::map<std::string, std::string>& iconFiles() {
    static const std::map<std::string, std::string> files = [] {
        std::map<std::string, std::string> found;
        std::vector<std::string> bases{g_get_user_data_dir()};
        for (const char* const* dir = g_get_system_data_dirs(); *dir; ++dir) bases.emplace_back(*dir);
        for (const std::string& base : bases) {
            for (const char* layout : {"scalable", "symbolic"}) {
                char* root = g_build_filename(base.c_str(), "icons", "Adwaita", layout, nullptr);
                if (GDir* contexts = g_dir_open(root, 0, nullptr)) {
                    while (const char* context = g_dir_read_name(contexts)) {
                        char* folder = g_build_filename(root, context, nullptr);
                        if (GDir* icons = g_dir_open(folder, 0, nullptr)) {
                            while (const char* file = g_dir_read_name(icons)) {
                                if (!g_str_has_suffix(file, ".svg")) continue;
                                std::string name(file, std::strlen(file) - 4);
                                char* path = g_build_filename(folder, file, nullptr);
                                found.emplace(std::move(name), path);  // an earlier folder wins
                                g_free(path);
                            }
                            g_dir_close(icons);
                        }
                        g_free(folder);
                    }
                    g_dir_close(contexts);
                }
                g_free(root);
            }
        }
        return found;
    }();
    return files;
}

// The SVG text of an icon file, read once.
std::shared_ptr<const std::string> iconSource(const std::string& path) {
    static std::mutex mutex;
    static std::map<std::string, std::shared_ptr<const std::string>> sources;
    std::lock_guard lock(mutex);
    if (auto found = sources.find(path); found != sources.end()) return found->second;
    char* contents = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) return nullptr;
    auto source = std::make_shared<const std::string>(contents, length);
    g_free(contents);
    sources.emplace(path, source);
    return source;
}

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

Surface newSurface(int side) {
    return Surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, side, side), cairo_surface_destroy);
}

// The icon drawn to fill a side-by-side square, with `stylesheet` applied
// when given; null when librsvg cannot read or draw it.
Surface draw(const std::string& svg, int side, const std::string* stylesheet) {
    GError* error = nullptr;
    RsvgHandle* handle = rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &error);
    if (!handle) {
        g_error_free(error);
        return Surface(nullptr, cairo_surface_destroy);
    }
    if (stylesheet) {
        rsvg_handle_set_stylesheet(handle, reinterpret_cast<const guint8*>(stylesheet->data()), stylesheet->size(),
                                   nullptr);
    }
    Surface surface = newSurface(side);
    cairo_t* cr = cairo_create(surface.get());
    RsvgRectangle viewport{0, 0, double(side), double(side)};
    bool drawn = rsvg_handle_render_document(handle, cr, &viewport, &error);
    cairo_destroy(cr);
    g_object_unref(handle);
    if (!drawn) {
        g_error_free(error);
        return Surface(nullptr, cairo_surface_destroy);
    }
    return surface;
}

std::string outlineStylesheet(double width) {
    char number[G_ASCII_DTOSTR_BUF_SIZE];
    // Not printf: a locale with decimal commas would break the CSS.
    g_ascii_formatd(number, sizeof number, "%.3f", width);
    return std::string("* { fill: none !important; stroke: #000 !important; stroke-opacity: 1 !important;"
                       " stroke-width: ") +
           number + " !important; stroke-linejoin: round !important; stroke-linecap: round !important; }";
}

// The shapes with the weight applied: an outline under them, or erased from them.
Surface weighted(const std::string& svg, int side, Surface shapes, double width) {
    if (width == 0) return shapes;
    std::string stylesheet = outlineStylesheet(std::fabs(width));
    Surface outline = draw(svg, side, &stylesheet);
    if (!outline) return shapes;
    if (width < 0) {
        cairo_t* cr = cairo_create(shapes.get());
        cairo_set_operator(cr, CAIRO_OPERATOR_DEST_OUT);
        cairo_set_source_surface(cr, outline.get(), 0, 0);
        cairo_paint(cr);
        cairo_destroy(cr);
        return shapes;
    }
    Surface result = newSurface(side);
    cairo_t* cr = cairo_create(result.get());
    cairo_set_source_rgb(cr, kSymbolicForeground[0], kSymbolicForeground[1], kSymbolicForeground[2]);
    cairo_mask_surface(cr, outline.get(), 0, 0);
    cairo_set_source_surface(cr, shapes.get(), 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    return result;
}

Surface coloured(Surface shapes, int side, const Color& color) {
    Surface result = newSurface(side);
    cairo_t* cr = cairo_create(result.get());
    cairo_set_source_rgba(cr, color.r, color.g, color.b, color.a);
    cairo_mask_surface(cr, shapes.get(), 0, 0);
    cairo_destroy(cr);
    return result;
}

std::optional<Data> png(cairo_surface_t* surface) {
    Data bytes;
    auto append = [](void* closure, const unsigned char* data, unsigned int length) -> cairo_status_t {
        auto* out = static_cast<Data*>(closure);
        out->insert(out->end(), data, data + length);
        return CAIRO_STATUS_SUCCESS;
    };
    if (cairo_surface_write_to_png_stream(surface, append, &bytes) != CAIRO_STATUS_SUCCESS) return std::nullopt;
    return bytes;
}

}  // namespace

std::optional<std::string> iconNameForSymbol(std::string_view symbolName) {
    for (const SymbolIcon& entry : kSymbolIcons) {
        if (symbolName == entry.symbol) return std::string(entry.icon);
    }
    std::string name(symbolName);
    if (g_str_has_suffix(name.c_str(), "-symbolic") && iconFiles().count(name)) return name;
    return std::nullopt;
}

std::optional<Data> renderIconThemeSymbol(const SymbolImageRequest& request) {
    auto icon = iconNameForSymbol(request.name);
    if (!icon) return std::nullopt;
    auto file = iconFiles().find(*icon);
    if (file == iconFiles().end()) return std::nullopt;
    auto svg = iconSource(file->second);
    if (!svg) return std::nullopt;

    // Clamped before rounding: a size from a URL can be anything.
    double size = std::isfinite(request.pointSize) ? request.pointSize : 1.0;
    int side = int(std::lround(std::clamp(size, 1.0, double(kLargestSide))));
    Surface shapes = draw(*svg, side, nullptr);
    if (!shapes) return std::nullopt;
    shapes = weighted(*svg, side, std::move(shapes), strokeWidth(request.weight));
    if (request.color) shapes = coloured(std::move(shapes), side, *request.color);
    cairo_surface_flush(shapes.get());
    return png(shapes.get());
}

void useIconThemeSymbols() { setSymbolRenderer(renderIconThemeSymbol); }

}  // namespace zv
