// What the html5lib corpus does not reach: chunked input preparation, partial
// reads, the token contracts of this interface, and entity decoding/encoding.
#include <zv/html/HTMLEntities.h>
#include "HTMLTokenizer.h"

#include "HTMLInputPreprocessor.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include <string>
#include <vector>

namespace {

using namespace zv::html;

constexpr size_t kChunk = HTMLInputPreprocessor::kChunkSize;
const std::string kReplacement = "\xEF\xBF\xBD";

std::string prepareAll(std::string_view source) {
    HTMLInputPreprocessor input(source);
    while (input.prepareMore()) {
    }
    return {input.data(), input.size()};
}

std::string repeat(std::string_view s, size_t times) {
    std::string out;
    for (size_t i = 0; i < times; ++i) out += s;
    return out;
}

// One token as a short string: "S:a href=x" (start tag), "E:a", "M:comment",
// "D:html", or the characters themselves.
std::string describe(const HTMLToken& token) {
    switch (token.type) {
    case HTMLTokenType::Character: return std::string(static_cast<const HTMLCharacterToken&>(token).characters);
    case HTMLTokenType::Comment: return "M:" + static_cast<const HTMLCommentToken&>(token).data;
    case HTMLTokenType::DOCTYPE: return "D:" + static_cast<const HTMLDOCTYPEToken&>(token).name.value_or("");
    case HTMLTokenType::StartTag:
    case HTMLTokenType::EndTag: {
        const auto& tag = static_cast<const HTMLTagToken&>(token);
        std::string out = (token.type == HTMLTokenType::StartTag ? "S:" : "E:") + tag.tagName;
        for (const auto& a : tag.attributes) out += " " + a.name + "=" + a.value;
        return tag.selfClosing ? out + " /" : out;
    }
    default: return "EOF";
    }
}

// Every token up to and including end-of-file; adjacent characters merged
// unless `merge` is false.
std::vector<std::string> tokens(HTMLTokenizer& tokenizer, bool merge = true) {
    std::vector<std::string> out;
    bool lastWasText = false;
    while (const HTMLToken* token = tokenizer.nextToken()) {
        bool text = token->type == HTMLTokenType::Character;
        if (merge && text && lastWasText) out.back() += describe(*token);
        else out.push_back(describe(*token));
        lastWasText = text;
    }
    return out;
}

std::vector<std::string> tokens(const std::string& html, bool merge = true) {
    HTMLTokenizer tokenizer(html);
    return tokens(tokenizer, merge);
}

using Tokens = std::vector<std::string>;

// Newlines are normalised and multi-byte characters kept whole at every
// offset around a chunk end.
TEST(HTMLInputPreprocessor, PreparesTextTheSameAtEveryOffsetAroundAChunkEnd) {
    EXPECT_EQ(prepareAll("a\r\nb\rc\n\rd\r"), "a\nb\nc\n\nd\n");
    const std::pair<std::string, std::string> cases[] = {
        {"\r\nb", "\nb"}, {"\r\r\nb", "\n\nb"}, {"\xC3\xA9z", "\xC3\xA9z"}, {"\xE2\x82\xACz", "\xE2\x82\xACz"},
        {"\xF0\x9F\x98\x80z", "\xF0\x9F\x98\x80z"},
    };
    for (size_t offset = kChunk - 4; offset <= kChunk + 1; ++offset) {
        std::string before(offset, 'a');
        for (const auto& [source, prepared] : cases) EXPECT_EQ(prepareAll(before + source), before + prepared) << offset;
    }
}

TEST(HTMLInputPreprocessor, ReplacesEachMaximalInvalidSubsequence) {
    auto fffd = [](size_t n) { return repeat(kReplacement, n); };
    EXPECT_EQ(prepareAll("a\xFF" "b"), "a" + fffd(1) + "b");
    EXPECT_EQ(prepareAll("\xC0\xAF"), fffd(2));                   // overlong lead bytes are never valid
    EXPECT_EQ(prepareAll("\xE2\x82" "x"), fffd(1) + "x");         // a truncated sequence is one U+FFFD
    EXPECT_EQ(prepareAll("\xED\xA0\x80"), fffd(3));               // an encoded surrogate
    EXPECT_EQ(prepareAll("\xF4\x90\x80\x80"), fffd(4));           // past U+10FFFF
    EXPECT_EQ(prepareAll("ok\xF0\x9F\x98"), "ok" + fffd(1));      // cut off by the end of input
    EXPECT_EQ(prepareAll("\x80\xE2\x82\xAC"), fffd(1) + "\xE2\x82\xAC");
}

TEST(HTMLInputPreprocessor, PreparesOneChunkAtATime) {
    std::string source(1 << 20, 'a');
    HTMLInputPreprocessor input(source);
    EXPECT_EQ(input.size(), 0u);
    ASSERT_TRUE(input.prepareMore());
    EXPECT_EQ(input.size(), kChunk);
    EXPECT_FALSE(input.finished());

    HTMLInputPreprocessor empty("");
    EXPECT_FALSE(empty.prepareMore());
    EXPECT_TRUE(empty.finished());
}

TEST(HTMLInputPreprocessor, ReadsCleanTextInPlaceAndCopiesFromTheFirstChange) {
    std::string clean(3 * kChunk, 'a');
    HTMLInputPreprocessor input(clean);
    while (input.prepareMore()) {
    }
    EXPECT_EQ(input.data(), clean.data());
    EXPECT_EQ(input.size(), clean.size());

    const std::string head = std::string(2 * kChunk + 5, 'b') + "\xC3\xA9";
    EXPECT_EQ(prepareAll(head + "\r\nc\xFF" + "d"), head + "\nc" + kReplacement + "d");
}

TEST(HTMLTokenizer, TokensStraddlingAChunkEndComeOutWhole) {
    for (size_t offset = kChunk - 24; offset <= kChunk + 1; ++offset) {
        std::string text(offset, 'x');
        EXPECT_EQ(tokens(text + "&notin;<A HREF=\"u&amp;v\">t</a>"),
                  (Tokens{text + "\xE2\x88\x89", "S:a href=u&v", "t", "E:a", "EOF"}))
            << offset;
    }
}

// A source handing out `size`-byte pieces of `text`, as a reader would.
HTMLTextSource piecesOf(const std::string& text, size_t size) {
    return [&text, size, at = size_t(0)]() mutable {
        std::string_view piece = std::string_view(text).substr(std::min(at, text.size()), size);
        at += size;
        return piece;
    };
}

TEST(HTMLTokenizer, TextFromASourceGivesTheTokensOfTheWholeText) {
    // Every piece size cuts each CR LF pair, tag and reference somewhere.
    const std::string html = "a\r\nb\r\r\n<P CLASS='x\ry'>&amp;&notin;c\r</p>\r<!--m-->&copy\n";
    const Tokens whole = tokens(html);
    for (size_t size = 1; size <= html.size(); ++size) {
        HTMLTokenizer tokenizer(piecesOf(html, size));
        EXPECT_EQ(tokens(tokenizer), whole) << "pieces of " << size;
    }
    const std::string nothing;
    HTMLTokenizer empty(piecesOf(nothing, 4));
    EXPECT_EQ(tokens(empty), Tokens{"EOF"});
}

TEST(HTMLTokenizer, InvalidInputThatOutgrowsTheBufferStaysIntact) {
    // Each invalid byte becomes three, so the prepared text is longer than the source.
    std::string source = "<p>" + std::string(3 * kChunk, '\xFF') + "</p>";
    EXPECT_EQ(tokens(source), (Tokens{"S:p", repeat(kReplacement, 3 * kChunk), "E:p", "EOF"}));
}

TEST(HTMLTokenizer, ReadingTheFirstTokensTouchesOnlyTheirChunk) {
    // The source's tail is unreadable memory: touching it would crash.
    const size_t page = size_t(sysconf(_SC_PAGESIZE));
    const size_t readable = (kChunk / page + 1) * page, size = readable + 64 * page;
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* bytes = static_cast<char*>(memory);
    std::string start = "<p class=x>Hello</p>";
    std::memset(bytes, 'x', readable);
    std::memcpy(bytes, start.data(), start.size());
    ASSERT_EQ(mprotect(bytes + readable, size - readable, PROT_NONE), 0);
    {
        HTMLTokenizer tokenizer(std::string_view(bytes, size));
        Tokens first;
        for (int i = 0; i < 3; ++i) first.push_back(describe(*tokenizer.nextToken()));
        EXPECT_EQ(first, (Tokens{"S:p class=x", "Hello", "E:p"}));
    }
    munmap(memory, size);
}

TEST(HTMLTokenizer, ReportsInputStreamErrorsInInputOrder) {
    // Found when a chunk is prepared, reported when the tokenizer reaches them.
    std::string html = "<a b b>\x01" + std::string(kChunk, 'x') + "<c d d>\x7F";
    HTMLTokenizer tokenizer(html);
    std::vector<std::string> errors;
    tokenizer.setParseErrorCallback([&](const HTMLParseError& e) { errors.push_back(e.code); });
    EXPECT_EQ(describe(*tokenizer.nextToken()), "S:a b=");
    EXPECT_EQ(errors, std::vector<std::string>{"duplicate-attribute"});
    tokens(tokenizer);
    EXPECT_EQ(errors, (std::vector<std::string>{"duplicate-attribute", "control-character-in-input-stream",
                                                "duplicate-attribute", "control-character-in-input-stream"}));
}

TEST(HTMLTokenizer, GivesNothingAfterTheEndOfFileToken) {
    HTMLTokenizer tokenizer("<!--x");
    EXPECT_EQ(tokens(tokenizer), (Tokens{"M:x", "EOF"}));
    EXPECT_EQ(tokenizer.nextToken(), nullptr);
    EXPECT_EQ(tokenizer.nextToken(), nullptr);
}

TEST(HTMLTokenizer, NullCharactersFollowTheTokenContract) {
    // In data and CDATA sections a NUL is a token of its own; elsewhere it is replaced.
    EXPECT_EQ(tokens(std::string("a\0b", 3), false), (Tokens{"a", std::string(1, '\0'), "b", "EOF"}));

    const std::string cdataSource("<![CDATA[a\0]]>b", 15);
    HTMLTokenizer cdata(cdataSource);
    cdata.setAllowCDATA(true);
    EXPECT_EQ(tokens(cdata, false), (Tokens{"a", std::string(1, '\0'), "b", "EOF"}));

    const std::string rcdataSource("a\0b", 3);
    HTMLTokenizer rcdata(rcdataSource);
    rcdata.setState(HTMLTokenizerState::RCDATA);
    EXPECT_EQ(tokens(rcdata), (Tokens{"a" + kReplacement + "b", "EOF"}));
}

TEST(HTMLTokenizer, ReportsParseErrorsOnlyWhileACallbackIsSet) {
    const std::string source("\0<p>\n<a b=1 b=2>&#0;</a x>", 26);
    HTMLTokenizer tokenizer(source);
    std::vector<HTMLParseError> errors;
    tokenizer.setParseErrorCallback([&](const HTMLParseError& e) { errors.push_back(e); });
    tokens(tokenizer);
    ASSERT_EQ(errors.size(), 4u);
    EXPECT_EQ(errors[0].code, "unexpected-null-character");
    EXPECT_EQ(errors[1].code, "duplicate-attribute");
    EXPECT_EQ(errors[1].line, 2u);
    EXPECT_EQ(errors[1].column, 9u);
    EXPECT_EQ(errors[2].code, "null-character-reference");
    EXPECT_EQ(errors[3].code, "end-tag-with-attributes");

    const std::string silencedSource("\0<a b b>", 8);
    HTMLTokenizer silenced(silencedSource);
    errors.clear();
    silenced.setParseErrorCallback([&](const HTMLParseError& e) { errors.push_back(e); });
    silenced.nextToken();
    silenced.setParseErrorCallback(nullptr);
    tokens(silenced);
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].code, "unexpected-null-character");
}

TEST(HTMLTokenizer, SetsTheTagOfEveryKnownName) {
    std::vector<std::string> names = {
#define ZV_TEST_TAG_NAME(id, name) name,
        ZV_HTML_TAGS(ZV_TEST_TAG_NAME)
#undef ZV_TEST_TAG_NAME
    };
    // Twice through one document, so that names also come back from the cache.
    std::string html;
    for (int pass = 0; pass < 2; ++pass)
        for (const auto& name : names) html += "<" + name + "></" + name + ">";
    HTMLTokenizer tokenizer(html);
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& name : names) {
            std::string lower = name;
            for (auto& c : lower) c = char(std::tolower(uint8_t(c)));
            // The tokenizer lower-cases, so SVG's camel-case names are not found here.
            Tag expected = tagFromName(lower);
            for (auto type : {HTMLTokenType::StartTag, HTMLTokenType::EndTag}) {
                const auto* tag = static_cast<const HTMLTagToken*>(tokenizer.nextToken());
                ASSERT_EQ(tag->type, type);
                EXPECT_EQ(tag->tagName, lower);
                EXPECT_EQ(tag->tag, expected) << name;
            }
        }
    }
    EXPECT_EQ(tokens("<DIV></TD><x-foo><blockquote>"), (Tokens{"S:div", "E:td", "S:x-foo", "S:blockquote", "EOF"}));
    HTMLTokenizer mixed("<DIV><x-foo>");
    EXPECT_EQ(static_cast<const HTMLTagToken*>(mixed.nextToken())->tag, Tag::div);
    EXPECT_EQ(static_cast<const HTMLTagToken*>(mixed.nextToken())->tag, Tag::Unknown);
}

TEST(HTMLTokenizer, AttributesBelongToTheirOwnTag) {
    EXPECT_EQ(tokens("<a X=1 y=2 z=3><b q=4><c r=5 s=6><d>"),
              (Tokens{"S:a x=1 y=2 z=3", "S:b q=4", "S:c r=5 s=6", "S:d", "EOF"}));
    // The first of duplicates wins; end tags lose attributes and the self-closing flag.
    EXPECT_EQ(tokens("<a x=1 X=2 y=3 x=4></a x=1/><br/>"), (Tokens{"S:a x=1 y=3", "E:a", "S:br /", "EOF"}));
}

TEST(HTMLTokenizer, FollowsStateChangesAndRemembersTheLastStartTag) {
    HTMLTokenizer tokenizer("<title>a<b>&amp;</title><style>x</y>&amp;</style>");
    Tokens seen;
    while (const HTMLToken* token = tokenizer.nextToken()) {
        seen.push_back(describe(*token));
        if (seen.back() == "S:title") tokenizer.setState(HTMLTokenizerState::RCDATA);
        if (seen.back() == "S:style") tokenizer.setState(HTMLTokenizerState::RAWTEXT);
    }
    EXPECT_EQ(seen, (Tokens{"S:title", "a<b>&", "E:title", "S:style", "x</y>&amp;", "E:style", "EOF"}));

    HTMLTokenizer script("a</x></SCRIPT >");
    script.setState(HTMLTokenizerState::ScriptData);
    script.setLastStartTagName("script");
    EXPECT_EQ(tokens(script), (Tokens{"a</x>", "E:script", "EOF"}));
}

// In an attribute value, legacy names before "=" or an alphanumeric stay.
TEST(HTMLEntities, DecodesAsTextContentAndAttributeValuesDo) {
    struct Case {
        bool attribute;
        const char* input;
        const char* decoded;
    } cases[] = {
        {false, "Tom &amp; Jerry &lt;3", "Tom & Jerry <3"},
        {false, "&amp;lt;", "&lt;"},  // one round only
        {false, "&copy 2024 &eacutex", "\xC2\xA9 2024 \xC3\xA9x"},  // legacy names need no ';'
        {false, "&hellip &hellip;", "&hellip \xE2\x80\xA6"},     // other names do
        {false, "&notit; &notin;", "\xC2\xACit; \xE2\x88\x89"},  // the longest name that matches
        {false, "&NotEqualTilde;", "\xE2\x89\x82\xCC\xB8"},      // two code points
        {false, "&#128;&#x80;&#65&#x263A;", "\xE2\x82\xAC\xE2\x82\xAC" "A\xE2\x98\xBA"},
        {false, "&#0;&#xD800;&#x110000;&#99999999999999;", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {false, "&#x &# &#x; &; & &unknown; &", "&#x &# &#x; &; & &unknown; &"},
        {true, "?a=1&param=2&copy=4", "?a=1&param=2&copy=4"},
        {true, "&copy2024 &notit", "&copy2024 &notit"},
        {true, "&copy 2024 &copy;x &not;it", "\xC2\xA9 2024 \xC2\xA9x \xC2\xACit"},
        {true, "&amp;lt; &lt&gt; &#65;1", "&lt; <> A1"},  // numeric references and other ends decode
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.attribute ? stringByDecodingHTMLEntitiesInAttribute(c.input) : stringByDecodingHTMLEntities(c.input),
                  c.decoded)
            << c.input;
    EXPECT_EQ(stringByDecodingHTMLEntities(stringByDecodingHTMLEntities("&amp;lt;")), "<");
}

TEST(HTMLEntities, EncodesTheCharactersSpecialInHTML) {
    EXPECT_EQ(stringByEncodingHTMLEntities("<a href=\"x\">Tom & Jerry's</a>"),
              "&lt;a href=&quot;x&quot;&gt;Tom &amp; Jerry&#39;s&lt;/a&gt;");
    for (std::string text : {"", "plain", "caf\xC3\xA9 & <b>\"'\"</b> &amp;"})
        EXPECT_EQ(stringByDecodingHTMLEntities(stringByEncodingHTMLEntities(text)), text);
}

}  // namespace
