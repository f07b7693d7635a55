// The harness itself, on a plain web view: the other web-view tests trust
// its loads, answers and events.
#include "WebViewTestSupport.h"

#include <gtest/gtest.h>

namespace {

using WebViewHarnessTest = zv::test::SharedWindowTest;

TEST_F(WebViewHarnessTest, LoadsAndAnswersScriptsWithValuesOrErrors) {
    ASSERT_TRUE(window->loadHTML("<p id=x>hi</p>"));
    EXPECT_EQ(window->evaluate("document.getElementById('x').textContent").value, "hi");
    EXPECT_EQ(window->evaluate("({a: [1, 2], b: null})").value, (nlohmann::json{{"a", {1, 2}}, {"b", nullptr}}));

    zv::test::ScriptOutcome undefinedValue = window->evaluate("void 0");
    EXPECT_TRUE(undefinedValue.ok());
    EXPECT_FALSE(undefinedValue.value);

    zv::test::ScriptOutcome thrown = window->evaluate("throw new Error('boom')");
    EXPECT_TRUE(thrown.finished);
    EXPECT_NE(thrown.error, "");
    EXPECT_FALSE(thrown.value);
}

TEST_F(WebViewHarnessTest, PlaysMouseAndKeyEventsIntoThePage) {
    ASSERT_TRUE(window->loadHTML(
        "<body style='margin:0'><div id=a style='width:100px;height:50px'>a</div>"
        "<div id=b style='width:100px;height:50px'>b</div><script>"
        "window.seen = [];"
        "document.addEventListener('click', e => seen.push(e.type + ':' + e.target.id + ':' + e.clientY));"
        "document.addEventListener('dragstart', e => seen.push(Object.prototype.toString.call(e)));"
        "document.getElementById('b').addEventListener('contextmenu', e => e.preventDefault());"
        "document.addEventListener('keydown', e => seen.push(e.key + ':' + e.keyCode + ':' + e.shiftKey));"
        "</script>"));
    EXPECT_EQ(window->mouseEventAt("click", 10, 60), true);
    EXPECT_EQ(window->mouseEventOn("contextmenu", "#b"), false);
    EXPECT_EQ(window->mouseEventOn("dragstart", "#a"), true);
    EXPECT_EQ(window->keyDownOn("", "Backspace", 8, {.shift = true}), true);
    EXPECT_EQ(window->mouseEventAt("click", 500, 5000), std::nullopt);
    EXPECT_EQ(window->evaluate("seen").value,
              (nlohmann::json{"click:b:60", "[object DragEvent]", "Backspace:8:true"}));
}

}  // namespace
