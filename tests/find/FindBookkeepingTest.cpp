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

// One step in a conversation of three messages with these counts, from
// these indexes; a value left out is not checked.
TEST(FindStepping, StepsInsideAMessageThenToTheNextWithMatchesAndWraps) {
    using Indexes = std::vector<std::pair<std::string, int64_t>>;
    constexpr auto Next = FindDirection::Next, Previous = FindDirection::Previous;
    const struct {
        const char* what;
        std::vector<int64_t> counts;
        Indexes before;
        std::optional<size_t> from;
        FindDirection direction;
        size_t item;
        std::optional<bool> looped, entered;
        Indexes after;
    } cases[] = {
        {"an exhausted message is left for the next with matches", {2, 0, 4}, {{"m1", 1}}, 0, Next, 2, false, true,
         {{"m1", -1}, {"m3", 0}}},
        {"after the last match the walk wraps", {2, 0, 4}, {{"m1", -1}, {"m3", 3}}, 2, Next, 0, true, {}, {{"m1", 0}}},
        {"inside a message until its last match; the page moves the index", {2, 0, 4}, {{"m3", 1}}, 2, Next, 2, {},
         false, {{"m3", 1}}},
        {"backwards enters at the last match", {2, 0, 4}, {}, {}, Previous, 2, {}, {}, {{"m3", 3}}},
        {"backwards from a first match", {2, 0, 4}, {{"m3", 0}}, 2, Previous, 0, false, {}, {{"m1", 1}}},
        {"the only message with matches is reached again after a full turn", {0, 3, 0}, {{"m2", 2}}, 1, Next, 1, true,
         false, {{"m2", -1}}},
        {"no matches anywhere stays on the first message", {0, 0, 0}, {}, {}, Next, 0, false, {}, {}},
    };
    const Keys keys{"m1", "m2", "m3"};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        FindResults results;
        for (size_t i = 0; i < keys.size(); ++i) results.setCount(*keys[i], c.counts[i]);
        for (const auto& [key, index] : c.before) results.setIndex(key, index);
        auto step = zv::stepToItem(keys, c.from, c.direction, results);
        ASSERT_TRUE(step);
        EXPECT_EQ(step->item, c.item);
        if (c.looped) {
            EXPECT_EQ(step->looped, *c.looped);
        }
        if (c.entered) {
            EXPECT_EQ(step->entered, *c.entered);
        }
        for (const auto& [key, index] : c.after) EXPECT_EQ(results.indexForKey(key), index) << key;
    }
    FindResults none;
    EXPECT_FALSE(zv::stepToItem({}, std::nullopt, Next, none));
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
