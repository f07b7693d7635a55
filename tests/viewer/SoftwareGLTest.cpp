// The viewer's renderer choice: cairo where OpenGL would be drawn in software.
#include "WebViewHarness.h"
#include "viewer/SoftwareGL.h"

#include <gtest/gtest.h>

namespace zvwk::viewer {
namespace {

TEST(SoftwareOpenGL, OnlyMesasSoftwareRasterisersCount) {
    EXPECT_TRUE(isSoftwareRenderer("llvmpipe (LLVM 15.0.6, 256 bits)"));
    EXPECT_TRUE(isSoftwareRenderer("softpipe"));
    EXPECT_TRUE(isSoftwareRenderer("Software Rasterizer"));
    EXPECT_FALSE(isSoftwareRenderer("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
    // Hardware drivers built with LLVM name it too.
    EXPECT_FALSE(isSoftwareRenderer("AMD Radeon RX 6600 (radeonsi, navi23, LLVM 15.0.7, DRM 3.49, 6.1.0-13-amd64)"));
    EXPECT_FALSE(isSoftwareRenderer("virgl (Intel(R) UHD Graphics 620 (KBL GT2))"));
}

// GTK takes its renderer once, for the first window: a test process of its own.
TEST(SoftwareOpenGL, TheWindowShownAfterTheChoiceDrawsWithCairoAndChildrenChooseForThemselves) {
    zv::test::initGtkOnce();
    if (g_getenv("GSK_RENDERER")) GTEST_SKIP() << "GSK_RENDERER is set: the user's choice stands";
    GdkDisplay* display = gdk_display_get_default();
    std::optional<std::string> renderer = openGLRenderer(display);
    if (!renderer || !isSoftwareRenderer(*renderer))
        GTEST_SKIP() << "this display's OpenGL is " << renderer.value_or("missing") << ", not a software rasteriser";

    ASSERT_TRUE(preferCairoOnSoftwareOpenGL(display));
    GtkWindow* window = GTK_WINDOW(gtk_window_new());
    gtk_window_present(window);
    EXPECT_STREQ(G_OBJECT_TYPE_NAME(gtk_native_get_renderer(GTK_NATIVE(window))), "GskCairoRenderer");
    restoreRendererChoice();
    EXPECT_EQ(g_getenv("GSK_RENDERER"), nullptr);
    gtk_window_destroy(window);
}

}  // namespace
}  // namespace zvwk::viewer
