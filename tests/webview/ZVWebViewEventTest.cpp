// Page events through the event bridge of a real web view: from DOM events
// dispatched in the page to the delegate's calls.
#include "WebViewTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

constexpr char kPixelGif[] = "data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7";

const std::string kPage = std::string(R"(<!DOCTYPE html><html><body style="margin:0">
<a id="link" class="link" href="#m7" style="display:block;width:200px;height:20px">link</a>
<div id="dbl" data-x="1" style="width:100px;height:30px;margin-left:12.5px">double</div>
<div wren-id="w42" class="menu" style="width:120px;height:25px">menu</div>
<div id="drag" draggable="true" style="width:50px;height:50px">drag</div>
<div id="field" tabindex="0" style="height:40px;padding-top:3px"><img src=")") +
                          kPixelGif + R"(" width="10" height="12" style="display:block;margin-left:5px"></div>
<p id="plain" style="height:30px">no listener</p>
<div id="outer" class="card" style="height:80px"></div>
<div id="box" class="box" style="height:40px"></div>
</body></html>)";

class ZVWebViewEventTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        initGtkOnce();
        view = ZVWebView::create();
        window = new WebViewWindow(view->webView());
    }
    static void TearDownTestSuite() {
        delete window;
        view.reset();
    }
    void SetUp() override { recorder.clear(); }

    // Sets a delegate with these selectors and loads the page for it.
    void loadWith(std::map<EventType, std::vector<std::string>> selectors) {
        delegate = recorder.make(std::move(selectors));
        view->setEventDelegate(delegate);
        ASSERT_TRUE(window->loadHTML(kPage, "https://mail.example/inbox/"));
    }

    bool waitForEvents(size_t count) {
        return spinUntil([&] { return recorder.events.size() >= count; }, kScriptTimeout);
    }

    static inline std::shared_ptr<ZVWebView> view;
    static inline WebViewWindow* window = nullptr;
    RecordingDelegate recorder;
    std::shared_ptr<ZVWebViewEventDelegate> delegate;
};

struct EventCase {
    const char* domType;
    const char* selector;
    EventType type;
    const char* tag;
    Value expectedKeys;  // keys of the info that must be there with these values
    bool defaultPrevented;
};

TEST_F(ZVWebViewEventTest, EveryBridgedEventTypeReachesTheDelegateWithTheElementsInfo) {
    loadWith({{EventType::LeftMouseUp, {"#link"}},
              {EventType::ApplicationDefined, {"#dbl"}},
              {EventType::RightMouseDown, {"[wren-id]"}},
              {EventType::LeftMouseDragged, {"#drag"}}});
    const EventCase cases[] = {
        {"click", "#link", EventType::LeftMouseUp, "A",
         {{"elementId", "link"},
          {"elementClass", "link"},
          {"href", "https://mail.example/inbox/#m7"},
          {"elementAttributes",
           {{"id", "link"},
            {"class", "link"},
            {"href", "#m7"},
            {"style", "display:block;width:200px;height:20px"}}}},
         false},
        {"dblclick", "#dbl", EventType::ApplicationDefined, "DIV",
         {{"elementId", "dbl"},
          {"elementAttributes",
           {{"id", "dbl"}, {"data-x", "1"}, {"style", "width:100px;height:30px;margin-left:12.5px"}}}},
         false},
        {"contextmenu", "[wren-id]", EventType::RightMouseDown, "DIV",
         {{"elementId", "w42"}, {"elementClass", "menu"}}, false},
        {"dragstart", "#drag", EventType::LeftMouseDragged, "DIV", {{"elementId", "drag"}}, true},
    };
    for (const EventCase& c : cases) {
        SCOPED_TRACE(c.domType);
        recorder.clear();
        std::optional<bool> notPrevented = window->mouseEventOn(c.domType, c.selector);
        ASSERT_TRUE(notPrevented.has_value());
        EXPECT_EQ(*notPrevented, !c.defaultPrevented);
        ASSERT_TRUE(waitForEvents(1));
        ASSERT_EQ(recorder.events.size(), 1u);

        const Event& event = recorder.events[0];
        EXPECT_EQ(event.type, c.type);
        EXPECT_GT(event.timestamp, 0);
        EXPECT_NE(event.windowNumber, 0);
        ASSERT_TRUE(event.webViewEventInfo);
        const Value& info = *event.webViewEventInfo;
        EXPECT_EQ(info["eventType"], c.domType);
        EXPECT_EQ(info["elementTag"], c.tag);
        EXPECT_EQ(ZVWebView::withIdentifier(info["webView"].get<uint64_t>()), view);
        EXPECT_EQ(info["elementFrame"].get<Rect>(), pageRectOf(*window, c.selector));
        EXPECT_FALSE(info.contains("keyPressed"));
        EXPECT_FALSE(info.contains("error"));
        for (const auto& [key, value] : c.expectedKeys.items()) EXPECT_EQ(info[key], value) << key;
        EXPECT_EQ(view->lastEventInfo(), info);
    }
    // Elements no selector names report nothing.
    recorder.clear();
    EXPECT_EQ(window->mouseEventOn("click", "#plain"), true);
    spinFor(kQuietPeriod);
    EXPECT_TRUE(recorder.events.empty());
}

TEST_F(ZVWebViewEventTest, KeyDownOnAnElementReportsTheKeyAndTakesSpaceFromThePage) {
    loadWith({{EventType::KeyDown, {"#field"}}});
    EXPECT_EQ(window->keyDownOn("#field", " ", 32), false);
    EXPECT_EQ(window->keyDownOn("#field", "x", 88), true);
    ASSERT_TRUE(waitForEvents(2));
    ASSERT_EQ(recorder.events.size(), 2u);
    EXPECT_EQ(recorder.events[0].type, EventType::KeyDown);
    const Value& space = *recorder.events[0].webViewEventInfo;
    EXPECT_EQ(space["eventType"], "keydown");
    EXPECT_EQ(space["keyPressed"], " ");
    EXPECT_EQ(space["elementId"], "field");
    // An element holding an image reports the image's rectangle.
    EXPECT_EQ(space["elementFrame"].get<Rect>(), pageRectOf(*window, "#field img"));
    EXPECT_EQ(space["elementFrame"].get<Rect>().size(), (Size{10, 12}));
    EXPECT_EQ((*recorder.events[1].webViewEventInfo)["keyPressed"], "x");
}

TEST_F(ZVWebViewEventTest, ClassSelectorsRedirectAMouseEventToTheTopmostElementMatchingExactlyOne) {
    loadWith({{EventType::LeftMouseUp, {".card", ".badge"}}, {EventType::RightMouseDown, {"div.box"}}});
    // Added after the listeners were attached, so only the outer elements
    // listen; the point decides which element is reported.
    ASSERT_TRUE(window
                    ->evaluate("document.getElementById('outer').innerHTML = "
                               "'<span id=\"inner\" class=\"badge\" style=\"display:block;height:20px\">one</span>"
                               "<span id=\"both\" class=\"card badge\" style=\"display:block;height:20px\">two</span>';"
                               "document.getElementById('box').innerHTML = "
                               "'<span id=\"boxed\" class=\"box\" style=\"display:block;height:20px\">b</span>';")
                    .ok());

    window->mouseEventOn("click", "#inner");
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ((*recorder.events[0].webViewEventInfo)["elementId"], "inner");
    EXPECT_EQ((*recorder.events[0].webViewEventInfo)["elementTag"], "SPAN");
    EXPECT_EQ((*recorder.events[0].webViewEventInfo)["elementFrame"].get<Rect>(), pageRectOf(*window, "#inner"));

    // Both class selectors match this one: it is passed over for its parent.
    window->mouseEventOn("click", "#both");
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ((*recorder.events[1].webViewEventInfo)["elementId"], "outer");

    // Only selectors of the form ".name" redirect.
    window->mouseEventOn("contextmenu", "#boxed");
    ASSERT_TRUE(waitForEvents(3));
    EXPECT_EQ((*recorder.events[2].webViewEventInfo)["elementId"], "box");
}

TEST_F(ZVWebViewEventTest, BackspaceGoesToTheDelegateAndNotToThePage) {
    loadWith({});
    EXPECT_EQ(window->keyDownOn("", "Backspace", 8, {.alt = true, .shift = true}), false);
    EXPECT_EQ(window->keyDownOn("#field", "Backspace", 8, {.ctrl = true}), false);
    EXPECT_EQ(window->keyDownOn("", "Delete", 46), true);
    ASSERT_TRUE(spinUntil([&] { return recorder.keyDowns.size() >= 2; }, kScriptTimeout));
    spinFor(kQuietPeriod);
    ASSERT_EQ(recorder.keyDowns.size(), 2u);
    const Event& first = recorder.keyDowns[0];
    EXPECT_EQ(first.type, EventType::KeyDown);
    EXPECT_EQ(first.keyCode, kKeyCodeDelete);
    EXPECT_EQ(first.characters, "");
    EXPECT_EQ(first.charactersIgnoringModifiers, "");
    EXPECT_EQ(first.modifierFlags, EventModifierFlags::Option | EventModifierFlags::Shift);
    EXPECT_FALSE(first.webViewEventInfo);
    EXPECT_EQ(recorder.keyDowns[1].modifierFlags, EventModifierFlags::Control);
    EXPECT_TRUE(recorder.events.empty());
}

TEST_F(ZVWebViewEventTest, KeyDownMessagesNeedAKeyTheTablesKnow) {
    loadWith({});
    const char* bodies[] = {
        "{keyName: 'Shift', modifiers: 131072, keyCode: 16}",
        "{keyName: 'Alt', modifiers: 524288}",
        "{keyName: 'a', modifiers: 0, keyCode: 65}",
        "{modifiers: 0, keyCode: 8}",
        "'Backspace'",
        "{keyName: 'Backspace', modifiers: 524288, keyCode: 8}",
        "{keyName: 'Backspace', modifiers: '262144'}",
    };
    for (const char* body : bodies) ASSERT_TRUE(postMessage(*window, "_ZVKeyDownEvent", body));
    ASSERT_TRUE(spinUntil([&] { return recorder.keyDowns.size() >= 2; }, kScriptTimeout));
    spinFor(kQuietPeriod);
    ASSERT_EQ(recorder.keyDowns.size(), 2u);
    EXPECT_EQ(recorder.keyDowns[0].modifierFlags, EventModifierFlags::Option);
    EXPECT_EQ(recorder.keyDowns[0].keyCode, kKeyCodeDelete);
    EXPECT_EQ(recorder.keyDowns[1].modifierFlags, EventModifierFlags::Control);
}

TEST_F(ZVWebViewEventTest, EventMessagesAreReadLeniently) {
    loadWith({});
    const char* bodies[] = {
        "{eventType: 'click', elementTag: 'P', elementAttributes: '{}'}",
        "{eventType: 'click', elementTag: 'P', elementAttributes: 'not json', elementFrame: '{{1,2}, {3,4}}'}",
        "{eventType: 'click', elementAttributes: '[1, 2]', elementFrame: 17}",
        "{eventType: 'swipe', elementAttributes: '{\"a\":\"b\"}', extra: [1]}",
        "'just text'",
    };
    for (const char* body : bodies) ASSERT_TRUE(postMessage(*window, "_ZVWebViewEvent", body));
    ASSERT_TRUE(waitForEvents(5));
    auto info = [&](size_t i) { return *recorder.events[i].webViewEventInfo; };
    Value empty = Value::object();
    EXPECT_EQ(info(0)["elementAttributes"], empty);
    EXPECT_EQ(info(0)["elementFrame"].get<Rect>(), Rect{});
    EXPECT_EQ(info(0)["elementTag"], "P");
    EXPECT_EQ(info(1)["elementAttributes"], empty);
    EXPECT_EQ(info(1)["elementFrame"].get<Rect>(), (Rect{1, 2, 3, 4}));
    EXPECT_EQ(info(2)["elementAttributes"], empty);
    EXPECT_EQ(info(2)["elementFrame"].get<Rect>(), Rect{});
    EXPECT_EQ(info(3)["elementAttributes"], (Value{{"a", "b"}}));
    EXPECT_EQ(info(3)["extra"], Value::array({1}));
    EXPECT_EQ(recorder.events[3].type, EventType::ApplicationDefined);
    EXPECT_EQ(info(4), (Value{{"elementAttributes", empty}, {"elementFrame", Rect{}}, {"webView", view->identifier()}}));
}

}  // namespace
