#include <zv/foundation/Strings.h>

#include <gtest/gtest.h>

namespace {

TEST(ZVTrim, RemovesUnicodeWhiteSpaceAndLineBreaksAtBothEndsOnly) {
    EXPECT_EQ(zv::zvTrim("  \t\r\n a  b \n"), "a  b");
    // NBSP, EM SPACE, LINE SEPARATOR, IDEOGRAPHIC SPACE, NEL.
    EXPECT_EQ(zv::zvTrim("\xC2\xA0\xE2\x80\x83x\xE2\x80\xA8\xE3\x80\x80\xC2\x85"), "x");
    EXPECT_EQ(zv::zvTrim(" \t\n"), "");
    EXPECT_EQ(zv::zvTrim(""), "");
    // Zero-width joiners and similar are not white space.
    EXPECT_EQ(zv::zvTrim("\xE2\x80\x8Cx\xE2\x80\x8B"), "\xE2\x80\x8Cx\xE2\x80\x8B");
    // Malformed bytes are kept, not dropped.
    EXPECT_EQ(zv::zvTrim(" \xFF x \xC3"), "\xFF x \xC3");
}

}  // namespace
