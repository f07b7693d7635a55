// The readers of the page's event messages, given bodies a page may send.
#include "ScriptMessageBodies.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

TEST(ScriptMessageBodiesTest, KeyDownModifiersOfAnyNumberAreRead) {
    struct Case {
        zv::Value modifiers;
        uint64_t flags;
    };
    const Case cases[] = {
        {131072, 131072},
        {"3", 3},
        {true, 1},
        {2.9, 2},
        {1e300, 0x7FFFFFFFFFFFFFFF},
        {18446744073709551615u, 0x7FFFFFFFFFFFFFFF},
        {nullptr, 0},
    };
    for (const Case& c : cases) {
        std::optional<zv::KeyDownBody> key = zv::keyDownFromBody(zv::Value{{"keyName", "Backspace"}, {"modifiers", c.modifiers}});
        ASSERT_TRUE(key) << c.modifiers;
        EXPECT_EQ(key->keyCode, 51);
        EXPECT_EQ(key->modifierFlags, c.flags) << c.modifiers;
    }
}

}  // namespace
