#include <zv/text/TextSnippet.h>
#include <zv/text/TextSnippetStream.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using namespace zv;

// Hands out `bytes` at most `pieceSize` bytes a call and counts what it gave.
struct CountingReader {
    std::string bytes;
    size_t pieceSize = 4096;
    size_t given = 0;
    size_t failAfter = SIZE_MAX;  // bytes after which reading fails

    SnippetByteReader reader() {
        return [this](char* buffer, size_t capacity) -> long {
            if (given >= failAfter) {
                errno = EIO;
                return -1;
            }
            size_t count = std::min({capacity, pieceSize, bytes.size() - given});
            std::memcpy(buffer, bytes.data() + given, count);
            given += count;
            return long(count);
        };
    }
};

std::string mailOfSize(size_t size) {
    std::string html = "<html><head><style>p { color: red }</style></head><body><p>Dear reader, the news of the week";
    while (html.size() < size) html += "<p>Another paragraph of the newsletter that nobody previews.</p>\n";
    return html;
}

// The extraction stops at the limit, and reading and decoding stop with it.
TEST(TextSnippetStream, ReadsNoMoreOfALargerInput) {
    for (unsigned options : {0u, unsigned(ZVTextSnippetKeepWholeWords)}) {
        CountingReader small{mailOfSize(1 << 20)}, large{mailOfSize(4 << 20)};
        for (CountingReader* input : {&small, &large}) {
            std::error_code error;
            EXPECT_EQ(textSnippetForStream(input->reader(), {}, "UTF-8", 200, options, &error),
                      textSnippetForHTML(input->bytes, 200, options));
            EXPECT_FALSE(error);
        }
        EXPECT_EQ(large.given, small.given);
        EXPECT_LT(small.given * 16, small.bytes.size());
    }
}

TEST(TextSnippetStream, PiecesOfAnySizeGiveTheSnippetOfTheWholeText) {
    const std::string html = "<p>caf\xC3\xA9\r\n cr\xC3\xA8me&amp;amp;</p>\r<div>\xF0\x9F\x98\x80 a&lt;b</div>";
    for (size_t size = 1; size <= 7; ++size) {
        CountingReader input{html, size};
        EXPECT_EQ(textSnippetForStream(input.reader(), {}, "UTF-8", 0, 0, nullptr), textSnippetForHTML(html, 0, 0))
            << "pieces of " << size;
    }
}

TEST(TextSnippetStream, TheEncodingIsSniffedAsTheStandardSaysAndDecodedInPieces) {
    struct Case {
        std::string bytes;
        const char* transport;
        const char* fallback;
        const char* expected;
    } cases[] = {
        {"<p>caf\xE9</p>", "", "windows-1252", "café"},
        {"<meta charset=iso-8859-7><p>\xE1\xE2\xE3</p>", "", "UTF-8", "αβγ"},
        {"<meta charset=iso-8859-7><p>caf\xE9</p>", "latin1", "UTF-8", "café"},  // the transport's word wins
        {"\xEF\xBB\xBF<p>\xC3\xA9t\xC3\xA9</p>", "latin1", "UTF-8", "été"},     // but not over a byte order mark
        {std::string("\xFF\xFE<\0p\0>\0\xE9\0", 10), "", "UTF-8", "é"},
        {"<p>\x1B$B$3$s$K$A$O\x1B(B</p>", "iso-2022-jp", "UTF-8", "こんにちは"},
        {"<p>\x82\xB1\x82\xF1 \x82\xC9\x82\xBF\x82\xCD</p>", "shift_jis", "UTF-8", "こん にちは"},
    };
    for (const Case& c : cases) {
        CountingReader input{c.bytes, 3};
        EXPECT_EQ(textSnippetForStream(input.reader(), c.transport, c.fallback, 0, 0, nullptr), c.expected)
            << c.expected;
    }
}

TEST(TextSnippetStream, FilesGiveTheSnippetOfTheirTextAndFailuresGiveNothing) {
    zv::test::TemporaryFolder folder;
    const std::string html = mailOfSize(300000) + "<p>caf\xE9</p>";  // invalid UTF-8 at the end: no <meta>
    folder.write("mail.html", html);
    std::error_code error;
    EXPECT_EQ(textSnippetForFile(folder.pathOf("mail.html"), 0, 0, &error), textSnippetForHTML(html, 0, 0));
    EXPECT_FALSE(error);

    CountingReader failing{mailOfSize(100000), 4096, 0, 8192};
    EXPECT_EQ(textSnippetForStream(failing.reader(), {}, "UTF-8", 0, 0, &error), std::nullopt);
    EXPECT_EQ(error, std::errc::io_error);
    failing.given = 0;  // a failure past what the extraction needs is never reached
    EXPECT_EQ(textSnippetForStream(failing.reader(), {}, "UTF-8", 10, 0, &error), "Dear reader");
    EXPECT_FALSE(error);
    EXPECT_EQ(textSnippetForFile("/nonexistent/mail.html", 10, 0, &error), std::nullopt);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(textSnippetForFile(folder.path(), 10, 0, &error), std::nullopt);
    EXPECT_EQ(error, std::errc::is_a_directory);
}

}  // namespace
