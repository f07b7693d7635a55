#include <zv/webview/Event.h>

#include <gtk/gtk.h>

#include <ctime>

namespace zv {

double systemUptime() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

int64_t windowNumberOf(GtkWidget* widget) {
    if (!widget) return 0;
    GtkRoot* root = gtk_widget_get_root(widget);
    if (!root) return 0;
    static GQuark key = g_quark_from_static_string("zv-window-number");
    static int64_t lastNumber = 0;
    if (auto stored = reinterpret_cast<intptr_t>(g_object_get_qdata(G_OBJECT(root), key))) return stored;
    g_object_set_qdata(G_OBJECT(root), key, reinterpret_cast<gpointer>(static_cast<intptr_t>(++lastNumber)));
    return lastNumber;
}

namespace {

uint64_t modifierFlagsFromGdk(GdkModifierType state) {
    uint64_t flags = 0;
    if (state & GDK_SHIFT_MASK) flags |= EventModifierFlags::Shift;
    if (state & GDK_CONTROL_MASK) flags |= EventModifierFlags::Control;
    if (state & GDK_ALT_MASK) flags |= EventModifierFlags::Option;
    if (state & (GDK_SUPER_MASK | GDK_META_MASK)) flags |= EventModifierFlags::Command;
    return flags;
}

EventType buttonEventType(GdkEventType kind, guint button) {
    bool press = kind == GDK_BUTTON_PRESS;
    switch (button) {
    case GDK_BUTTON_PRIMARY: return press ? EventType::LeftMouseDown : EventType::LeftMouseUp;
    case GDK_BUTTON_SECONDARY: return press ? EventType::RightMouseDown : EventType::RightMouseUp;
    default: return press ? EventType::OtherMouseDown : EventType::OtherMouseUp;
    }
}

std::string charactersOfKey(guint keyval) {
    gunichar c = gdk_keyval_to_unicode(keyval);
    if (!c) return {};
    char utf8[8];
    return std::string(utf8, g_unichar_to_utf8(c, utf8));
}

// The key's own value, as the keyboard layout gives it without modifiers.
guint unshiftedKeyval(GdkEvent* event, guint keyval) {
    GdkKeymapKey* keys = nullptr;
    guint* keyvals = nullptr;
    int count = 0;
    if (gdk_display_map_keycode(gdk_event_get_display(event), gdk_key_event_get_keycode(event), &keys, &keyvals,
                                &count) &&
        count > 0)
        keyval = keyvals[0];
    g_free(keys);
    g_free(keyvals);
    return keyval;
}

}  // namespace

std::optional<Event> eventFromGdkEvent(GdkEvent* gdkEvent, GtkWidget* widget) {
    if (!gdkEvent) return std::nullopt;
    GdkEventType kind = gdk_event_get_event_type(gdkEvent);
    Event event;
    switch (kind) {
    case GDK_BUTTON_PRESS:
    case GDK_BUTTON_RELEASE:
        event.type = buttonEventType(kind, gdk_button_event_get_button(gdkEvent));
        break;
    case GDK_KEY_PRESS:
    case GDK_KEY_RELEASE: {
        event.type = kind == GDK_KEY_PRESS ? EventType::KeyDown : EventType::KeyUp;
        guint keyval = gdk_key_event_get_keyval(gdkEvent);
        guint unshifted = unshiftedKeyval(gdkEvent, keyval);
        event.characters = charactersOfKey(keyval);
        event.charactersIgnoringModifiers = charactersOfKey(unshifted);
        // A shifted symbol ("!") has no code of its own: its key's ("1") counts.
        event.keyCode = virtualKeyCodeForKeyval(keyval);
        if (event.keyCode == kKeyCodeUnknown) event.keyCode = virtualKeyCodeForKeyval(unshifted);
        break;
    }
    default:
        return std::nullopt;
    }
    event.modifierFlags = modifierFlagsFromGdk(gdk_event_get_modifier_state(gdkEvent));
    // GDK stamps events in milliseconds of the display server's clock, which
    // is not the uptime clock; the moment the event is converted is close enough.
    event.timestamp = systemUptime();
    event.windowNumber = windowNumberOf(widget);
    double x = 0, y = 0;
    if (gdk_event_get_position(gdkEvent, &x, &y)) event.location = {x, y};
    return event;
}

namespace {

struct DOMEventRow {
    EventType type;
    std::string_view domEvent;
};

// "dblclick" rides on ApplicationDefined: mouse-up is already click's.
constexpr DOMEventRow kDOMEvents[] = {
    {EventType::LeftMouseUp, "click"},     {EventType::RightMouseDown, "contextmenu"},
    {EventType::LeftMouseDragged, "dragstart"}, {EventType::KeyDown, "keydown"},
    {EventType::ApplicationDefined, "dblclick"},
};

}  // namespace

std::optional<EventType> eventTypeForDOMEvent(std::string_view domEventType) {
    for (const auto& row : kDOMEvents)
        if (row.domEvent == domEventType) return row.type;
    return std::nullopt;
}

std::optional<std::string_view> domEventForEventType(EventType type) {
    for (const auto& row : kDOMEvents)
        if (row.type == type) return row.domEvent;
    return std::nullopt;
}

std::string describe(const Event& event) {
    return "Event type=" + std::to_string(static_cast<unsigned>(event.type)) +
           " modifierFlags=" + std::to_string(event.modifierFlags) + " keyCode=" + std::to_string(event.keyCode) +
           " chars=\"" + event.characters + "\" time=" + std::to_string(event.timestamp) +
           " window=" + std::to_string(event.windowNumber);
}

}  // namespace zv
