// Per-message counts, stepping across messages, search values and stored
// options: everything of find that needs no web view.
#include <zv/find/FindOptions.h>
#include <zv/find/FindResults.h>
#include <zv/find/FindStepping.h>
#include <zv/find/SearchValues.h>
#include <zv/find/TextMatchCount.h>
#include <zv/foundation/UserDefaults.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using zv::FindDirection;
using zv::FindResults;
using Keys = std::vector<std::optional<std::string>>;

TEST(FindResults, CountsSumAndFirstLastFollowCountAndIndex) {
    FindResults results;
    std::vector<int64_t> totals;
    results.setTotalObserver([&](int64_t total) { totals.push_back(total); });
    EXPECT_EQ(results.countForKey("A"), 0);
    EXPECT_EQ(results.indexForKey("A"), -1);
    results.setCount("A", 3);
    results.setCount("B", 2);
    results.setIndex("A", 2);
    results.setCount("A", 3);  // a new count keeps the index
    EXPECT_EQ(totals, (std::vector<int64_t>{3, 5, 5}));
    EXPECT_TRUE(results.atLastForKey("A"));
    EXPECT_FALSE(results.atFirstForKey("A"));
    results.setIndex("B", 0);
    EXPECT_TRUE(results.atFirstForKey("B"));
    results.setCount("C", 0);
    results.setIndex("C", -1);
    EXPECT_FALSE(results.atLastForKey("C"));  // count 0 - 1 is -1, yet no match is last
    results.setIndex("C", 0);
    EXPECT_FALSE(results.atFirstForKey("C"));
    results.retainKeys({"A", "C"});  // B left
    EXPECT_EQ(totals.back(), 3);
    EXPECT_EQ(results.countForKey("B"), 0);
    EXPECT_EQ(results.indexForKey("A"), 2);
    results.removeAll();
    EXPECT_EQ(results.totalCount(), 0);
}

struct Conversation {
    Keys keys{"m1", "m2", "m3"};
    FindResults results;
    Conversation(int64_t a, int64_t b, int64_t c) {
        results.setCount("m1", a);
        results.setCount("m2", b);
        results.setCount("m3", c);
    }
};

TEST(FindStepping, LeavesAnExhaustedMessageForTheNextWithMatchesAndWraps) {
    Conversation c(2, 0, 4);
    c.results.setIndex("m1", 1);
    auto step = zv::stepToItem(c.keys, 0, FindDirection::Next, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 2u);
    EXPECT_FALSE(step->looped);
    EXPECT_TRUE(step->entered);
    EXPECT_EQ(c.results.indexForKey("m1"), -1);
    EXPECT_EQ(c.results.indexForKey("m3"), 0);

    c.results.setIndex("m3", 3);
    step = zv::stepToItem(c.keys, 2, FindDirection::Next, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 0u);
    EXPECT_TRUE(step->looped);
    EXPECT_EQ(c.results.indexForKey("m1"), 0);
}

TEST(FindStepping, StaysInsideAMessageUntilItsLastMatch) {
    Conversation c(2, 0, 4);
    c.results.setIndex("m3", 1);
    auto step = zv::stepToItem(c.keys, 2, FindDirection::Next, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 2u);
    EXPECT_FALSE(step->entered);
    EXPECT_EQ(c.results.indexForKey("m3"), 1);  // the page moves it
}

TEST(FindStepping, BackwardsEntersAtTheLastMatch) {
    Conversation c(2, 0, 4);
    auto step = zv::stepToItem(c.keys, std::nullopt, FindDirection::Previous, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 2u);
    EXPECT_EQ(c.results.indexForKey("m3"), 3);
    c.results.setIndex("m3", 0);
    step = zv::stepToItem(c.keys, 2, FindDirection::Previous, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 0u);
    EXPECT_FALSE(step->looped);
    EXPECT_EQ(c.results.indexForKey("m1"), 1);
}

TEST(FindStepping, TheOnlyMessageWithMatchesIsReachedAgainAfterAFullTurn) {
    Conversation c(0, 3, 0);
    c.results.setIndex("m2", 2);
    auto step = zv::stepToItem(c.keys, 1, FindDirection::Next, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 1u);
    EXPECT_TRUE(step->looped);
    EXPECT_FALSE(step->entered);
    EXPECT_EQ(c.results.indexForKey("m2"), -1);
}

TEST(FindStepping, NoMatchesAnywhereStaysOnTheFirstMessage) {
    Conversation c(0, 0, 0);
    auto step = zv::stepToItem(c.keys, std::nullopt, FindDirection::Next, c.results);
    ASSERT_TRUE(step);
    EXPECT_EQ(step->item, 0u);
    EXPECT_FALSE(step->looped);
    EXPECT_FALSE(zv::stepToItem({}, std::nullopt, FindDirection::Next, c.results));
}

TEST(SearchValues, QuotedPhrasesFirstThenWords) {
    const struct {
        const char* entry;
        std::vector<std::string> values;
    } cases[] = {
        {"a b \"c d\"", {"c d", "a", "b"}},
        {"", {""}},
        {"x \"unterminated", {"x", "\"unterminated"}},
        {"  one\ttwo  ", {"one\ttwo"}},
        {"'it is' \"so\" far", {"it is", "so", "far"}},
        {"\"\"", {"\"\""}},
        {"a\n b", {"a\n", "b"}},  // words split at blanks only
    };
    for (const auto& c : cases) EXPECT_EQ(zv::parseStringForValues(c.entry), c.values) << c.entry;
}

TEST(FindOptions, StyleAndIgnoreCaseComeFromTheDefaults) {
    auto& defaults = zv::UserDefaults::standard();
    for (const char* key : {zv::ZVSearchStyleKey, zv::ZVSearchStyleNoRegKey, zv::ZVSearchIgnoreCaseKey})
        defaults.removeObjectForKey(key);
    EXPECT_EQ(zv::storedSearchOptions(zv::ZVSearchStyleKey), 257);
    defaults.setInteger(zv::ZVSearchStyleKey, 4);
    defaults.setBool(zv::ZVSearchIgnoreCaseKey, false);
    EXPECT_EQ(zv::storedSearchOptions(zv::ZVSearchStyleKey), 4);
    EXPECT_EQ(zv::storedSearchOptions(zv::ZVSearchStyleNoRegKey), 1);
    defaults.removeObjectForKey(zv::ZVSearchStyleKey);
    defaults.removeObjectForKey(zv::ZVSearchIgnoreCaseKey);
}

TEST(TextMatchCount, CountsAsThePageSearchesItsText) {
    std::string text = zv::searchableTextOfHTML(
        "<html><head><title>plan</title></head><body><p>Plan B: re<b>plan</b> the plan_x "
        "planning.</p><script>plan()</script><style>.plan{}</style><p>Ärger, ärger</p></body></html>");
    EXPECT_EQ(text.find("plan()"), std::string::npos) << "no script text";
    EXPECT_EQ(text.find(".plan"), std::string::npos) << "no style text";
    struct Case {
        const char* search;
        std::int64_t options;
        std::int64_t count;
    } cases[] = {
        {"plan", 1, 3},          // replan, plan_x, planning (Plan differs in case)
        {"plan", 1 + 256, 4},
        {"plan", 2 + 256, 3},    // not inside "replan"
        {"plan", 4 + 256, 1},    // Plan: plan_x and planning go on
        {"eplan th", 1, 1},      // across the <b> element
        {"ärger", 4 + 256, 2},
        {"ärger", 4, 1},
        {"pl(an|anning)", 8, 3},
        {"a.b", 1, 0},           // literal, not an expression
        {"(", 8, 0},             // does not compile
        {"x*", 8, 0},            // the first match is empty
        {"", 1, 0},
    };
    for (const Case& c : cases) EXPECT_EQ(zv::countMatchesInText(text, {c.search}, c.options), c.count) << c.search << " " << c.options;
}

}  // namespace
