// Input events as GDK delivers them, converted for the delegates: key codes
// from real GDK key values, and real key presses played on the display by
// xdotool (XTest) into a shown ZVWebView.
#include "WebViewTestSupport.h"

#include <gdk/gdk.h>
#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

// Codes of the desktop toolkit's US keyboard, written out from its key table.
TEST(VirtualKeyCodeTest, GdkKeyvalsGetTheDelegatesNumbering) {
    struct Case {
        unsigned keyval;
        uint16_t code;
    };
    const Case cases[] = {
        {GDK_KEY_BackSpace, 51},  {GDK_KEY_backslash, 42}, {GDK_KEY_a, 0},      {GDK_KEY_A, 0},
        {GDK_KEY_Return, 36},     {GDK_KEY_Escape, 53},    {GDK_KEY_Tab, 48},   {GDK_KEY_space, 49},
        {GDK_KEY_Delete, 117},    {GDK_KEY_Left, 123},     {GDK_KEY_F1, 122},   {GDK_KEY_1, 18},
        {GDK_KEY_KP_1, 83},       {GDK_KEY_Z, 6},          {GDK_KEY_exclam, 0xFFFF},
        {GDK_KEY_AudioPlay, 0xFFFF},
    };
    for (const Case& c : cases) EXPECT_EQ(virtualKeyCodeForKeyval(c.keyval), c.code) << gdk_keyval_name(c.keyval);
}

class RealKeyEventTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        initGtkOnce();
        view = ZVWebView::create();
        window = new WebViewWindow(view->webView(), 300, 200);
        ASSERT_TRUE(window->loadHTML("<p>keys</p>"));
        gtk_widget_grab_focus(GTK_WIDGET(view->webView()));
    }
    static void TearDownTestSuite() {
        delete window;
        view.reset();
    }

    static inline std::shared_ptr<ZVWebView> view;
    static inline WebViewWindow* window = nullptr;
};

TEST_F(RealKeyEventTest, KeyPressesReachTheViewWithVirtualKeyCodes) {
    if (!g_find_program_in_path("xdotool")) GTEST_SKIP() << "xdotool is not installed (scripts/install-deps)";
    struct Case {
        const char* keys;
        uint16_t code;
        const char* characters;
        const char* unmodified;
        uint64_t flags;
    };
    const Case cases[] = {
        {"BackSpace", 51, "\b", "\b", 0},
        {"backslash", 42, "\\", "\\", 0},
        {"shift+a", 0, "A", "a", EventModifierFlags::Shift},
        {"shift+1", 18, "!", "1", EventModifierFlags::Shift},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.keys);
        // Held down, so that the last event the view saw is this key's press.
        ASSERT_TRUE(playKeys(window->window(), "keydown", c.keys));
        bool seen = spinUntil(
            [&] {
                const auto& event = view->currentEvent();
                return event && event->type == EventType::KeyDown && event->characters == c.characters;
            },
            kScriptTimeout);
        std::optional<Event> pressed = view->currentEvent();
        ASSERT_TRUE(playKeys(window->window(), "keyup", c.keys));
        ASSERT_TRUE(seen) << "no key event with the expected characters reached the view";
        const Event& event = *pressed;
        EXPECT_EQ(event.keyCode, c.code);
        EXPECT_EQ(event.charactersIgnoringModifiers, c.unmodified);
        EXPECT_EQ(event.modifierFlags, c.flags);
        EXPECT_NE(event.windowNumber, 0);
    }
}

}  // namespace
