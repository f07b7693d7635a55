#include "SoftwareGL.h"

#include <epoxy/gl.h>

#include <cstring>

namespace zvwk::viewer {

namespace {
bool chosen = false;  // GSK_RENDERER is this process's own setting
}  // namespace

std::optional<std::string> openGLRenderer(GdkDisplay* display) {
    g_autoptr(GdkGLContext) context = gdk_display_create_gl_context(display, nullptr);
    if (!context || !gdk_gl_context_realize(context, nullptr)) return std::nullopt;
    gdk_gl_context_make_current(context);
    const auto* name = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    std::optional<std::string> renderer;
    if (name) renderer = name;
    gdk_gl_context_clear_current();
    return renderer;
}

bool isSoftwareRenderer(const std::string& renderer) {
    g_autofree char* lower = g_ascii_strdown(renderer.c_str(), -1);
    for (const char* software : {"llvmpipe", "softpipe", "software rasterizer", "swrast"})
        if (std::strstr(lower, software)) return true;
    return false;
}

bool preferCairoOnSoftwareOpenGL(GdkDisplay* display) {
    if (g_getenv("GSK_RENDERER")) return false;
    std::optional<std::string> renderer = openGLRenderer(display);
    if (!renderer || !isSoftwareRenderer(*renderer)) return false;
    // GTK has no API for the choice: it reads the variable once, when it
    // realises its first window.
    g_setenv("GSK_RENDERER", "cairo", TRUE);
    chosen = true;
    return true;
}

void restoreRendererChoice() {
    if (chosen) g_unsetenv("GSK_RENDERER");
    chosen = false;
}

}  // namespace zvwk::viewer
