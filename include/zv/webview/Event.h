// Input events as the web view hands them to its delegates.
//
// An Event describes one user action: its type and modifier flags keep the
// numbers of the desktop toolkit the mail code was written for (so stored
// settings and delegate code that compare them keep working), and it can
// carry the event info of the page element it concerns (webViewEventInfo,
// see ZVWebView.h).
//
// Events come from three places: GDK input events the web view saw
// (eventFromGdkEvent), key downs the page reported, and, when the view has
// seen no input event, the page's DOM event type (eventTypeForDOMEvent).
#pragma once

#include <zv/Export.h>

#include <zv/foundation/Geometry.h>
#include <zv/foundation/Value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

typedef struct _GdkEvent GdkEvent;
typedef struct _GtkWidget GtkWidget;

namespace zv {

enum class EventType : unsigned {
    LeftMouseDown = 1,
    LeftMouseUp = 2,
    RightMouseDown = 3,
    RightMouseUp = 4,
    MouseMoved = 5,
    LeftMouseDragged = 6,
    KeyDown = 10,
    KeyUp = 11,
    ApplicationDefined = 15,
    ScrollWheel = 22,
    OtherMouseDown = 25,
    OtherMouseUp = 26,
};

// Modifier flag bits (Event::modifierFlags).
namespace EventModifierFlags {
inline constexpr uint64_t Shift = 1u << 17;
inline constexpr uint64_t Control = 1u << 18;
inline constexpr uint64_t Option = 1u << 19;  // Alt
inline constexpr uint64_t Command = 1u << 20;  // Super / Meta
}  // namespace EventModifierFlags

// The virtual key code of the Delete (Backspace) key.
inline constexpr uint16_t kKeyCodeDelete = 51;
// The key code of a key that has no virtual key code (media keys, dead keys...).
inline constexpr uint16_t kKeyCodeUnknown = 0xFFFF;

struct ZV_EXPORT Event {
    EventType type = EventType::ApplicationDefined;
    uint64_t modifierFlags = 0;
    // The key's virtual key code (virtualKeyCodeForKeyval), whether the key
    // came from GDK or from the page; 0 for events that are not key events.
    uint16_t keyCode = 0;
    std::string characters;
    std::string charactersIgnoringModifiers;
    bool isARepeat = false;
    // Seconds since the system started (see systemUptime()).
    double timestamp = 0;
    // See windowNumberOf(); 0 when the event concerns no window.
    int64_t windowNumber = 0;
    // In the coordinates of the widget that received it; (0, 0) when none.
    Point location;
    // The page element the event concerns, as the web view's event bridge
    // describes it; empty for most events.
    std::optional<Value> webViewEventInfo;
};

// Seconds since the system started, the clock of Event::timestamp.
ZV_EXPORT double systemUptime();

// A number for the window that `widget` is in, unique in the process and
// stable for the window's life (given on first request); 0 when the widget
// is in no window.
ZV_EXPORT int64_t windowNumberOf(GtkWidget* widget);

// The virtual key code for a GDK key value: the numbering of the desktop
// toolkit the delegates were written for, in which a key is named by its
// place on a US keyboard (kKeyCodeDelete for Backspace, 42 for backslash).
// Letters count without case; kKeyCodeUnknown when the key has no code.
ZV_EXPORT uint16_t virtualKeyCodeForKeyval(unsigned keyval);

// The Event for a GDK button or key event received by `widget`; nothing for
// other kinds (motion, crossing, touch, scroll, ...).
ZV_EXPORT std::optional<Event> eventFromGdkEvent(GdkEvent* event, GtkWidget* widget);

// The event type that stands for a DOM event type in the web view's event
// bridge ("click" is LeftMouseUp, "contextmenu" RightMouseDown, "dragstart"
// LeftMouseDragged, "keydown" KeyDown, "dblclick" ApplicationDefined);
// nothing for other DOM types.
ZV_EXPORT std::optional<EventType> eventTypeForDOMEvent(std::string_view domEventType);
// The DOM event type listened to for an event type (the reverse of the above).
ZV_EXPORT std::optional<std::string_view> domEventForEventType(EventType type);

// One line for logs: type, modifier flags, key code and characters, window.
ZV_EXPORT std::string describe(const Event& event);

}  // namespace zv
