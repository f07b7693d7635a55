#include "DesktopStyle.h"

#include <gtk/gtk.h>

#include <cstring>
#include <optional>

namespace zvwk::viewer {

namespace {

constexpr char kPortalName[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kSettingsInterface[] = "org.freedesktop.portal.Settings";

// The portal's value: 1 prefers dark, 2 prefers light, 0 has no preference.
// Older portals wrap the value in one more variant.
std::optional<bool> darkFromPortalValue(GVariant* value) {
    if (!value) return std::nullopt;
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_VARIANT)) {
        GVariant* inner = g_variant_get_variant(value);
        std::optional<bool> dark = darkFromPortalValue(inner);
        g_variant_unref(inner);
        return dark;
    }
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)) return std::nullopt;
    guint32 scheme = g_variant_get_uint32(value);
    return scheme == 0 ? std::nullopt : std::optional<bool>(scheme == 1);
}

std::optional<bool> portalPrefersDark(GDBusConnection* bus) {
    if (!bus) return std::nullopt;
    GVariant* reply = g_dbus_connection_call_sync(bus, kPortalName, kPortalPath, kSettingsInterface, "Read",
                                                  g_variant_new("(ss)", "org.freedesktop.appearance", "color-scheme"),
                                                  G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, 500, nullptr, nullptr);
    if (!reply) return std::nullopt;
    GVariant* value = nullptr;
    g_variant_get(reply, "(v)", &value);
    std::optional<bool> dark = darkFromPortalValue(value);
    g_variant_unref(value);
    g_variant_unref(reply);
    return dark;
}

std::optional<bool> gnomePrefersDark() {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    GSettingsSchema* schema = source ? g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE) : nullptr;
    if (!schema) return std::nullopt;
    std::optional<bool> dark;
    if (g_settings_schema_has_key(schema, "color-scheme")) {
        GSettings* settings = g_settings_new("org.gnome.desktop.interface");
        char* scheme = g_settings_get_string(settings, "color-scheme");
        dark = std::strcmp(scheme, "prefer-dark") == 0;
        g_free(scheme);
        g_object_unref(settings);
    }
    g_settings_schema_unref(schema);
    return dark;
}

}  // namespace

DesktopStyle::DesktopStyle() {
    bus_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    std::optional<bool> dark = portalPrefersDark(bus_);
    if (!dark) dark = gnomePrefersDark();
    const char* theme = g_getenv("GTK_THEME");
    if (theme && g_str_has_suffix(theme, ":dark")) dark = true;
    set(dark.value_or(false));
    if (bus_)
        subscription_ = g_dbus_connection_signal_subscribe(bus_, kPortalName, kSettingsInterface, "SettingChanged",
                                                           kPortalPath, "org.freedesktop.appearance",
                                                           G_DBUS_SIGNAL_FLAGS_NONE, onPortalSignal, this, nullptr);
}

DesktopStyle::~DesktopStyle() {
    if (subscription_) g_dbus_connection_signal_unsubscribe(bus_, subscription_);
    if (bus_) g_object_unref(bus_);
}

void DesktopStyle::set(bool dark) {
    dark_ = dark;
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", dark, nullptr);
}

void DesktopStyle::onPortalSignal(GDBusConnection*, const char*, const char*, const char*, const char*,
                                  GVariant* parameters, gpointer self) {
    const char* nameSpace = nullptr;
    const char* key = nullptr;
    GVariant* value = nullptr;
    g_variant_get(parameters, "(&s&sv)", &nameSpace, &key, &value);
    std::optional<bool> dark = std::strcmp(key, "color-scheme") == 0 ? darkFromPortalValue(value) : std::nullopt;
    g_variant_unref(value);
    auto* style = static_cast<DesktopStyle*>(self);
    if (!dark || *dark == style->dark_) return;
    style->set(*dark);
    if (style->changed) style->changed(*dark);
}

}  // namespace zvwk::viewer
