#include <zv/webview/ScriptValue.h>

#include <zv/webview/GObjectRef.h>

#include <gtest/gtest.h>
#include <jsc/jsc.h>

namespace {

std::optional<nlohmann::json> valueOf(JSCContext* context, const char* script) {
    auto value = zv::GObjectRef<JSCValue>::adopt(jsc_context_evaluate(context, script, -1));
    return zv::valueFromJSCValue(value.get());
}

TEST(ScriptValue, ConvertsPageValuesToJsonAndUndefinedToNothing) {
    auto context = zv::GObjectRef<JSCContext>::adopt(jsc_context_new());
    EXPECT_EQ(valueOf(context.get(), "({s: 'é', n: 2.5, t: true, z: null, a: [1, 'x']})"),
              (nlohmann::json{{"s", "é"}, {"n", 2.5}, {"t", true}, {"z", nullptr}, {"a", {1, "x"}}}));
    EXPECT_EQ(valueOf(context.get(), "3"), nlohmann::json(3));
    EXPECT_EQ(valueOf(context.get(), "null"), nlohmann::json());
    EXPECT_EQ(valueOf(context.get(), "undefined"), std::nullopt);
    EXPECT_EQ(zv::valueFromJSCValue(nullptr), std::nullopt);
}

TEST(ScriptValue, ValuesWithoutJsonFormGiveNothingAndLeaveTheContextClean) {
    auto context = zv::GObjectRef<JSCContext>::adopt(jsc_context_new());
    EXPECT_EQ(valueOf(context.get(), "(function() {})"), std::nullopt);
    EXPECT_EQ(valueOf(context.get(), "var o = {}; o.self = o; o"), std::nullopt);
    EXPECT_EQ(jsc_context_get_exception(context.get()), nullptr);
    EXPECT_EQ(valueOf(context.get(), "'still fine'"), nlohmann::json("still fine"));
}

}  // namespace
