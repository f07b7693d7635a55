// Encoding labels, sniffing and decoding, through the public interface.
#include <zv/html/HTMLEncoding.h>
#include <zv/html/HTMLStreamDecoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

using namespace zv::html;

namespace {

std::string lowerCase(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

// html5lib-tests' encoding format: "#data", the document, "#encoding", the name.
struct EncodingCase {
    std::string file;
    size_t index;
    std::string data;
    std::string expected;
};

std::vector<EncodingCase> readEncodingCases(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream contents;
    contents << in.rdbuf();
    const std::string text = contents.str();

    std::vector<EncodingCase> cases;
    const std::string dataMarker = "#data\n";
    const std::string encodingMarker = "\n#encoding\n";
    size_t position = text.find(dataMarker);
    while (position != std::string::npos) {
        size_t dataStart = position + dataMarker.size();
        size_t encodingStart = text.find(encodingMarker, dataStart);
        if (encodingStart == std::string::npos)
            break;
        size_t nameStart = encodingStart + encodingMarker.size();
        size_t nameEnd = text.find('\n', nameStart);
        cases.push_back({path.filename().string(), cases.size(), text.substr(dataStart, encodingStart - dataStart),
                         text.substr(nameStart, nameEnd == std::string::npos ? nameEnd : nameEnd - nameStart)});
        position = nameEnd == std::string::npos ? nameEnd : text.find(dataMarker, nameEnd);
    }
    return cases;
}

// Cases whose <meta> lies past the prescan's 1024 bytes: browsers get their
// encoding by changing it while parsing, which the prescan alone cannot do.
bool needsChangeWhileParsing(const EncodingCase& c) {
    if (lowerCase(c.expected) == "windows-1252")
        return false;
    const std::string data = lowerCase(c.data);
    return data.find("charset") != std::string::npos && data.substr(0, 1024).find("charset") == std::string::npos;
}

}  // namespace

TEST(HTMLEncodingSniffing, Html5libEncodingCorpus) {
    const char* root = std::getenv("ZV_HTML5LIB_TESTS");
    if (!root || !std::filesystem::is_directory(std::filesystem::path(root) / "encoding"))
        GTEST_SKIP() << "ZV_HTML5LIB_TESTS does not name an html5lib-tests checkout";

    // Only the top folder: scripted/ needs document.write.
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(root) / "encoding")) {
        if (entry.is_regular_file() && entry.path().extension() == ".dat")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());

    size_t ran = 0;
    size_t leftOut = 0;
    for (const auto& file : files) {
        for (const EncodingCase& c : readEncodingCases(file)) {
            if (needsChangeWhileParsing(c)) {
                ++leftOut;
                continue;
            }
            ++ran;
            EXPECT_EQ(lowerCase(sniffEncoding(c.data).encoding), lowerCase(c.expected))
                << c.file << " case " << c.index << ":\n" << c.data.substr(0, 200);
        }
    }
    std::cout << "[ encoding ] " << ran << " cases run, " << leftOut
              << " left out (declared past the prescan window)\n";
    EXPECT_GT(ran, 50u) << "the corpus was not read";
}

TEST(HTMLEncodingLabels, MapsLabelsToTheirEncodingIgnoringCaseAndSurroundingWhitespace) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"  LATIN1 ", "windows-1252"},     {"\t\n\f\rutf8\r\n", "UTF-8"},   {"unicode-1-1-utf-8", "UTF-8"},
        {"Shift_JIS", "Shift_JIS"},        {"KOI8_R", "KOI8-R"},
        {"us-ascii", "windows-1252"},      {"iso-8859-1", "windows-1252"},   {"iso-8859-9", "windows-1254"},
        {"tis-620", "windows-874"},        {"iso-8859-11", "windows-874"},   {"x-mac-ukrainian", "x-mac-cyrillic"},
        {"gb2312", "GBK"},                 {"gb18030", "gb18030"},           {"big5-hkscs", "Big5"},
        {"ks_c_5601-1987", "EUC-KR"},      {"windows-949", "EUC-KR"},        {"sjis", "Shift_JIS"},
        {"ms932", "Shift_JIS"},            {"csiso2022jp", "ISO-2022-JP"},   {"x-euc-jp", "EUC-JP"},
        {"iso-8859-8", "ISO-8859-8"},      {"logical", "ISO-8859-8-I"},      {"iso-8859-16", "ISO-8859-16"},
        {"koi8-ru", "KOI8-U"},             {"dos-874", "windows-874"},       {"hz-gb-2312", "replacement"},
        {"iso-2022-kr", "replacement"},    {"ucs-2", "UTF-16LE"},            {"utf-16", "UTF-16LE"},
        {"unicodefffe", "UTF-16BE"},       {"x-user-defined", "x-user-defined"},
        // What is not a label.
        {"", {}}, {"   ", {}}, {"latin-1", {}}, {"utf -8", {}}, {"utf-8;", {}}, {"x-mac-roman2", {}},
        {"iso-8859-12", {}}, {"utf-7", {}}, {"\xC3\xBCtf-8", {}},
    };
    for (const auto& [label, encoding] : cases)
        EXPECT_EQ(encodingForLabel(label), encoding) << label;
}

// A byte order mark wins and is skipped; then a transport label, a <meta>, the
// caller's default, windows-1252.
TEST(HTMLEncodingSniffing, BOMThenTransportThenMetaThenDefault) {
    const std::string meta = "<meta charset=koi8-r>";
    struct Case {
        std::string bytes;
        const char* transport;
        std::string fallback;
        const char* encoding;
        size_t bomLength;
    };
    const std::string w = "windows-1252";
    const Case cases[] = {
        {"\xEF\xBB\xBF" + meta, "windows-1251", w, "UTF-8", 3},
        {std::string("\xFE\xFF\0<", 4), "utf-8", w, "UTF-16BE", 2},
        {std::string("\xFF\xFE<\0", 4), "", w, "UTF-16LE", 2},
        {"\xEF\xBB" + meta, "", w, "KOI8-R", 0},  // half a UTF-8 BOM is no BOM
        {meta, " ISO-8859-2 ", w, "ISO-8859-2", 0},
        // UTF-16 from the transport is believed; from a <meta> it cannot be.
        {meta, "utf-16", w, "UTF-16LE", 0},
        {"<meta charset=utf-16be>", "", w, "UTF-8", 0},
        {meta, "no-such-charset", w, "KOI8-R", 0},  // an unknown transport label is ignored
        {"<p>plain</p>", "", w, "windows-1252", 0},
        {"<p>plain</p>", "", "utf8", "UTF-8", 0},
        {"<p>plain</p>", "", "bogus", "windows-1252", 0},
        {"<meta charset=euc-kr>", "", "utf-8", "EUC-KR", 0},
    };
    for (const Case& c : cases) {
        SniffedEncoding sniffed = sniffEncoding(c.bytes, c.transport, c.fallback);
        EXPECT_EQ(sniffed.encoding, c.encoding) << c.bytes;
        EXPECT_EQ(sniffed.bomLength, c.bomLength) << c.bytes;
    }
}

TEST(HTMLEncodingPrescan, ReadsMetaDeclarationsAndIgnoresWhatIsNone) {
    const std::string meta = "<meta charset=koi8-r>";
    const std::string padding(1024 - meta.size(), ' ');
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"<META HTTP-EQUIV=Content-Type CONTENT='text/html; CHARSET=Big5'>", "Big5"},
        {"<meta content=\"text/html; charset=\\\"x\" charset=gbk>", "GBK"},
        {"<meta/charset=sjis>", "Shift_JIS"},
        {"<meta charset=x-user-defined>", "windows-1252"},
        {"<meta charset=iso-2022-kr>", "replacement"},
        // Quoted charset in content; a charset attribute wins over content whatever the order.
        {"<meta http-equiv=content-type content=\"a;charset='koi8-u'\">", "KOI8-U"},
        {"<meta content='text/html;charset=big5' charset=euc-jp http-equiv=content-type>", "EUC-JP"},
        // "charset" without "=" is skipped over, not taken as the end of the search.
        {"<meta http-equiv=content-type content='charset; charset=gb18030'>", "gb18030"},
        {"<meta content='text/html; charset=koi8-r'>", std::nullopt},  // no pragma
        {"<meta charset=bogus content='charset=koi8-r' http-equiv=content-type>", std::nullopt},
        // A repeated attribute counts once: the first.
        {"<meta charset=bogus charset=koi8-r>", std::nullopt},
        {"<!-- <meta charset=koi8-r> -->", std::nullopt},
        {"<?php <meta charset=koi8-r> ?>", std::nullopt},
        {"<a title='<meta charset=koi8-r>'>", std::nullopt},
        {"<metal charset=koi8-r>", std::nullopt},
        {"", std::nullopt},
        // The window ends after 1024 bytes.
        {padding + meta, "KOI8-R"},
        {padding + " " + meta, std::nullopt},
        // "<!-->" is a whole comment; "<!--" without an end hides the rest.
        {"<!-->" + meta, "KOI8-R"},
        {"<!--" + meta, std::nullopt},
        {"<meta charset=koi8-r", std::nullopt},
    };
    for (const auto& [input, encoding] : cases) EXPECT_EQ(prescanForEncoding(input), encoding) << input;
}

struct KnownText {
    const char* encoding;
    std::string bytes;
    std::string text;
};

const std::vector<KnownText>& knownTexts() {
    static const std::vector<KnownText> cases = {
        {"windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
        {"koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4", "Привет"},
        {"koi8-u", "\xAE\xBE", "ўЎ"},
        {"iso-8859-16", "\xAA\xBA\xDE", "ȘșȚ"},
        {"windows-1252", "\x80\x81\x9F\xFF", "€\xC2\x81Ÿÿ"},
        {"windows-874", "\xA1\xDB", "ก\xEF\xBF\xBD"},
        {"ibm866", "\x8F\xE0\xA8\xA2\xA5\xE2", "Привет"},
        {"iso-2022-jp", "\x1B$B$3$s$K$A$O\x1B(B!", "こんにちは!"},
        {"iso-2022-jp", "\x1B(I1\x1B(B", "ｱ"},
        {"shift_jis", "\x82\xB1\x82\xF1\x82\xC9\x82\xBF\x82\xCD\xB1\x5C\x7E", "こんにちはｱ\\~"},
        {"euc-jp", "\xC6\xFC\xCB\xDC\x8E\xB1\x8F\xB0\xA1", "日本ｱ丂"},
        {"gb18030", "\xD6\xD0\xCE\xC4\x81\x30\x81\x30\x80", "中文\xC2\x80€"},
        {"gbk", "\xD6\xD0\xCE\xC4", "中文"},
        {"euc-kr", "\xC7\xD1\xB1\xB9\xBE\xEE\x81\x41", "한국어갂"},
        {"big5", "\xA4\xA4\xA4\xE5\xC6\xA1", "中文①"},
        {"big5", "\x88\x62\x88\xA5", "Ê̄ê̌"},
        {"utf-16be", std::string("\0h\0\xE9\x20\xAC\xD8\x34\xDD\x1E", 10), "hé€𝄞"},
        {"utf-16le", std::string("h\0\xE9\0\xAC\x20\x34\xD8\x1E\xDD", 10), "hé€𝄞"},
        {"utf-8", "h\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", "hé€𝄞"},
    };
    return cases;
}

TEST(HTMLEncodingDecoding, DecodesKnownTextInEachFamily) {
    for (const KnownText& c : knownTexts()) EXPECT_EQ(decodeToUTF8(c.bytes, c.encoding), c.text) << c.encoding;
}

std::string decodeInPieces(const std::string& bytes, const char* encoding, size_t size) {
    HTMLStreamDecoder decoder(encoding);
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += size) text += decoder.decode(std::string_view(bytes).substr(at, size));
    return text + decoder.finish();
}

TEST(HTMLEncodingDecoding, AStreamDecodedInPiecesGivesTheWholeText) {
    std::vector<KnownText> cases = knownTexts();
    // Malformed input decodes in pieces as it does whole.
    for (auto [encoding, bytes] : {std::pair<const char*, std::string>{"utf-8", "a\xE2\x82 \xF0\x9F\x98\xE2\x82\xAC\xC3"},
                                   {"shift_jis", "\x82 \x82\xB1\x82"},
                                   {"big5", "a\xA4\xA4\xA4"},
                                   {"utf-16le", std::string("\x34\xD8" "a\0\x34\xD8\x1E", 7)}})
        cases.push_back({encoding, bytes, decodeToUTF8(bytes, encoding)});
    for (const KnownText& c : cases)
        for (size_t size = 1; size <= 5; ++size)
            EXPECT_EQ(decodeInPieces(c.bytes + " <p>" + c.bytes, c.encoding, size),
                      decodeToUTF8(c.bytes + " <p>" + c.bytes, c.encoding))
                << c.encoding << " in pieces of " << size;
}

TEST(HTMLEncodingDecoding, ASCIIStaysASCIIInCompatibleEncodings) {
    std::string ascii;
    for (int b = 0; b < 0x80; ++b)
        ascii += char(b);
    // A trailing non-ASCII byte keeps the decoder off its pure-ASCII shortcut.
    for (const char* encoding : {"utf-8", "ibm866", "iso-8859-2", "iso-8859-7", "iso-8859-16", "koi8-u", "macintosh",
                                 "x-mac-cyrillic", "windows-874", "windows-1250", "windows-1252", "windows-1258",
                                 "gbk", "gb18030", "big5", "euc-jp", "shift_jis", "euc-kr", "x-user-defined"}) {
        std::string decoded = decodeToUTF8(ascii + "\xFF", encoding);
        EXPECT_EQ(decoded.substr(0, 0x80), ascii) << encoding;
        EXPECT_GT(decoded.size(), 0x80u) << encoding;
    }
}

// Malformed UTF-8 becomes one replacement per maximal subpart.
TEST(HTMLEncodingDecoding, MalformedInputAndTheSpecialEncodings) {
    const std::string r = "\xEF\xBF\xBD";
    struct Case {
        std::string bytes;
        const char* encoding;
        std::string text;
    };
    const Case cases[] = {
        {"a\xC3", "UTF-8", "a" + r},
        {"\xE2\x82" "A", "UTF-8", r + "A"},
        {"\xF0\x9F\x98" "\xF0\x9F\x98\x80", "UTF-8", r + "😀"},
        {"\xF0\x80\x80", "UTF-8", r + r + r},
        {"\xED\xA0\x80", "UTF-8", r + r + r},
        {"\xC0\xAF", "UTF-8", r + r},
        {"\xF4\x90\x80\x80", "UTF-8", r + r + r + r},
        {"\xFF\xFE", "UTF-8", r + r},
        {"\x80" "abc", "UTF-8", r + "abc"},
        {"\xE0\xA0\x80\xEF\xBF\xBF", "UTF-8", "\xE0\xA0\x80\xEF\xBF\xBF"},
        {"\x82", "shift_jis", r},
        {"\x82 x", "shift_jis", r + " x"},
        {"a\xA4", "big5", "a" + r},
        {"\xC7", "euc-kr", r},
        {"\xD2", "windows-1253", r},
        {"\xA1", "iso-8859-8", r},
        {std::string("\0a\xD8\x00", 4), "utf-16be", "a" + r},
        {std::string("a\0b", 3), "utf-16le", "a" + r},
        {std::string("\x00\xDC\x41\x00", 4), "utf-16le", r + "A"},
        // x-user-defined maps high bytes to private use.
        {"a\x80\xFF", "x-user-defined", "a\xEF\x9E\x80\xEF\x9F\xBF"},
        // The replacement encoding yields one replacement character for any input but none.
        {"", "replacement", ""},
        {"<p>plain ASCII</p>", "replacement", r},
        {"\x1B$)C\x0E", "iso-2022-kr", r},
        // Labels are taken; an unknown one falls back to windows-1252.
        {"caf\xE9", " Latin1 ", "café"},
        {"caf\xE9", "no-such-encoding", "café"},
    };
    for (const Case& c : cases) EXPECT_EQ(decodeToUTF8(c.bytes, c.encoding), c.text) << c.encoding << " " << c.bytes;
    EXPECT_EQ(decodeToUTF8("\x1B$B$", "iso-2022-jp").find(r), 0u);
}

TEST(HTMLEncodingDecoding, LongInputCrossesConverterBuffers) {
    // More UTF-16 than one conversion buffer holds, with a surrogate pair at every boundary.
    std::string bytes;
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        bytes += std::string("\x00x\xD8\x34\xDD\x1E", 6);
        text += "x𝄞";
    }
    EXPECT_EQ(decodeToUTF8(bytes, "UTF-16BE"), text);
}
