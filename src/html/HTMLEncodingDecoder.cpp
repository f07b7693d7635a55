// Decoding bytes to UTF-8 the way the Encoding Standard does it.
//
// UTF-8 is validated by hand (it is the common case, and usually comes back
// untouched). Single-byte encodings decode through a 128-entry table read
// once from ICU and corrected where ICU's table and the standard's differ.
// Multi-byte encodings and UTF-16 go through ICU converters, with U+FFFD for
// every malformed sequence. x-user-defined and replacement are not ICU's
// business and are done here.
#include <zv/html/HTMLEncoding.h>

#include "UTF8.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>

namespace zv::html {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// Each decoder gets the input and the index of its encoding in kEncodings.
using Decoder = std::string (*)(std::string_view bytes, size_t index);
std::string decodeUTF8(std::string_view bytes, size_t);
std::string decodeSingleByte(std::string_view bytes, size_t index);
std::string decodeWithICU(std::string_view bytes, size_t index);
std::string decodeXUserDefined(std::string_view bytes, size_t);
std::string decodeReplacement(std::string_view bytes, size_t);

// Where an ICU multi-byte converter's output needs correcting.
enum class Quirk : uint8_t {
    None,
    // IBM's Shift_JIS tables rotate three control codes (0x1A, 0x1C, 0x7F), as IBM PC code pages do.
    IBMControlRotation,
    // The standard decodes four Big5 byte pairs to a letter and a combining
    // mark; ICU gives each a private-use code point.
    Big5CombiningPairs,
};

struct Encoding {
    std::string_view name;  // canonical, as encodingForLabel returns it
    Decoder decode;
    const char* icuName = nullptr;
    // Whether bytes 0x00–0x7F always stand for themselves.
    bool asciiCompatible = true;
    // What a lone byte 0x80 decodes to where ICU calls it an error (0 keeps the error).
    char16_t lone0x80 = 0;
    Quirk quirk = Quirk::None;
};

// ICU names are the converters' own names, not aliases, so an ICU build with
// different alias tables cannot silently pick another table.
constexpr Encoding kEncodings[] = {
    {.name = "UTF-8", .decode = decodeUTF8},
    {.name = "IBM866", .decode = decodeSingleByte, .icuName = "ibm-866_P100-1995"},
    {.name = "ISO-8859-2", .decode = decodeSingleByte, .icuName = "ibm-912_P100-1995"},
    {.name = "ISO-8859-3", .decode = decodeSingleByte, .icuName = "ibm-913_P100-2000"},
    {.name = "ISO-8859-4", .decode = decodeSingleByte, .icuName = "ibm-914_P100-1995"},
    {.name = "ISO-8859-5", .decode = decodeSingleByte, .icuName = "ibm-915_P100-1995"},
    {.name = "ISO-8859-6", .decode = decodeSingleByte, .icuName = "ibm-1089_P100-1995"},
    {.name = "ISO-8859-7", .decode = decodeSingleByte, .icuName = "ibm-9005_X110-2007"},
    {.name = "ISO-8859-8", .decode = decodeSingleByte, .icuName = "ibm-5012_P100-1999"},
    {.name = "ISO-8859-8-I", .decode = decodeSingleByte, .icuName = "ibm-5012_P100-1999"},
    {.name = "ISO-8859-10", .decode = decodeSingleByte, .icuName = "iso-8859_10-1998"},
    {.name = "ISO-8859-13", .decode = decodeSingleByte, .icuName = "ibm-921_P100-1995"},
    {.name = "ISO-8859-14", .decode = decodeSingleByte, .icuName = "iso-8859_14-1998"},
    {.name = "ISO-8859-15", .decode = decodeSingleByte, .icuName = "ibm-923_P100-1998"},
    // Not in ICU's data: its table is below.
    {.name = "ISO-8859-16", .decode = decodeSingleByte},
    {.name = "KOI8-R", .decode = decodeSingleByte, .icuName = "ibm-878_P100-1996"},
    {.name = "KOI8-U", .decode = decodeSingleByte, .icuName = "ibm-1168_P100-2002"},
    {.name = "macintosh", .decode = decodeSingleByte, .icuName = "macos-0_2-10.2"},
    {.name = "windows-874", .decode = decodeSingleByte, .icuName = "windows-874-2000"},
    {.name = "windows-1250", .decode = decodeSingleByte, .icuName = "ibm-5346_P100-1998"},
    {.name = "windows-1251", .decode = decodeSingleByte, .icuName = "ibm-5347_P100-1998"},
    {.name = "windows-1252", .decode = decodeSingleByte, .icuName = "ibm-5348_P100-1997"},
    {.name = "windows-1253", .decode = decodeSingleByte, .icuName = "ibm-5349_P100-1998"},
    {.name = "windows-1254", .decode = decodeSingleByte, .icuName = "ibm-5350_P100-1998"},
    {.name = "windows-1255", .decode = decodeSingleByte, .icuName = "ibm-9447_P100-2002"},
    {.name = "windows-1256", .decode = decodeSingleByte, .icuName = "ibm-9448_X100-2005"},
    {.name = "windows-1257", .decode = decodeSingleByte, .icuName = "ibm-9449_P100-2002"},
    {.name = "windows-1258", .decode = decodeSingleByte, .icuName = "ibm-5354_P100-1998"},
    {.name = "x-mac-cyrillic", .decode = decodeSingleByte, .icuName = "macos-7_3-10.2"},
    // The standard decodes GBK with the gb18030 decoder, which takes a lone 0x80 as the euro sign.
    {.name = "GBK", .decode = decodeWithICU, .icuName = "gb18030", .lone0x80 = 0x20AC},
    {.name = "gb18030", .decode = decodeWithICU, .icuName = "gb18030", .lone0x80 = 0x20AC},
    // Big5-HKSCS rather than windows-950: the standard's Big5 index carries
    // the HKSCS additions, and treats 0x80 and 0xFF as errors as this table does.
    {.name = "Big5", .decode = decodeWithICU, .icuName = "ibm-1375_P100-2008", .quirk = Quirk::Big5CombiningPairs},
    // The 2007 table has JIS X 0212, the NEC row 13 and IBM extensions, and
    // Windows' choices for the wave dash and minus sign, as the standard's index does.
    {.name = "EUC-JP", .decode = decodeWithICU, .icuName = "euc-jp-2007"},
    // Version 0 is plain ISO-2022-JP; it also takes ESC ( I katakana, as the standard does.
    {.name = "ISO-2022-JP", .decode = decodeWithICU, .icuName = "ISO_2022,locale=ja,version=0", .asciiCompatible = false},
    // windows-31j: backslash and tilde stay ASCII, NEC and IBM extensions included.
    {.name = "Shift_JIS", .decode = decodeWithICU, .icuName = "ibm-943_P15A-2003", .lone0x80 = 0x0080,
     .quirk = Quirk::IBMControlRotation},
    // The standard's EUC-KR is Windows' Unified Hangul Code.
    {.name = "EUC-KR", .decode = decodeWithICU, .icuName = "windows-949-2000"},
    {.name = "replacement", .decode = decodeReplacement, .asciiCompatible = false},
    {.name = "UTF-16BE", .decode = decodeWithICU, .icuName = "UTF-16BE", .asciiCompatible = false},
    {.name = "UTF-16LE", .decode = decodeWithICU, .icuName = "UTF-16LE", .asciiCompatible = false},
    {.name = "x-user-defined", .decode = decodeXUserDefined},
};

constexpr size_t kEncodingCount = std::size(kEncodings);

// ISO-8859-16, bytes 0xA0–0xFF (0x80–0x9F are the C1 controls).
constexpr char16_t kISO885916[96] = {
    0x00A0, 0x0104, 0x0105, 0x0141, 0x20AC, 0x201E, 0x0160, 0x00A7, 0x0161, 0x00A9, 0x0218, 0x00AB,
    0x0179, 0x00AD, 0x017A, 0x017B, 0x00B0, 0x00B1, 0x010C, 0x0142, 0x017D, 0x201D, 0x00B6, 0x00B7,
    0x017E, 0x010D, 0x0219, 0x00BB, 0x0152, 0x0153, 0x0178, 0x017C, 0x00C0, 0x00C1, 0x00C2, 0x0102,
    0x00C4, 0x0106, 0x00C6, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF,
    0x0110, 0x0143, 0x00D2, 0x00D3, 0x00D4, 0x0150, 0x00D6, 0x015A, 0x0170, 0x00D9, 0x00DA, 0x00DB,
    0x00DC, 0x0118, 0x021A, 0x00DF, 0x00E0, 0x00E1, 0x00E2, 0x0103, 0x00E4, 0x0107, 0x00E6, 0x00E7,
    0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x0111, 0x0144, 0x00F2, 0x00F3,
    0x00F4, 0x0151, 0x00F6, 0x015B, 0x0171, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x0119, 0x021B, 0x00FF,
};

// Where ICU's single-byte tables and the standard's indexes disagree.
// U+FFFD marks a byte the standard leaves unmapped.
struct ByteOverride {
    std::string_view encoding;
    uint8_t byte;
    char16_t codePoint;
};

constexpr ByteOverride kByteOverrides[] = {
    // ICU's KOI8-U predates the Belarusian short u the standard's (KOI8-RU) has.
    {"KOI8-U", 0xAE, 0x045E},
    {"KOI8-U", 0xBE, 0x040E},
    // HEBREW POINT HOLAM HASER FOR VAV, which Windows added after ICU's table was made.
    {"windows-1255", 0xCA, 0x05BA},
    // ICU fills the bytes Windows leaves undefined with private-use code points.
    {"windows-874", 0xDB, 0xFFFD},
    {"windows-874", 0xDC, 0xFFFD},
    {"windows-874", 0xDD, 0xFFFD},
    {"windows-874", 0xDE, 0xFFFD},
    {"windows-874", 0xFC, 0xFFFD},
    {"windows-874", 0xFD, 0xFFFD},
    {"windows-874", 0xFE, 0xFFFD},
    {"windows-874", 0xFF, 0xFFFD},
};

bool isASCII(std::string_view bytes) {
    for (char c : bytes) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

size_t encodingIndex(std::string_view name) {
    size_t fallback = 0;
    auto canonical = encodingForLabel(name);
    for (size_t i = 0; i < kEncodingCount; ++i) {
        if (canonical && kEncodings[i].name == *canonical)
            return i;
        if (kEncodings[i].name == "windows-1252")
            fallback = i;
    }
    return fallback;
}

// UTF-8 ---------------------------------------------------------------------

struct UTF8Sequence {
    size_t length;  // of the sequence, or of its maximal subpart when invalid
    bool valid;
};

// The Encoding Standard's UTF-8 decoder, one sequence at a time: an invalid
// sequence ends at the first byte that cannot continue it, and that byte
// starts the next one (one U+FFFD per "maximal subpart").
UTF8Sequence readUTF8Sequence(std::string_view s, size_t i) {
    auto lead = static_cast<unsigned char>(s[i]);
    if (lead < 0x80)
        return {1, true};
    size_t needed;
    unsigned char lower = 0x80;
    unsigned char upper = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        needed = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        needed = 2;
        if (lead == 0xE0)
            lower = 0xA0;  // overlong
        if (lead == 0xED)
            upper = 0x9F;  // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        needed = 3;
        if (lead == 0xF0)
            lower = 0x90;  // overlong
        if (lead == 0xF4)
            upper = 0x8F;  // beyond U+10FFFF
    } else {
        return {1, false};
    }
    for (size_t seen = 1; seen <= needed; ++seen) {
        if (i + seen >= s.size())
            return {seen, false};
        auto byte = static_cast<unsigned char>(s[i + seen]);
        if (byte < lower || byte > upper)
            return {seen, false};
        lower = 0x80;
        upper = 0xBF;
    }
    return {needed + 1, true};
}

std::string decodeUTF8(std::string_view bytes, size_t) {
    size_t i = 0;
    while (i < bytes.size()) {
        UTF8Sequence sequence = readUTF8Sequence(bytes, i);
        if (!sequence.valid)
            break;
        i += sequence.length;
    }
    std::string out(bytes.substr(0, i));
    if (i == bytes.size())
        return out;
    out.reserve(bytes.size() + 16);
    while (i < bytes.size()) {
        UTF8Sequence sequence = readUTF8Sequence(bytes, i);
        if (sequence.valid)
            out.append(bytes.substr(i, sequence.length));
        else
            out.append(kReplacementCharacter);
        i += sequence.length;
    }
    return out;
}

// Single-byte encodings -------------------------------------------------------

using ByteTable = std::array<char16_t, 128>;  // bytes 0x80–0xFF

// Only reachable when ICU's data lacks a converter: bytes keep their
// values (as ISO-8859-1 would), so nothing is lost.
ByteTable latin1Table() {
    ByteTable table;
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = char16_t(0x80 + i);
    return table;
}

void writeReplacementCallback(const void*, UConverterToUnicodeArgs* args, const char*, int32_t,
                              UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR)
        return;
    *error = U_ZERO_ERROR;
    UChar replacement = 0xFFFD;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
}

ByteTable readTableFromICU(const char* icuName) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(icuName, &error);
    if (U_FAILURE(error))
        return latin1Table();
    ucnv_setToUCallBack(converter, writeReplacementCallback, nullptr, nullptr, nullptr, &error);
    ByteTable table;
    for (size_t i = 0; i < table.size(); ++i) {
        char byte = char(0x80 + i);
        const char* source = &byte;
        UChar decoded[2] = {0xFFFD, 0};
        UChar* target = decoded;
        error = U_ZERO_ERROR;
        ucnv_resetToUnicode(converter);
        ucnv_toUnicode(converter, &target, decoded + 2, &source, &byte + 1, nullptr, true, &error);
        table[i] = target == decoded + 1 ? decoded[0] : 0xFFFD;
    }
    ucnv_close(converter);
    return table;
}

ByteTable buildByteTable(const Encoding& encoding) {
    ByteTable table;
    if (encoding.icuName) {
        table = readTableFromICU(encoding.icuName);
    } else {
        for (size_t i = 0; i < 32; ++i)
            table[i] = char16_t(0x80 + i);
        for (size_t i = 0; i < std::size(kISO885916); ++i)
            table[32 + i] = kISO885916[i];
    }
    for (const ByteOverride& entry : kByteOverrides) {
        if (entry.encoding == encoding.name)
            table[entry.byte - 0x80] = entry.codePoint;
    }
    return table;
}

const ByteTable& byteTable(size_t index) {
    static std::array<std::once_flag, kEncodingCount> built;
    static std::array<ByteTable, kEncodingCount> tables;
    std::call_once(built[index], [index] { tables[index] = buildByteTable(kEncodings[index]); });
    return tables[index];
}

std::string decodeWithTable(std::string_view bytes, const ByteTable& table) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 2);
    for (char c : bytes) {
        auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            out += c;
        else
            appendUTF8(out, table[byte - 0x80]);
    }
    return out;
}

std::string decodeSingleByte(std::string_view bytes, size_t index) {
    return decodeWithTable(bytes, byteTable(index));
}

// x-user-defined: the high half goes to a private-use block, one code point per byte.
std::string decodeXUserDefined(std::string_view bytes, size_t) {
    std::string out;
    out.reserve(bytes.size() * 3);
    for (char c : bytes) {
        auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
            out += c;
        else
            appendUTF8(out, 0xF780 + (byte - 0x80));
    }
    return out;
}

std::string decodeReplacement(std::string_view bytes, size_t) {
    return bytes.empty() ? std::string() : std::string(kReplacementCharacter);
}

// ICU converters ----------------------------------------------------------------

void toUnicodeCallback(const void* context, UConverterToUnicodeArgs* args, const char* codeUnits, int32_t length,
                       UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR)
        return;
    const auto* encoding = static_cast<const Encoding*>(context);
    UChar replacement = 0xFFFD;
    if (length == 1 && static_cast<unsigned char>(codeUnits[0]) == 0x80 && encoding->lone0x80)
        replacement = encoding->lone0x80;
    *error = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, error);
}

// ICU converters keep state and are not thread-safe: each thread keeps its own.
class ConverterCache {
public:
    ConverterCache() = default;
    ConverterCache(const ConverterCache&) = delete;
    ConverterCache& operator=(const ConverterCache&) = delete;
    ~ConverterCache() {
        for (UConverter* converter : converters_) {
            if (converter)
                ucnv_close(converter);
        }
    }

    // A converter in its initial state, or null when ICU lacks it.
    UConverter* converter(size_t index) {
        UConverter*& slot = converters_[index];
        if (slot) {
            ucnv_resetToUnicode(slot);
            return slot;
        }
        UErrorCode error = U_ZERO_ERROR;
        slot = ucnv_open(kEncodings[index].icuName, &error);
        if (U_FAILURE(error))
            return slot = nullptr;
        ucnv_setToUCallBack(slot, toUnicodeCallback, &kEncodings[index], nullptr, nullptr, &error);
        return slot;
    }

private:
    std::array<UConverter*, kEncodingCount> converters_{};
};

void appendCodePoint(std::string& out, char32_t c, Quirk quirk) {
    switch (quirk) {
    case Quirk::None:
        break;
    case Quirk::IBMControlRotation:
        if (c == 0x1C)
            c = 0x1A;
        else if (c == 0x7F)
            c = 0x1C;
        else if (c == 0x1A)
            c = 0x7F;
        break;
    case Quirk::Big5CombiningPairs:
        switch (c) {
        case 0xF325: appendUTF8(out, 0x00CA); c = 0x0304; break;
        case 0xF327: appendUTF8(out, 0x00CA); c = 0x030C; break;
        case 0xF344: appendUTF8(out, 0x00EA); c = 0x0304; break;
        case 0xF346: appendUTF8(out, 0x00EA); c = 0x030C; break;
        default: break;
        }
        break;
    }
    appendUTF8(out, c);
}

std::string decodeWithICU(std::string_view bytes, size_t index) {
    thread_local ConverterCache cache;
    UConverter* converter = cache.converter(index);
    if (!converter)
        return decodeWithTable(bytes, latin1Table());

    const Quirk quirk = kEncodings[index].quirk;
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 2);
    std::array<UChar, 4096> buffer;
    const char* source = bytes.data();
    const char* sourceEnd = source + bytes.size();
    size_t carried = 0;  // a lead surrogate whose trail is in the next chunk
    for (;;) {
        UChar* target = buffer.data() + carried;
        UErrorCode error = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, buffer.data() + buffer.size(), &source, sourceEnd, nullptr, true, &error);
        const bool more = error == U_BUFFER_OVERFLOW_ERROR;
        auto length = size_t(target - buffer.data());
        carried = more && length && U16_IS_LEAD(buffer[length - 1]) ? 1 : 0;
        length -= carried;
        for (size_t i = 0; i < length;) {
            UChar32 c;
            U16_NEXT(buffer.data(), i, length, c);
            appendCodePoint(out, U_IS_SURROGATE(c) ? 0xFFFD : char32_t(c), quirk);
        }
        if (carried)
            buffer[0] = buffer[length];
        if (!more) {
            // The callback substitutes every error, so another failure is ICU's own.
            if (U_FAILURE(error))
                out.append(kReplacementCharacter);
            return out;
        }
    }
}

size_t utf8SequenceLength(uint8_t lead) {
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 1;  // ASCII, or a byte that is an error on its own
}

size_t decodableUTF8Length(std::string_view bytes) {
    const size_t n = bytes.size();
    for (size_t back = 1; back <= std::min<size_t>(n, 4); ++back) {
        auto byte = uint8_t(bytes[n - back]);
        if ((byte & 0xC0) == 0x80) continue;
        return utf8SequenceLength(byte) > back ? n - back : n;
    }
    return n;
}

size_t decodableUTF16Length(std::string_view bytes, bool bigEndian) {
    size_t n = bytes.size() & ~size_t(1);
    if (n == 0) return 0;
    auto high = uint8_t(bytes[bigEndian ? n - 2 : n - 1]);
    return high >= 0xD8 && high <= 0xDB ? n - 2 : n;
}

}  // namespace

size_t decodableLength(std::string_view bytes, std::string_view encodingName) {
    const Encoding& encoding = kEncodings[encodingIndex(encodingName)];
    if (encoding.decode == decodeUTF8) return decodableUTF8Length(bytes);
    if (encoding.name == "UTF-16BE" || encoding.name == "UTF-16LE")
        return decodableUTF16Length(bytes, encoding.name == "UTF-16BE");
    if (!encoding.asciiCompatible) return 0;
    if (encoding.decode != decodeWithICU) return bytes.size();
    for (size_t end = bytes.size(); end > 0; --end)
        if (uint8_t(bytes[end - 1]) < 0x30) return end;
    return 0;
}

std::string decodeToUTF8(std::string_view bytes, std::string_view encodingName) {
    const size_t index = encodingIndex(encodingName);
    const Encoding& encoding = kEncodings[index];
    if (encoding.asciiCompatible && isASCII(bytes))
        return std::string(bytes);
    return encoding.decode(bytes, index);
}

}  // namespace zv::html
