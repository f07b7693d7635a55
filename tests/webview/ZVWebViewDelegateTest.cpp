// What the delegate's members switch on, replacing the delegate, the debug
// log, the content size and the context menu.
#include "WebViewTestSupport.h"

#include <LogCapture.h>
#include <TemporaryFolder.h>

#include <zv/foundation/Bundle.h>
#include <zv/foundation/Log.h>
#include <zv/foundation/NotificationCenter.h>
#include <zv/foundation/UserDefaults.h>
#include <zv/webview/ZVWebViewEventScript.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace zv;
using namespace zv::test;

const char kPage[] = R"(<body style="margin:0">
<div id="one" style="height:30px">one</div><div id="two" style="height:30px">two</div>
<a id="link" href="#x" style="display:block;height:30px">link</a></body>)";

// Each test gets a fresh view: user scripts are what is under test.
class ZVWebViewDelegateTest : public ::testing::Test {
protected:
    void SetUp() override {
        initGtkOnce();
        view = ZVWebView::create();
        window = std::make_unique<WebViewWindow>(view->webView());
    }
    void TearDown() override {
        window.reset();
        view.reset();
    }
    bool clickAndWait(const char* selector, size_t count) {
        window->mouseEventOn("click", selector);
        return spinUntil([&] { return recorder.events.size() >= count; }, kScriptTimeout);
    }
    void postEvent() {
        ASSERT_TRUE(postMessage(*window, "_ZVWebViewEvent",
                                "{eventType: 'click', elementTag: 'DIV', elementFrame: '{{0,0}, {1,1}}'}"));
    }

    std::shared_ptr<ZVWebView> view;
    std::unique_ptr<WebViewWindow> window;
    RecordingDelegate recorder;
};

TEST(ZVWebViewEventScript, ListenerPiecesCarryTheSelectorArrayAsGiven) {
    std::string piece = eventListenerScript("click", {".a", "div.b"});
    EXPECT_EQ(piece.substr(0, piece.find('\n')), "let clickSelectors = ['.a','div.b'];");
    EXPECT_NE(piece.find("clickSelectors.forEach(selector => {"), std::string::npos);
    EXPECT_NE(piece.find("element.addEventListener('click', event => { \n"), std::string::npos);
    EXPECT_NE(piece.find("handleElementEvent(event, element, ['.a','div.b']);"), std::string::npos);
}

// The Backspace listener, written out as the page must receive it.
constexpr char kBackspaceListener[] =
    "document.addEventListener('keydown',event => {\n  if (event.key == 'Backspace'){\n      if (window.webkit) {\n"
    "          var modifiers = 0;\n          if (event.altKey) modifiers |= 1<<19;\n"
    "          if (event.ctrlKey) modifiers |= 1<<18;\n          if (event.shiftKey) modifiers |= 1<<17;\n"
    "          let eventInfo = {modifiers: modifiers, keyName:event.key, keyCode:event.keyCode};\n"
    "          window.webkit.messageHandlers._ZVKeyDownEvent.postMessage(eventInfo);\n"
    "          event.preventDefault();\n          event.stopPropagation();\n      }\n  }\n});";

TEST(ZVWebViewEventScript, TheScriptHoldsOnlyThePiecesTheDelegateAsksFor) {
    RecordingDelegate recorder;
    EXPECT_EQ(eventScriptForDelegate(ZVWebViewEventDelegate{}), std::nullopt);
    EXPECT_EQ(eventScriptForDelegate(*recorder.make({}, true, false, true)), std::nullopt);
    EXPECT_EQ(recorder.selectorQuestions,
              (std::vector<EventType>{EventType::LeftMouseUp, EventType::RightMouseDown, EventType::LeftMouseDragged,
                                      EventType::KeyDown, EventType::ApplicationDefined}));

    std::optional<std::string> keysOnly = eventScriptForDelegate(*recorder.make({}, false, true, false));
    ASSERT_TRUE(keysOnly);
    EXPECT_NE(keysOnly->find(kBackspaceListener), std::string::npos);
    EXPECT_EQ(keysOnly->find("Selectors = "), std::string::npos);
    EXPECT_EQ(keysOnly->find("%@"), std::string::npos);

    std::optional<std::string> both =
        eventScriptForDelegate(*recorder.make({{EventType::ApplicationDefined, {"p"}}}, true, true, false));
    ASSERT_TRUE(both);
    EXPECT_NE(both->find(kBackspaceListener), std::string::npos);
    EXPECT_NE(both->find("let dblclickSelectors = ['p'];\ndblclickSelectors.forEach(selector => {\n"
                         "\tdocument.querySelectorAll(selector).forEach(element => {\n"
                         "\telement.addEventListener('dblclick', event => { \n"
                         "\t\thandleElementEvent(event, element, ['p']);\n\t});\n});\n});\n"),
              std::string::npos);
}

TEST_F(ZVWebViewDelegateTest, ADelegateWithNoMembersGetsNoScriptAndNoMessages) {
    auto nothing = std::make_shared<ZVWebViewEventDelegate>();
    view->setEventDelegate(nothing);
    EXPECT_TRUE(view->userScripts().empty());
    EXPECT_EQ(view->eventDelegateUserScript(), nullptr);
    ASSERT_TRUE(window->loadHTML(kPage));
    EXPECT_EQ(window->evaluate("typeof ZVLog").value, "undefined");
    EXPECT_EQ(window->keyDownOn("", "Backspace", 8), true);
    postEvent();
    spinFor(kQuietPeriod);
    EXPECT_EQ(view->lastEventInfo(), std::nullopt);
}

TEST_F(ZVWebViewDelegateTest, MissingMembersSwitchTheirPartOff) {
    // Selectors but no webViewEvent: listeners report, nobody hears, nothing is kept.
    auto deaf = recorder.make({{EventType::LeftMouseUp, {"#one"}}}, false, false, false);
    view->setEventDelegate(deaf);
    ASSERT_TRUE(window->loadHTML(kPage));
    EXPECT_EQ(window->evaluate("typeof ZVLog").value, "function");
    window->mouseEventOn("click", "#one");
    EXPECT_EQ(window->keyDownOn("", "Backspace", 8), true);
    spinFor(kQuietPeriod);
    EXPECT_EQ(view->lastEventInfo(), std::nullopt);

    // webViewEvent but no selectors: no listeners, yet messages are delivered.
    auto listening = recorder.make({}, true, false, false, false);
    view->setEventDelegate(listening);
    EXPECT_EQ(view->userScripts().size(), 0u);
    ASSERT_TRUE(window->loadHTML(kPage));
    window->mouseEventOn("click", "#one");
    spinFor(kQuietPeriod);
    EXPECT_TRUE(recorder.events.empty());
    postEvent();
    ASSERT_TRUE(spinUntil([&] { return recorder.events.size() == 1; }, kScriptTimeout));
    EXPECT_EQ(view->lastEventInfo(), recorder.events[0].webViewEventInfo);
}

TEST_F(ZVWebViewDelegateTest, ReplacingTheDelegateRemovesExactlyItsScript) {
    UserScriptRef first = makeDocumentStartScript("window.order = (window.order || []).concat('first');");
    UserScriptRef second = makeDocumentStartScript("window.order = (window.order || []).concat('second');");
    view->addUserScript(first.get());
    auto delegateOne = recorder.make({{EventType::LeftMouseUp, {"#one"}}});
    view->setEventDelegate(delegateOne);
    WebKitUserScript* scriptOne = view->eventDelegateUserScript();
    ASSERT_NE(scriptOne, nullptr);
    view->addUserScript(second.get());

    RecordingDelegate otherRecorder;
    auto delegateTwo = otherRecorder.make({{EventType::LeftMouseUp, {"#two"}}});
    view->setEventDelegate(delegateTwo);
    WebKitUserScript* scriptTwo = view->eventDelegateUserScript();
    ASSERT_NE(scriptTwo, nullptr);
    EXPECT_NE(scriptTwo, scriptOne);
    ASSERT_EQ(view->userScripts().size(), 3u);
    EXPECT_EQ(view->userScripts()[0], first.get());
    EXPECT_EQ(view->userScripts()[1], second.get());
    EXPECT_EQ(view->userScripts()[2], scriptTwo);

    // The same delegate again: not asked again, nothing rebuilt.
    size_t questions = otherRecorder.selectorQuestions.size();
    view->setEventDelegate(delegateTwo);
    EXPECT_EQ(otherRecorder.selectorQuestions.size(), questions);
    EXPECT_EQ(view->eventDelegateUserScript(), scriptTwo);
    EXPECT_EQ(view->userScripts().size(), 3u);

    ASSERT_TRUE(window->loadHTML(kPage));
    EXPECT_EQ(window->evaluate("window.order").value, (Value{"first", "second"}));
    window->mouseEventOn("click", "#one");
    window->mouseEventOn("click", "#two");
    ASSERT_TRUE(spinUntil([&] { return otherRecorder.events.size() == 1; }, kScriptTimeout));
    spinFor(kQuietPeriod);
    EXPECT_EQ(otherRecorder.events.size(), 1u);
    EXPECT_EQ((*otherRecorder.events[0].webViewEventInfo)["elementId"], "two");
    EXPECT_TRUE(recorder.events.empty());

    // A delegate that wants nothing takes the script out and adds none; the
    // old script stays named.
    view->setEventDelegate(std::make_shared<ZVWebViewEventDelegate>());
    ASSERT_EQ(view->userScripts().size(), 2u);
    EXPECT_EQ(view->eventDelegateUserScript(), scriptTwo);
}

TEST_F(ZVWebViewDelegateTest, TheDelegateIsHeldWeakly) {
    auto delegate = recorder.make({{EventType::LeftMouseUp, {"#one"}}});
    view->setEventDelegate(delegate);
    ASSERT_TRUE(window->loadHTML(kPage));
    ASSERT_TRUE(clickAndWait("#one", 1));
    delegate.reset();
    EXPECT_EQ(view->eventDelegate(), nullptr);
    window->mouseEventOn("click", "#one");
    EXPECT_EQ(window->keyDownOn("", "Backspace", 8), false);
    spinFor(kQuietPeriod);
    EXPECT_EQ(recorder.events.size(), 1u);
    EXPECT_TRUE(recorder.keyDowns.empty());
}

bool anyStartsWith(const std::vector<std::string>& lines, std::string_view prefix) {
    return std::ranges::any_of(lines, [&](const std::string& line) { return line.starts_with(prefix); });
}

TEST_F(ZVWebViewDelegateTest, TheLaunchArgumentSwitchesDebugLinesOn) {
    captureLogLines();
    auto delegate = recorder.make({{EventType::LeftMouseUp, {"#one"}}});
    view->setEventDelegate(delegate);

    const char* off[] = {"zvwebview_tests"};
    UserDefaults::standard().setLaunchArguments(1, off);
    takeLogLines();
    ASSERT_TRUE(window->loadHTML(kPage));
    ASSERT_TRUE(clickAndWait("#one", 1));
    spinFor(kQuietPeriod);
    EXPECT_TRUE(takeLogLines().empty());

    const char* on[] = {"zvwebview_tests", "-enableWebViewDebugging", "YES"};
    UserDefaults::standard().setLaunchArguments(3, on);
    ASSERT_TRUE(window->loadHTML(kPage));
    ASSERT_TRUE(clickAndWait("#one", 2));
    ASSERT_TRUE(spinUntil([] { return anyLineStartsWith("[ZVWebViewLog] handling event: click"); }, kScriptTimeout));
    std::vector<std::string> lines = takeLogLines();
    UserDefaults::standard().setLaunchArguments(1, off);
    EXPECT_TRUE(anyStartsWith(lines, "[ZVWebViewLog] DOMContentLoaded"));
    EXPECT_TRUE(anyStartsWith(lines, "[MessageDisplay:WebViewDebug] ZVWebView " + std::to_string(view->identifier()) +
                                         " id:one rect:{{0, 0}, {"));
}

TEST_F(ZVWebViewDelegateTest, SettingTheContentSizeAlwaysPosts) {
    std::vector<Notification> posted;
    ObserverToken token = NotificationCenter::defaultCenter().addObserver(
        ZVWebViewContentSizeChangedNotification, view.get(), [&](const Notification& n) { posted.push_back(n); });
    view->setContentSize({640, 480.5});
    view->setContentSize({640, 480.5});
    NotificationCenter::defaultCenter().removeObserver(token);

    EXPECT_EQ(view->contentSize(), (Size{640, 480.5}));
    ASSERT_EQ(posted.size(), 2u);
    EXPECT_EQ(posted[0].name, "ZVWebViewContentSizeChanged");
    EXPECT_EQ(posted[0].object, view.get());
    EXPECT_EQ(posted[0].userInfo["contentSize"].get<Size>(), (Size{640, 480.5}));
    EXPECT_EQ(posted[0].userInfo["previousValue"].get<Size>(), (Size{0, 0}));
    EXPECT_EQ(posted[1].userInfo["contentSize"], posted[1].userInfo["previousValue"]);
}

// The engine's menu as it offers it for a link with an image.
GObjectRef<WebKitContextMenu> engineMenu() {
    auto menu = GObjectRef<WebKitContextMenu>::adopt(webkit_context_menu_new());
    for (WebKitContextMenuAction action :
         {WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK, WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW,
          WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK, WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD,
          WEBKIT_CONTEXT_MENU_ACTION_OPEN_IMAGE_IN_NEW_WINDOW, WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK,
          WEBKIT_CONTEXT_MENU_ACTION_RELOAD})
        webkit_context_menu_append(menu.get(), webkit_context_menu_item_new_from_stock_action(action));
    webkit_context_menu_insert(menu.get(), webkit_context_menu_item_new_separator(), 4);
    auto custom = GObjectRef<GSimpleAction>::adopt(g_simple_action_new("zv-custom", nullptr));
    webkit_context_menu_append(menu.get(),
                               webkit_context_menu_item_new_from_gaction(G_ACTION(custom.get()), "Custom", nullptr));
    return menu;
}

std::vector<WebKitContextMenuAction> actionsOf(WebKitContextMenu* menu) {
    std::vector<WebKitContextMenuAction> actions;
    for (GList* link = webkit_context_menu_get_items(menu); link; link = link->next)
        actions.push_back(webkit_context_menu_item_get_stock_action(WEBKIT_CONTEXT_MENU_ITEM(link->data)));
    return actions;
}

TEST_F(ZVWebViewDelegateTest, TheContextMenuLosesItsViewerItemsAndOffersTheBrowser) {
    TemporaryFolder bundle;
    bundle.write("en.lproj/Localizable.strings", "\"Open Link in Default Browser\" = \"Open in Browser\";\n");
    Bundle::setMainBundlePath(bundle.path());
    ASSERT_EQ(Bundle::mainBundle()->localizedString("Open Link in Default Browser"), "Open in Browser");

    auto menu = engineMenu();
    WebKitContextMenuItem* openLink = webkit_context_menu_get_item_at_position(menu.get(), 1);
    Event event;
    view->willOpenMenu(menu.get(), event);

    EXPECT_EQ(actionsOf(menu.get()),
              (std::vector<WebKitContextMenuAction>{
                  WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK, WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW,
                  WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD, WEBKIT_CONTEXT_MENU_ACTION_NO_ACTION,
                  WEBKIT_CONTEXT_MENU_ACTION_CUSTOM}));
    // Retitled by replacement: WebKitGTK offers no way to relabel an item.
    EXPECT_NE(webkit_context_menu_get_item_at_position(menu.get(), 1), openLink);
    EXPECT_FALSE(event.webViewEventInfo);
}

TEST_F(ZVWebViewDelegateTest, TheMenuEventCarriesTheInfoOfAContextMenuEventJustBefore) {
    auto delegate = recorder.make({{EventType::RightMouseDown, {"#link"}}, {EventType::LeftMouseUp, {"#one"}}});
    view->setEventDelegate(delegate);
    ASSERT_TRUE(window->loadHTML(kPage));

    window->mouseEventOn("contextmenu", "#link");
    ASSERT_TRUE(spinUntil([&] { return recorder.events.size() == 1; }, kScriptTimeout));
    auto menu = engineMenu();
    Event event;
    view->willOpenMenu(menu.get(), event);
    ASSERT_EQ(recorder.menuEvents.size(), 1u);
    ASSERT_TRUE(recorder.menuEvents[0].webViewEventInfo);
    EXPECT_EQ((*recorder.menuEvents[0].webViewEventInfo)["elementId"], "link");
    EXPECT_EQ(view->lastEventInfo(), std::nullopt);

    // A click's info is not a menu's; an event that has info keeps its own.
    ASSERT_TRUE(clickAndWait("#one", 2));
    Event second;
    view->willOpenMenu(engineMenu().get(), second);
    EXPECT_FALSE(recorder.menuEvents[1].webViewEventInfo);
    EXPECT_TRUE(view->lastEventInfo());

    window->mouseEventOn("contextmenu", "#link");
    ASSERT_TRUE(spinUntil([&] { return recorder.events.size() == 3; }, kScriptTimeout));
    Event own;
    own.webViewEventInfo = Value{{"eventType", "own"}};
    view->willOpenMenu(engineMenu().get(), own);
    EXPECT_EQ((*recorder.menuEvents[2].webViewEventInfo)["eventType"], "own");
    EXPECT_TRUE(view->lastEventInfo());
}

TEST_F(ZVWebViewDelegateTest, TheEnginesContextMenuSignalRunsTheFixUps) {
    auto delegate = recorder.make({});
    view->setEventDelegate(delegate);
    auto menu = engineMenu();
    gboolean handled = TRUE;
    g_signal_emit_by_name(view->webView(), "context-menu", menu.get(), nullptr, &handled);
    EXPECT_FALSE(handled);  // the engine still shows the menu
    EXPECT_EQ(actionsOf(menu.get()).size(), 5u);
    ASSERT_EQ(recorder.menuEvents.size(), 1u);
    // No input event opened this menu: it stands for a right mouse down.
    EXPECT_EQ(recorder.menuEvents[0].type, EventType::RightMouseDown);
    EXPECT_EQ(recorder.menuEvents[0].windowNumber, windowNumberOf(GTK_WIDGET(view->webView())));
    EXPECT_NE(recorder.menuEvents[0].windowNumber, 0);
}

}  // namespace
