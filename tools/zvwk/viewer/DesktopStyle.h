// The desktop's light or dark style, and changes to it.
//
// Asked of the desktop portal's "org.freedesktop.appearance" "color-scheme"
// setting first (what GNOME, KDE and others publish), then of GNOME's
// "color-scheme" key, and a GTK_THEME ending in ":dark" wins over both. The
// viewer's chrome follows through GTK's prefer-dark setting.
#pragma once

#include <gio/gio.h>

#include <functional>

namespace zvwk::viewer {

class DesktopStyle {
public:
    DesktopStyle();
    ~DesktopStyle();
    DesktopStyle(const DesktopStyle&) = delete;
    DesktopStyle& operator=(const DesktopStyle&) = delete;

    bool prefersDark() const { return dark_; }
    // Run on the main thread when the desktop switches style.
    std::function<void(bool dark)> changed;

private:
    static void onPortalSignal(GDBusConnection*, const char*, const char*, const char*, const char* signal,
                               GVariant* parameters, gpointer self);
    void set(bool dark);

    bool dark_ = false;
    GDBusConnection* bus_ = nullptr;
    guint subscription_ = 0;
};

}  // namespace zvwk::viewer
