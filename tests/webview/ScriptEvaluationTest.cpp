// Script answers as the web-view library reads them: values as JSON,
// undefined and JSON-less values as nothing, exceptions as errors.
#include "WebViewHarness.h"

#include <zv/webview/ScriptEvaluation.h>

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

class ScriptEvaluationTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        window = new WebViewWindow();
        ASSERT_TRUE(window->loadHTML("<p>page</p>"));
    }
    static void TearDownTestSuite() {
        delete window;
        window = nullptr;
    }

    struct Answer {
        bool called = false;
        std::optional<Value> value;
        std::optional<Error> error;
    };
    Answer answerTo(const char* script) {
        Answer answer;
        Watchdog guard(std::string("evaluateJavaScriptAndWait of ") + script);
        evaluateJavaScriptAndWait(window->webView(), script, [&](std::optional<Value> value, std::optional<Error> error) {
            answer = {true, std::move(value), std::move(error)};
        });
        return answer;
    }

    static inline WebViewWindow* window = nullptr;
};

TEST_F(ScriptEvaluationTest, ValuesComeBackAsJsonAndUndefinedAsNothing) {
    Answer object = answerTo("({s: 'é', n: 2.5, i: 3, t: true, z: null, a: [1, 'x']})");
    ASSERT_TRUE(object.called);
    EXPECT_FALSE(object.error);
    EXPECT_EQ(object.value, (Value{{"s", "é"}, {"n", 2.5}, {"i", 3}, {"t", true}, {"z", nullptr}, {"a", {1, "x"}}}));
    EXPECT_TRUE(object.value->at("i").is_number_integer());
    EXPECT_EQ(answerTo("null").value, Value());

    Answer undefinedValue = answerTo("undefined");
    EXPECT_FALSE(undefinedValue.error);
    EXPECT_FALSE(undefinedValue.value);
    // Values JSON cannot hold give nothing; the engine may call them an error.
    for (const char* nothing : {"(function() {})", "var o = {}; o.self = o; o", "Promise.resolve(1)"}) {
        Answer answer = answerTo(nothing);
        EXPECT_TRUE(answer.called) << nothing;
        EXPECT_FALSE(answer.value) << nothing;
    }
    EXPECT_EQ(answerTo("'still fine'").value, Value("still fine"));
}

TEST_F(ScriptEvaluationTest, ExceptionsBecomeErrorsWithTheirMessage) {
    Answer thrown = answerTo("undefinedName + 1");
    ASSERT_TRUE(thrown.error);
    EXPECT_FALSE(thrown.value);
    EXPECT_NE(thrown.error->message.find("undefinedName"), std::string::npos) << thrown.error->message;
    EXPECT_FALSE(thrown.error->domain.empty());

    Answer syntax = answerTo("f('a'b')");
    EXPECT_TRUE(syntax.error);
}

TEST_F(ScriptEvaluationTest, TheAnswerComesAfterTheCallReturns) {
    bool called = false;
    evaluateJavaScript(window->webView(), "1", [&](std::optional<Value>, std::optional<Error>) { called = true; });
    EXPECT_FALSE(called);
    EXPECT_TRUE(spinUntil([&] { return called; }, kScriptTimeout));
}

}  // namespace
