#include <zv/scheme/AccentColor.h>

#include <gio/gio.h>

#include <cstring>

namespace zv {

namespace {

constexpr Color kAdwaitaBlue{0x35 / 255.0, 0x84 / 255.0, 0xe4 / 255.0, 1};

Color rgb(int hex) { return Color{((hex >> 16) & 0xff) / 255.0, ((hex >> 8) & 0xff) / 255.0, (hex & 0xff) / 255.0, 1}; }

// The Adwaita palette's accent colours, by the setting's names.
Color accentNamed(const char* name) {
    static const std::pair<const char*, int> kAccents[] = {
        {"blue", 0x3584e4},   {"teal", 0x2190a4}, {"green", 0x3a944a}, {"yellow", 0xc88800}, {"orange", 0xed5b00},
        {"red", 0xe62d42},    {"pink", 0xd56199}, {"purple", 0x9141ac}, {"slate", 0x6f8396},
    };
    for (const auto& [accent, hex] : kAccents) {
        if (std::strcmp(name, accent) == 0) return rgb(hex);
    }
    return kAdwaitaBlue;
}

// The settings object, or null on desktops without the key (GNOME before 47,
// other desktops): GSettings aborts on a key its schema lacks, so look first.
GSettings* interfaceSettings() {
    static GSettings* settings = [] () -> GSettings* {
        GSettingsSchemaSource* source = g_settings_schema_source_get_default();
        if (!source) return nullptr;
        GSettingsSchema* schema = g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE);
        if (!schema) return nullptr;
        GSettings* found = g_settings_schema_has_key(schema, "accent-color") ? g_settings_new_full(schema, nullptr, nullptr) : nullptr;
        g_settings_schema_unref(schema);
        return found;
    }();
    return settings;
}

}  // namespace

Color controlAccentColor() {
    GSettings* settings = interfaceSettings();
    if (!settings) return kAdwaitaBlue;
    char* name = g_settings_get_string(settings, "accent-color");
    Color color = accentNamed(name);
    g_free(name);
    return color;
}

}  // namespace zv
