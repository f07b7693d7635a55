// Script answers as the web-view library reads them: values as JSON,
// undefined and JSON-less values as nothing, exceptions as errors.
#include "WebViewTestSupport.h"

#include <gtest/gtest.h>

namespace {

using namespace zv;
using namespace zv::test;

class ScriptEvaluationTest : public SharedWindowTest {
protected:
    static void SetUpTestSuite() {
        SharedWindowTest::SetUpTestSuite();
        ASSERT_TRUE(window->loadHTML("<p>page</p>"));
    }

    ScriptAnswer answerTo(const char* script) {
        ScriptAnswer answer;
        Watchdog guard(std::string("evaluateJavaScriptAndWait of ") + script);
        evaluateJavaScriptAndWait(window->webView(), script, answer.completion());
        return answer;
    }
};

TEST_F(ScriptEvaluationTest, ValuesComeBackAsJsonAndUndefinedAsNothing) {
    ScriptAnswer object = answerTo("({s: 'é', n: 2.5, i: 3, t: true, z: null, a: [1, 'x']})");
    ASSERT_TRUE(object.called);
    EXPECT_FALSE(object.error);
    EXPECT_EQ(object.value, (Value{{"s", "é"}, {"n", 2.5}, {"i", 3}, {"t", true}, {"z", nullptr}, {"a", {1, "x"}}}));
    EXPECT_TRUE(object.value->at("i").is_number_integer());
    EXPECT_EQ(answerTo("null").value, Value());

    ScriptAnswer undefinedValue = answerTo("undefined");
    EXPECT_FALSE(undefinedValue.error);
    EXPECT_FALSE(undefinedValue.value);
    // Values JSON cannot hold give nothing; the engine may call them an error.
    for (const char* nothing : {"(function() {})", "var o = {}; o.self = o; o", "Promise.resolve(1)"}) {
        ScriptAnswer answer = answerTo(nothing);
        EXPECT_TRUE(answer.called) << nothing;
        EXPECT_FALSE(answer.value) << nothing;
    }
    EXPECT_EQ(answerTo("'still fine'").value, Value("still fine"));
}

TEST_F(ScriptEvaluationTest, ExceptionsBecomeErrorsWithTheirMessage) {
    ScriptAnswer thrown = answerTo("undefinedName + 1");
    ASSERT_TRUE(thrown.error);
    EXPECT_FALSE(thrown.value);
    EXPECT_NE(thrown.error->message.find("undefinedName"), std::string::npos) << thrown.error->message;
    EXPECT_FALSE(thrown.error->domain.empty());

    ScriptAnswer syntax = answerTo("f('a'b')");
    EXPECT_TRUE(syntax.error);
}

TEST_F(ScriptEvaluationTest, TheAnswerComesAfterTheCallReturns) {
    bool called = false;
    evaluateJavaScript(window->webView(), "1", [&](std::optional<Value>, std::optional<Error>) { called = true; });
    EXPECT_FALSE(called);
    EXPECT_TRUE(spinUntil([&] { return called; }, kScriptTimeout));
}

}  // namespace
