// GTK draws windows with OpenGL unless told otherwise. Where OpenGL is a
// software rasteriser (Mesa's llvmpipe or softpipe: a virtual machine, a
// remote session, Xvfb), drawing the viewer's window that way costs more than
// GTK's cairo renderer: on such a machine the first screen of a 10,000-message
// mailbox came in 0.37 s with GL and 0.18 s with cairo, and a 50-message
// conversation took 40 % less of the UI's CPU and 90 MiB less memory.
#pragma once

#include <gtk/gtk.h>

#include <optional>
#include <string>

namespace zvwk::viewer {

// The display's OpenGL renderer as OpenGL names it ("llvmpipe (LLVM 15.0.6,
// 256 bits)", "Mesa Intel(R) UHD Graphics 620"), or nothing when the display
// has no OpenGL.
std::optional<std::string> openGLRenderer(GdkDisplay* display);

// Whether that name is one of Mesa's software rasterisers.
bool isSoftwareRenderer(const std::string& renderer);

// Picks GTK's cairo renderer for this process when the display's OpenGL is a
// software rasteriser and the user has not chosen a renderer (GSK_RENDERER).
// GTK reads its choice when the first window is realised, so this must run
// after gtk_init and before any window shows; once a window is shown the
// variable may go again (restoreRendererChoice), so that applications the
// viewer starts choose for themselves. True when it chose cairo.
bool preferCairoOnSoftwareOpenGL(GdkDisplay* display);
void restoreRendererChoice();

}  // namespace zvwk::viewer
